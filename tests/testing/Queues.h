// Message queues for tests: a namespace of the process's own where the machine allows it, so that
// nothing is left behind and no other test is met, and queues as a stranger would use them.
#pragma once

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <mqueue.h>
#include <net/if.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <string>

#include "libconfig/access/ConnectionUtilities.h"
#include "tests/testing/Eventually.h"
#include "tests/testing/Wire.h"

namespace testing_support {

inline bool WriteFile(const char* path, const std::string& text) {
  std::ofstream file(path);
  file << text << std::flush;
  return file.good();
}

inline void StartLoopback() {
  const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ifreq loopback = {};
  std::strcpy(loopback.ifr_name, "lo");
  loopback.ifr_flags = IFF_UP | IFF_RUNNING;
  ::ioctl(fd, SIOCSIFFLAGS, &loopback);
  ::close(fd);
}

// Before main, as threads that are there already would stay behind.
inline bool EnterOwnNamespace() {
  constexpr int kOwn = CLONE_NEWIPC | CLONE_NEWNET | CLONE_NEWNS;
  const auto user = std::to_string(::geteuid());
  const auto group = std::to_string(::getegid());
  if (::unshare(kOwn) != 0) {
    if (::unshare(CLONE_NEWUSER | kOwn) != 0) return false;
    WriteFile("/proc/self/uid_map", "0 " + user + " 1");
    // What has an owner needs a group, too.
    WriteFile("/proc/self/setgroups", "deny");
    WriteFile("/proc/self/gid_map", "0 " + group + " 1");
  }
  StartLoopback();
  WriteFile("/proc/sys/fs/mqueue/msg_max", "256");
  WriteFile("/proc/sys/fs/mqueue/msgsize_max", "131072");
  return true;
}

inline const bool kOwnNamespace = EnterOwnNamespace();

inline std::string TestQueueName() { return "/corewheel_test_" + std::to_string(::getpid()); }

// The names of all queues there are; none where they cannot be seen.
inline std::vector<std::string> QueueNames() {
  std::vector<std::string> names;
  char folder[] = "/tmp/queues_XXXXXX";
  const bool mounted = kOwnNamespace && ::mkdtemp(folder) != nullptr &&
                       ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                       ::mount("none", folder, "mqueue", 0, nullptr) == 0;
  DIR* const queues = ::opendir(mounted ? folder : "/dev/mqueue");
  if (kOwnNamespace) {
    ::umount2(folder, MNT_DETACH);
    ::rmdir(folder);
  }
  if (queues == nullptr) return names;
  while (const dirent* const entry = ::readdir(queues)) {
    if (entry->d_name[0] != '.') names.emplace_back(entry->d_name);
  }
  ::closedir(queues);
  return names;
}

// Fails the run when a test leaves a queue behind: any in a namespace of our own, elsewhere one
// with the number of this process in its name.
class NoQueueIsLeft : public testing::Environment {
 public:
  void TearDown() override {
    const std::string number = "_" + std::to_string(::getpid()) + "_";
    for (const std::string& name : QueueNames()) {
      if (!kOwnNamespace && (name + "_").find(number) == std::string::npos) continue;
      ADD_FAILURE() << "a queue is left behind: /" << name;
    }
  }
};

inline testing::Environment* const kNoQueueIsLeft =
    testing::AddGlobalTestEnvironment(new NoQueueIsLeft);

// A user has ten queues or so for all processes together, in whatever namespaces they are: the
// tests that want some take turns, and this process has its turn until it ends.
inline void TakeTurn() {
  static const int turn = [] {
    const std::string file = "/tmp/libconfig_queue_tests_" + std::to_string(::getuid());
    const int fd = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    while (::flock(fd, LOCK_EX) != 0 && errno == EINTR) {
    }
    return fd;
  }();
  static_cast<void>(turn);
}

// Empty when as many queues of the usual size as a test needs can be had, else why not.
inline std::string WhyNoQueues() {
  constexpr int kWanted = 4;
  TakeTurn();
  mq_attr attributes = {};
  attributes.mq_maxmsg = 128;
  attributes.mq_msgsize = 512;
  int error = 0;
  const auto probe = [&] {
    std::map<std::string, mqd_t> queues;
    error = 0;
    for (int i = 0; i < kWanted && error == 0; ++i) {
      const std::string name = "/probe_" + std::to_string(i) + "_" + std::to_string(::getpid());
      const mqd_t queue = ::mq_open(name.c_str(), O_RDWR | O_CREAT, 0600, &attributes);
      if (queue == -1) error = errno;
      if (queue != -1) queues[name] = queue;
    }
    for (const auto& [name, queue] : queues) {
      ::mq_close(queue);
      ::mq_unlink(name.c_str());
    }
    return error != EMFILE && error != ENOMEM;
  };
  // What processes that have just ended had comes back with a delay.
  Eventually(probe, std::chrono::seconds(5));
  if (error == 0) return {};
  return std::string("no message queues of 128 messages can be had here: ") + std::strerror(error);
}

// A descriptor of a queue, open as long as the object lives.
class TestQueue {
 public:
  TestQueue() = default;
  // Makes it, and removes it in the end.
  explicit TestQueue(const std::string& name, long messages = 128, long size = 512) : _name(name) {
    mq_attr attributes = {};
    attributes.mq_maxmsg = messages;
    attributes.mq_msgsize = size;
    _queue = ::mq_open(name.c_str(), O_RDWR | O_CREAT, 0770, &attributes);
  }
  // One that is there.
  static TestQueue Existing(const std::string& name) {
    TestQueue queue;
    queue._queue = ::mq_open(name.c_str(), O_RDWR);
    return queue;
  }
  ~TestQueue() { Close(); }
  TestQueue(TestQueue&& other) noexcept : _name(other._name), _queue(other._queue) {
    other._queue = -1;
  }
  TestQueue& operator=(TestQueue&& other) noexcept {
    std::swap(_name, other._name);
    std::swap(_queue, other._queue);
    return *this;
  }

