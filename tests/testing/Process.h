// A child process with its output in the test's hands. It is killed when the object goes, and when
// the test's process dies. One thread uses it.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/testing/Emulator.h"
#include "tests/testing/Eventually.h"

namespace testing_support {

class Process {
 public:
  using Words = std::vector<std::string>;

  // Starts `command`, whose first word is the program's path. `environment` holds NAME=VALUE pairs
  // that replace or join this process's.
  explicit Process(const Words& command, const Words& environment = {}) {
    int out[2];
    int err[2];
    EXPECT_EQ(0, ::pipe2(out, O_CLOEXEC));
    EXPECT_EQ(0, ::pipe2(err, O_CLOEXEC));
    // All that takes memory comes before the fork.
    Words variables = Merge(environment);
    Words words = Emulated(command);
    const std::vector<char*> envp = Pointers(variables);
    const std::vector<char*> argv = Pointers(words);
    const pid_t parent = ::getpid();
    _pid = ::fork();
    if (_pid == 0) {
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      if (::getppid() != parent) ::_exit(126);
      ::dup2(out[1], STDOUT_FILENO);
      ::dup2(err[1], STDERR_FILENO);
      ::execve(argv[0], argv.data(), envp.data());
      ::_exit(127);
    }
    EXPECT_GT(_pid, 0) << std::strerror(errno);
    ::close(out[1]);
    ::close(err[1]);
    _out.fd = out[0];
    _err.fd = err[0];
  }
  ~Process() {
    if (_pid > 0 && !_ended) {
      ::kill(_pid, SIGKILL);
      Reap(0);
    }
    _out.Close();
    _err.Close();
  }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  pid_t GetPid() const { return _pid; }
  void Kill(int signal) { ::kill(_pid, signal); }
  // As a reader of a pipe that goes away.
  void CloseOutput() { _out.Close(); }

  // The next line, of those not yet returned, that contains `part`; what comes before it is passed
  // over. Empty, and a failure of the test, when there is none in time.
  std::string WaitForLine(const std::string& part = "") { return WaitForLine(_out, part); }
  std::string WaitForErrorLine(const std::string& part = "") { return WaitForLine(_err, part); }

  // Reads until `text` has come on either stream. False when both end without it.
  bool WaitForText(const std::string& text) {
    const auto found = [&] {
      return _out.text.find(text) != std::string::npos || _err.text.find(text) != std::string::npos;
    };
    PumpUntil([&] { return found() || (_out.fd < 0 && _err.fd < 0); });
    return found();
  }

  // Everything that has been read so far, lines that were returned included.
  const std::string& GetOutput() const { return _out.text; }
  const std::string& GetErrors() const { return _err.text; }

  // Reads all that comes, and returns the exit status, or 128 and the number of the signal; -1, and
  // a failure of the test, when the process does not end in time.
  int Wait() {
    const bool ended = PumpUntil([this] { return Reap(WNOHANG); });
    EXPECT_TRUE(ended) << "the process does not end; so far it printed\n" << Printed();
    if (!ended) return -1;
    // What another process holds open is not waited for.
    while (Pump(0)) {
    }
    return WIFEXITED(_status) ? WEXITSTATUS(_status) : 128 + WTERMSIG(_status);
  }

 private:
  struct Stream {
    void Close() {
      if (fd >= 0) ::close(fd);
      fd = -1;
    }
    int fd = -1;
    std::string text;
    std::size_t taken = 0;
  };

  // The command as an emulated process has to give it.
  static Words Emulated(const Words& command) {
    if (Emulator() == nullptr) return command;
    std::istringstream prefix(Emulator());
    Words words{std::istream_iterator<std::string>(prefix), {}};
    words.insert(words.end(), {"-0", command[0]});
    words.insert(words.end(), command.begin(), command.end());
    return words;
  }

  // As the system wants them.
  static std::vector<char*> Pointers(Words& words) {
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    return pointers;
  }

  static Words Merge(const Words& environment) {
    Words merged = environment;
    for (char** variable = environ; *variable != nullptr; ++variable) {
      const std::string text = *variable;
      const std::string name = text.substr(0, text.find('=') + 1);
      bool replaced = false;
      for (const std::string& own : environment) replaced |= own.compare(0, name.size(), name) == 0;
      if (!replaced) merged.push_back(text);
    }
    return merged;
  }

  bool Reap(int options) {
    if (!_ended) _ended = ::waitpid(_pid, &_status, options) == _pid;
    return _ended;
  }

  // Reads what is there, or waits for it as long; false when there is nothing.
  bool Pump(int milliseconds) {
    pollfd readable[] = {{_out.fd, POLLIN, 0}, {_err.fd, POLLIN, 0}};
    if (::poll(readable, 2, milliseconds) <= 0) return false;
    if (readable[0].revents != 0) Read(_out);
    if (readable[1].revents != 0) Read(_err);
    return true;
  }

  static void Read(Stream& stream) {
    char piece[65536];
    const ssize_t count = ::read(stream.fd, piece, sizeof piece);
    if (count > 0) stream.text.append(piece, static_cast<std::size_t>(count));
    if (count == 0 || (count < 0 && errno != EINTR)) stream.Close();
  }

  bool PumpUntil(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      Pump(5);
    }
    return true;
  }

  std::string WaitForLine(Stream& stream, const std::string& part) {
    std::string line;
    const auto found = [&] {
      for (;;) {
        const std::size_t end = stream.text.find('\n', stream.taken);
        if (end == std::string::npos) return false;
        line = stream.text.substr(stream.taken, end - stream.taken);
        stream.taken = end + 1;
        if (line.find(part) != std::string::npos) return true;
      }
    };
    // The end of the stream ends the waiting too.
    PumpUntil([&] { return found() || stream.fd < 0; });
    if (line.find(part) != std::string::npos && !line.empty()) return line;
    ADD_FAILURE() << "no line with \"" << part << "\"; so far it printed\n" << Printed();
    return {};
  }

  std::string Printed() const { return _out.text + "and to standard error\n" + _err.text; }

  pid_t _pid = -1;
  int _status = 0;
  bool _ended = false;
  Stream _out;
  Stream _err;
};

}  // namespace testing_support
