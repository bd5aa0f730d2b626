// configd serves the configurations of this process to others.
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "configd/LineWriter.h"
#include "configd/ServiceManager.h"
#include "configd/StoreKeeper.h"
#include "libconfig/libconfig.h"

using qel::config::access::LocalConfigFactory;
using qel::vorlane::config::access::NetworkServer;

namespace {

constexpr int kDefaultPort = 43110;

enum Status { kDone = 0, kFailed = 1, kUsage = 2 };

struct Options {
  std::string listen = "127.0.0.1";
  int port = kDefaultPort;
  bool quiet = false;
};

// Keeps the library's own diagnostics away while one line of ours says it better.
class SilentStderr {
 public:
  SilentStderr() : _saved(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
    const int null = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (null >= 0) {
      ::dup2(null, STDERR_FILENO);
      ::close(null);
    }
  }
  ~SilentStderr() {
    if (_saved < 0) return;
    ::dup2(_saved, STDERR_FILENO);
    ::close(_saved);
  }
  SilentStderr(const SilentStderr&) = delete;
  SilentStderr& operator=(const SilentStderr&) = delete;

 private:
  const int _saved;
};

// Each peer takes a descriptor.
void RaiseDescriptorLimit() {
  rlimit limit;
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

// configctl as somebody in this folder would call it.
std::string ConfigctlCommand() {
  char path[4096];
  const ssize_t length = ::readlink("/proc/self/exe", path, sizeof path - 1);
  if (length <= 0) return "configctl";
  std::string program(path, static_cast<std::size_t>(length));
  program.erase(program.rfind('/') + 1);
  program += "configctl";
  if (::access(program.c_str(), X_OK) != 0) return "configctl";
  char folder[4096];
  if (::getcwd(folder, sizeof folder) != nullptr) {
    const std::string prefix = std::string(folder) + "/";
    if (program.compare(0, prefix.size(), prefix) == 0) program.erase(0, prefix.size());
  }
  return program;
}

void PrintCommandsToTry(const Options& options, int port) {
  std::string command = ConfigctlCommand();
  const bool anywhere = options.listen == "0.0.0.0" || options.listen == "127.0.0.1";
  if (!anywhere || port != kDefaultPort) {
    command +=
        " --uri tcp://" + (anywhere ? "127.0.0.1" : options.listen) + ":" + std::to_string(port);
  }
  LineWriter& out = LineWriter::Instance();
  out.Write("configd: try these in another terminal:");
  out.Write("  " + command + " watch --initial");
  out.Write("  " + command + " set IPConfig DHCP");
  out.Write("  " + command + " get IPConfig");
}

NetworkServer* OpenServer(const Options& options) {
  auto* const server = new NetworkServer(AF_INET, SOCK_STREAM, options.port, options.listen);
  bool open;
  int error;
  {
    const SilentStderr silent;
    open = server->Init();
    error = errno;
  }
  if (open && server->Start()) return server;
  const char* const advice = error == EADDRINUSE ? "stop the other server, or choose another port "
                                                   "with --port"
                             : error == EADDRNOTAVAIL
                                 ? "choose an address of this machine with --listen"
                             : error == EACCES ? "choose a port from 1024 on with --port"
                                               : "see to this and start again";
  std::fprintf(stderr, "configd: cannot serve tcp://%s:%d: %s; %s\n", options.listen.c_str(),
               options.port, std::strerror(error), advice);
  delete server;
  return nullptr;
}

int Serve(const Options& options) {
  sigset_t ending;
  ::sigemptyset(&ending);
  ::sigaddset(&ending, SIGTERM);
  ::sigaddset(&ending, SIGINT);
  ::pthread_sigmask(SIG_BLOCK, &ending, nullptr);
  ::signal(SIGPIPE, SIG_IGN);
  RaiseDescriptorLimit();

  CreateDescriptors();
  // Stays until the process ends: connections use it as long as there are any.
  static auto* const keeper = new StoreKeeper(!options.quiet);
  LocalConfigFactory::SetStoreObserver(keeper);
  if (ConfigFactoryImpl::GetInstance()->Connect("local:configid=0") == nullptr) {
    std::fprintf(stderr, "configd: there is no memory for the store; free some and start again\n");
    return kFailed;
  }

  NetworkServer* const server = OpenServer(options);
  if (server == nullptr) return kFailed;
  const int port = server->GetPort();
  LineWriter& out = LineWriter::Instance();
  out.Write("configd " LIBCONFIG_VERSION);
  out.Write("configd: serving tcp://" + options.listen + ":" + std::to_string(port));
  out.Write("configd: ready");
  PrintCommandsToTry(options, port);
  service_manager::Notify("READY=1");

  int signal = 0;
  while (::sigwait(&ending, &signal) != 0) {
  }
  service_manager::Notify("STOPPING=1");
  server->Stop();
  out.Write("configd: ended");
  out.Flush(std::chrono::milliseconds(500));
  return kDone;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  CLI::App app(
      "Serves the device's configurations to other processes, over TCP.\n"
      "It runs in the foreground until SIGTERM or SIGINT.");
  app.set_version_flag("--version", "configd " LIBCONFIG_VERSION);
  app.add_option("--listen", options.listen, "Address of the interface to serve; 0.0.0.0 for all")
      ->type_name("ADDRESS")
      ->check(CLI::ValidIPV4)
      ->capture_default_str();
  app.add_option("--port", options.port, "Port to serve; 0 lets the system choose")
      ->type_name("N")
      ->check(CLI::Range(0, 65535))
      ->capture_default_str();
  CLI::Option* const log =
      app.add_flag("--log-changes", "Print a line for each change (this is the default)");
  app.add_flag("--quiet", options.quiet, "Print no changes")->excludes(log);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& success) {
    return app.exit(success);
  } catch (const CLI::ParseError& error) {
    std::fprintf(stderr, "configd: %s; see configd --help\n", error.what());
    return kUsage;
  }
  return Serve(options);
}
