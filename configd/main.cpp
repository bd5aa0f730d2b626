// configd serves the configurations of this process to others.
#include <fcntl.h>
#include <malloc.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <system_error>

#include "configd/LineWriter.h"
#include "configd/QueueService.h"
#include "configd/Servers.h"
#include "configd/ServiceManager.h"
#include "configd/StoreKeeper.h"
#include "libconfig/base/Limits.h"
#include "libconfig/libconfig.h"

using qel::config::access::LocalConfigFactory;

namespace {

constexpr int kDefaultPort = 43110;
// How long a slow reader of its output may delay the daemon's start and end.
constexpr std::chrono::milliseconds kFlush(500);
// And how long a client that is being served.
constexpr std::chrono::milliseconds kEnd(2000);

enum Status { kDone = 0, kFailed = 1, kUsage = 2 };

struct Options {
  std::string listen = "127.0.0.1";
  int port = kDefaultPort;
  bool udp = true;
  bool quiet = false;
  bool serveQueue = true;
  std::string queue = PosixMQFactory::kRequestQueue;
  std::string state;  // empty for none
  std::uint64_t stateQuota = StateFolder::kQuota;
  std::uint64_t memory = qel::config::limits::kTexts;
};

// The folder that the service manager made for this service; it may name more than one.
std::string StateDirectory() {
  const char* const folders = std::getenv("STATE_DIRECTORY");
  if (folders == nullptr) return {};
  const std::string list(folders);
  return list.substr(0, list.find(':'));
}

// Who starts the daemon may have closed them, and a line must not go to the file or the peer that
// would come to be there. Their use fails as before.
void KeepStandardDescriptors() {
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
    if (::fcntl(fd, F_GETFD) >= 0) continue;
    static_cast<void>(::open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY));
  }
}

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

std::string DescribeState(const StateFolder& folder) {
  const std::string& path = folder.GetPath();
  if (path.empty()) {
    return "configd: settings are forgotten when it ends; give it a folder with --state DIR to "
           "keep them";
  }
  if (!folder.IsWritable()) {
    return "configd: settings cannot be kept, as " + path +
           " is not writable; fix this, or choose another folder with --state";
  }
  return "configd: keeping settings in " + path;
}

// Held until the process ends.
bool OpenStore() {
  const Silence silence;
  return ConfigFactoryImpl::GetInstance()->Connect("local:configid=0") != nullptr;
}

// Waits for a signal that ends the daemon, and tells the service manager meanwhile that it is well,
// as long as `busy` tells of no request that goes on for ever.
void AwaitEnd(const sigset_t& ending, const std::function<std::chrono::milliseconds()>& busy) {
  using std::chrono::milliseconds;
  const milliseconds limit = service_manager::GetWatchdogTime();
  const auto pause = limit.count() > 0 ? limit / 3 : milliseconds(std::chrono::hours(1));
  const timespec time = {static_cast<time_t>(pause.count() / 1000),
                         static_cast<long>(pause.count() % 1000 * 1000000)};
  while (::sigtimedwait(&ending, nullptr, &time) < 0) {
    if (errno == EAGAIN && limit.count() > 0 && busy() < limit) {
      service_manager::Notify("WATCHDOG=1");
    }
  }
}

// What has been freed goes back to the system. Left alone, the thresholds rise to the largest block
// that was ever freed, and each thread's part of the heap keeps as much.
void KeepTheHeapSmall() {
  constexpr int kThreshold = 128 * 1024;
  ::mallopt(M_MMAP_THRESHOLD, kThreshold);
  ::mallopt(M_TRIM_THRESHOLD, kThreshold);
}

