// The daemon as a program of its own, ended with the object.
#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

extern char** environ;

namespace testing_support {

class Daemon {
 public:
  // Returns when the daemon is ready, or has ended.
  explicit Daemon(std::vector<std::string> options) {
    int out[2];
    if (::pipe2(out, O_CLOEXEC) != 0) return;
    options.insert(options.begin(), {TEST_CONFIGD, "--port", "0", "--no-udp"});
    std::vector<char*> arguments;
    for (std::string& option : options) arguments.push_back(option.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, out[1], STDERR_FILENO);
    if (::posix_spawn(&_pid, TEST_CONFIGD, &actions, nullptr, arguments.data(), environ) != 0) {
      _pid = -1;
    }
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(out[1]);
    _out = out[0];
    WaitForOutput("configd: ready\n");
  }
  ~Daemon() {
    End(SIGTERM);
    if (_out >= 0) ::close(_out);
  }
  Daemon(const Daemon&) = delete;
  Daemon& operator=(const Daemon&) = delete;

  // Its exit status, or the signal that ended it, negative.
  int End(int signal) {
    if (_pid > 0) ::kill(_pid, signal);
    return Wait();
  }
  int Wait() {
    if (_pid > 0) ::waitpid(_pid, &_status, 0);
    _pid = -1;
    return WIFEXITED(_status) ? WEXITSTATUS(_status) : -WTERMSIG(_status);
  }

  // All that it has said, standard error too. False when it ends without `text`.
  bool WaitForOutput(const std::string& text) {
    while (_output.find(text) == std::string::npos) {
      pollfd wanted = {_out, POLLIN, 0};
      char piece[4096];
      if (::poll(&wanted, 1, 60000) <= 0) return false;
      const ssize_t size = ::read(_out, piece, sizeof piece);
      if (size <= 0) return false;
      _output.append(piece, static_cast<std::size_t>(size));
    }
    return true;
  }
  const std::string& GetOutput() const { return _output; }

  std::string GetURI() const {
    const std::size_t begin = _output.find("tcp://");
    return begin == std::string::npos ? ""
                                      : _output.substr(begin, _output.find('\n', begin) - begin);
  }

 private:
  pid_t _pid = -1;
  int _status = 0;
  int _out = -1;
  std::string _output;
};

}  // namespace testing_support
