// Waiting for a condition in tests: as short as it can be, as long as a loaded machine needs.
#pragma once

#include <chrono>
#include <thread>

namespace testing_support {

constexpr std::chrono::seconds kPatience(60);

template <typename Condition>
bool Eventually(Condition condition, std::chrono::milliseconds limit = kPatience) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace testing_support
