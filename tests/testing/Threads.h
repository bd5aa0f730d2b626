// The same work on several threads at once.
#pragma once

#include <atomic>
#include <thread>
#include <vector>

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

}  // namespace testing_support
