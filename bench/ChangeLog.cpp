// What the log of changes costs whoever makes them: two daemons, of which one logs.
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>

#include "bench/Rounds.h"
#include "libconfig/libconfig.h"

namespace bench {
namespace {

constexpr int kRounds = 200;
constexpr unsigned int kChanges = 200;

// configd as a process of its own; nobody reads its standard output, which is no terminal.
class Daemon {
 public:
  explicit Daemon(const char* log) {
    _output = "/tmp/bench_configd_" + std::to_string(::getpid()) + log;
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, _output.c_str(),
                                       O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const char* const words[] = {CONFIGD_PATH, "--port",     "0", "--no-udp",
                                 "--no-queue", "--no-state", log, nullptr};
    const int error =
        ::posix_spawn(&_pid, words[0], &actions, nullptr, const_cast<char* const*>(words), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("configd does not start");
    _config = Connect();
    if (_config == nullptr) throw std::runtime_error("configd does not answer");
  }
  ~Daemon() {
    ConfigFactoryImpl::GetInstance()->Disconnect(_config);
    ::kill(_pid, SIGTERM);
    ::waitpid(_pid, nullptr, 0);
    ::unlink(_output.c_str());
  }
  Daemon(const Daemon&) = delete;
  Daemon& operator=(const Daemon&) = delete;

  // Nanoseconds for a change, of many; the last answer tells that all are stored.
  double Change() {
    return Time([this] {
             for (unsigned int i = 0; i < kChanges; ++i)
               _config->Set(eParamID_MediaUpdated, ++_value);
             if (_config->Get(eParamID_MediaUpdated) != _value)
               throw std::runtime_error("a Set failed");
           }) /
           kChanges;
  }

 private:
  // Where the daemon says that it serves.
  Config* Connect() {
    for (int i = 0; i < 500; ++i) {
      std::string text;
      std::ifstream file(_output);
      std::getline(file, text, '\0');
      const std::size_t begin = text.find("tcp://");
      if (begin != std::string::npos && text.find("configd: ready") != std::string::npos) {
        return ConfigFactoryImpl::GetInstance()->Connect(
            text.substr(begin, text.find('\n', begin) - begin));
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return nullptr;
  }

  pid_t _pid = 0;
  std::string _output;
  Config* _config = nullptr;
  unsigned int _value = 0;
};

}  // namespace

Measurement MeasureSetWithChangeLog() {
  Daemon subject("--log-changes");
  Daemon reference("--quiet");
  return TakeTurns(
      kRounds, [&] { return subject.Change(); }, [&] { return reference.Change(); });
}

}  // namespace bench