int Serve(const Options& options) {
  KeepTheHeapSmall();
  sigset_t ending;
  ::sigemptyset(&ending);
  ::sigaddset(&ending, SIGTERM);
  ::sigaddset(&ending, SIGINT);
  // The terminal goes, unless that was to be outlived.
  struct sigaction hangup;
  const bool outlived = ::sigaction(SIGHUP, nullptr, &hangup) == 0 && hangup.sa_handler == SIG_IGN;
  if (!outlived) ::sigaddset(&ending, SIGHUP);
  ::pthread_sigmask(SIG_BLOCK, &ending, nullptr);
  ::signal(SIGPIPE, SIG_IGN);
  RaiseDescriptorLimit();

  LineWriter& out = LineWriter::Instance();
  SendLibraryMessagesToErrors();
  // These stay until the process ends: connections use them as long as there are any.
  static auto* const folder = new StateFolder(options.stateQuota);
  if (!options.state.empty()) {
    std::string why;
    if (!folder->Open(options.state, why)) {
      Complain("configd: " + why);
      return kFailed;
    }
  }
  qel::config::TextBudget::SetLimit(static_cast<std::size_t>(options.memory));
  CreateDescriptors();
  static auto* const keeper =
      new StoreKeeper(options.state.empty() ? nullptr : folder, !options.quiet);
  LocalConfigFactory::SetStoreObserver(keeper);
  if (!OpenStore()) {
    out.Flush(kFlush);
    Complain(
        "configd: the device's configuration cannot be served; fix what is said above, or "
        "free memory, and restart");
    return kFailed;
  }

  std::unique_ptr<PosixMQServer> queue;
  if (options.serveQueue) {
    bool isTaken = false;
    queue = OpenQueue(options.queue, isTaken);
    if (isTaken) return kFailed;
  }
  Servers servers;
  if (!servers.Open(options.listen, options.port, options.udp)) return kFailed;
  if (queue != nullptr && !queue->Start()) {
    throw std::system_error(errno, std::generic_category(), "cannot serve mq:" + options.queue);
  }
  out.Write("configd " LIBCONFIG_VERSION);
  for (const std::string& uri : servers.GetURIs()) out.Write("configd: serving " + uri);
  if (queue != nullptr) out.Write("configd: serving mq:" + options.queue);
  out.Write(DescribeState(*folder));
  out.Write("configd: ready");
  PrintCommandsToTry(options, servers.GetPort());
  out.Flush(kFlush);
  service_manager::Notify("READY=1");

  AwaitEnd(ending, [&] {
    return std::max(servers.GetBusyTime(),
                    queue == nullptr ? std::chrono::milliseconds() : queue->GetBusyTime());
  });
  service_manager::Notify("STOPPING=1");
  qel::config::SilenceMessages();  // what the servers' threads report from here on helps nobody
  // What a client has read back before its connection ended is saved.
  const bool ended = servers.Stop(kEnd);
  queue.reset();
  const bool saved = keeper->Stop();
  if (!saved) out.Write("configd: the last changes could not be saved and are lost");
  if (!ended) out.Write("configd: a client was still being served; its last changes may be lost");
  out.Write("configd: ended");
  out.Flush(kFlush);
  LineWriter::Errors().Flush(kFlush);
  return saved && ended ? kDone : kFailed;
}

int Run(int argc, char** argv) {
  Options options;
  CLI::App app(
      "Serves the device's configurations to other processes, over TCP, UDP and a message queue.\n"
      "What is changed over UDP is multicast to 239.81.69.76, port 63110, on the loopback\n"
      "interface.\n"
      "It runs in the foreground until SIGTERM, SIGINT or SIGHUP.");
  app.set_version_flag("--version", "configd " LIBCONFIG_VERSION);
  app.add_option("--listen", options.listen, "Address of the interface to serve; 0.0.0.0 for all")
      ->type_name("ADDRESS")
      ->check(CLI::ValidIPV4)
      ->capture_default_str();
  app.add_option("--port", options.port, "Port to serve; 0 lets the system choose")
      ->type_name("N")
      ->check(CLI::Range(0, 65535))
      ->capture_default_str();
  app.add_flag("!--no-udp", options.udp, "Serve TCP only, and multicast nothing");
  CLI::Option* const queue =
      app.add_option("--queue", options.queue, "Message queue to serve; clients look for this one")
          ->type_name("NAME")
          ->check([](const std::string& name) {
            const bool good = name.size() > 1 && name.size() < 256 && name.rfind('/') == 0;
            return good ? std::string() : "a queue is named /NAME, not " + name;
          })
          ->capture_default_str();
  app.add_flag("!--no-queue", options.serveQueue, "Serve no message queue")->excludes(queue);
  options.state = StateDirectory();
  CLI::Option* const state =
      app.add_option("--state", options.state,
                     "Folder to keep settings and presets in, made if missing; by default that of "
                     "the service manager, else none")
          ->type_name("DIR")
          ->check([](const std::string& folder) {
            return folder.empty() ? "a folder has a name; for none there is --no-state" : "";
          });
  app.add_option("--state-quota", options.stateQuota,
                 "Bytes that the folder may come to hold, such as 64MiB; a part of them is for the "
                 "device's own configuration")
      ->type_name("SIZE")
      ->transform(CLI::AsSizeValue(false))
      ->check(CLI::Range(std::uint64_t{1} << 20, std::uint64_t{1} << 50))
      ->capture_default_str();
  app.add_option("--memory", options.memory,
                 "Bytes that the texts of all configurations may take together, such as 64MiB; a "
                 "part of them is for the device's own configuration")
      ->type_name("SIZE")
      ->transform(CLI::AsSizeValue(false))
      ->check(CLI::Range(std::uint64_t{1} << 20, std::uint64_t{1} << 31))
      ->capture_default_str();
  app.add_flag_callback(
         "--no-state", [&options] { options.state.clear(); },
         "Keep nothing: start with the factory values, and forget all at the end")
      ->excludes(state);
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

}  // namespace

int main(int argc, char** argv) {
  KeepStandardDescriptors();
  try {
    return Run(argc, argv);
  } catch (const std::exception& error) {
    Complain(std::string("configd: ") + error.what() + "; fix this and restart");
    return kFailed;
  }
}
