// The two programs as a person would use them: configd on a port that the system chose, and
// configctl against it.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/testing/Process.h"

namespace testing_support {

class Daemon {
 public:
  explicit Daemon(const std::string& port = "0", const Process::Words& environment = {})
      : _process({CONFIGD_PATH, "--port", port}, environment) {
    const std::string mark = "serving ";
    const std::string line = _process.WaitForLine(mark);
    _uri = line.substr(std::min(line.size(), line.find(mark) + mark.size()));
    _process.WaitForLine("configd: ready");
  }

  const std::string& GetURI() const { return _uri; }
  std::string GetPort() const { return _uri.substr(_uri.rfind(':') + 1); }
  Process& GetProcess() { return _process; }

 private:
  Process _process;
  std::string _uri;
};

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

inline bool operator==(const Outcome& a, const Outcome& b) {
  return a.status == b.status && a.out == b.out && a.err == b.err;
}
inline std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
  return stream << "status " << outcome.status << ", out \"" << outcome.out << "\", err \""
                << outcome.err << "\"";
}

// configctl with the daemon at `uri` as its default.
inline std::unique_ptr<Process> StartConfigctl(const std::string& uri,
                                               const Process::Words& arguments) {
  Process::Words command = {CONFIGCTL_PATH};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return std::make_unique<Process>(command, Process::Words{"LIBCONFIG_URI=" + uri});
}

inline Outcome RunConfigctl(const std::string& uri, const Process::Words& arguments) {
  const std::unique_ptr<Process> process = StartConfigctl(uri, arguments);
  const int status = process->Wait();
  return {status, process->GetOutput(), process->GetErrors()};
}

}  // namespace testing_support
