// configd as a program of its own, ended with the object. It serves a port that the system chose
// and no message queue, unless its options say otherwise.
#pragma once

#include <signal.h>

#include <algorithm>
#include <string>

#include "tests/testing/Process.h"

namespace testing_support {

class Daemon {
 public:
  // Returns when the daemon is ready, or has ended.
  explicit Daemon(const Process::Words& options = {}, const Process::Words& environment = {})
      : _process(Command(options), environment) {
    WaitForOutput("configd: ready\n");
  }
  ~Daemon() { End(SIGTERM); }
  Daemon(const Daemon&) = delete;
  Daemon& operator=(const Daemon&) = delete;

  Process& GetProcess() { return _process; }
  // Its exit status, or 128 and the number of the signal that ended it.
  int End(int signal) {
    if (!_ended) _process.Kill(signal);
    return Wait();
  }
  int Wait() {
    if (!_ended) _status = _process.Wait();
    _ended = true;
    return _status;
  }

  // False when it ends without having said so, on standard error or not.
  bool WaitForOutput(const std::string& text) { return _process.WaitForText(text); }
  std::string GetOutput() const { return _process.GetOutput() + _process.GetErrors(); }

  std::string GetURI() const {
    const std::string& output = _process.GetOutput();
    const std::size_t begin = output.find("tcp://");
    return begin == std::string::npos ? "" : output.substr(begin, output.find('\n', begin) - begin);
  }
  std::string GetPort() const {
    const std::string uri = GetURI();
    return uri.substr(uri.rfind(':') + 1);
  }

 private:
  static Process::Words Command(const Process::Words& options) {
    const auto has = [&](const char* option) {
      return std::find(options.begin(), options.end(), option) != options.end();
    };
    Process::Words command = {CONFIGD_PATH};
    if (!has("--port")) command.insert(command.end(), {"--port", "0"});
    if (!has("--queue")) command.emplace_back("--no-queue");
    command.insert(command.end(), options.begin(), options.end());
    return command;
  }

  Process _process;
  int _status = 0;
  bool _ended = false;
};

}  // namespace testing_support
