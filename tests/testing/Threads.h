// Threads that begin together, and threads of which a test wants to know that they wait.
#pragma once

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "tests/testing/Eventually.h"

namespace testing_support {

// Calls `work(i)` on thread i of `count`; all begin together, and all have ended on return.
template <typename Work>
void OnThreads(int count, Work work) {
  std::atomic<int> waiting{count};
  std::vector<std::thread> threads;
  threads.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    threads.emplace_back([&, i] {
      --waiting;
      while (waiting > 0) std::this_thread::yield();
      work(i);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

// Whether a process or thread is in that state: 'S' while it waits inside the system, 'T' while it
// is stopped. `path` is its folder below /proc.
inline bool IsInState(const std::string& path, char state) {
  std::ifstream file("/proc/" + path + "/stat");
  const std::string stat{std::istreambuf_iterator<char>(file), {}};
  return stat.find(std::string(") ") + state + " ") != std::string::npos;
}

// Joined in the end.
class WatchedThread {
 public:
  template <typename Work>
  explicit WatchedThread(Work work)
      : _thread([this, work] {
          _id = ::syscall(SYS_gettid);
          work();
        }) {}
  ~WatchedThread() { Join(); }
  WatchedThread(const WatchedThread&) = delete;
  WatchedThread& operator=(const WatchedThread&) = delete;

  // Whether it waits inside the system, and not for a moment only.
  bool WaitUntilAsleep() {
    int asleep = 0;
    return Eventually([&] {
      asleep = IsInState("self/task/" + std::to_string(_id), 'S') ? asleep + 1 : 0;
      return asleep == 5;
    });
  }
  void Join() {
    if (_thread.joinable()) _thread.join();
  }

 private:
  std::atomic<long> _id{0};
  std::thread _thread;
};

}  // namespace testing_support