  bool IsOpen() const { return _queue != -1; }
  mqd_t Get() const { return _queue; }
  void Close() {
    if (_queue == -1) return;
    ::mq_close(_queue);
    // Not in the children of death tests.
    if (!_name.empty() && ::getpid() == _owner) ::mq_unlink(_name.c_str());
    _queue = -1;
  }

  bool SendBytes(const Bytes& bytes) {
    return ::mq_send(_queue, bytes.empty() ? "" : bytes.data(), bytes.size(), 0) == 0;
  }
  bool Send(const WordList& words, const Bytes& stream = {}) {
    return SendBytes(Words(words) + stream);
  }

  // The bytes of the next message; empty when none comes.
  Bytes Receive(int milliseconds = 20000) {
    pollfd wanted = {_queue, POLLIN, 0};
    if (::poll(&wanted, 1, milliseconds) <= 0) return {};
    mq_attr attributes;
    ::mq_getattr(_queue, &attributes);
    Bytes bytes(static_cast<std::size_t>(attributes.mq_msgsize));
    const ssize_t size = ::mq_receive(_queue, bytes.data(), bytes.size(), nullptr);
    bytes.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return bytes;
  }

  WordList ReceiveWords() { return ToWords(Receive()); }

  long Waiting() const {
    mq_attr attributes = {};
    ::mq_getattr(_queue, &attributes);
    return attributes.mq_curmsgs;
  }

 private:
  std::string _name;
  mqd_t _queue = -1;
  const pid_t _owner = ::getpid();
};

// A response to `request`, as words: its type, what it repeats, and the rest by name.
struct Response {
  uint32_t result = 0;
  uint32_t param = 0;
  uint32_t seconds = 0;
  uint32_t microseconds = 0;
  uint32_t error = 0;
  uint32_t value = 0;
  uint32_t streamLength = 0;

  WordList To(const WordList& request) const {
    return {request[0] + 16, request[1], request[2], request[3],   0,   result, param, seconds,
            microseconds,    error,      value,      streamLength, 2560};
  }
  WordList Event(uint32_t type, uint32_t connection) const {
    return To({type - 16, connection, 0xFFFFFFFF, 0});
  }
};

}  // namespace testing_support
