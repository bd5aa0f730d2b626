// The two programs as a person would use them.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/testing/Daemon.h"
#include "tests/testing/Process.h"

namespace testing_support {

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
