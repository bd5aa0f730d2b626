// The guard that every value, store and factory uses.
#include <gtest/gtest.h>
#include <limits.h>
#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "libconfig/values/SemaphoreHelper.h"
#include "tests/testing/Eventually.h"
#include "tests/testing/Threads.h"

namespace {

using testing_support::Eventually;
using testing_support::OnThreads;

TEST(SemaphoreHelper, LetsOneThreadInAtATime) {
  Semaphore semaphore;
  int inside = 0;
  int most = 0;
  OnThreads(4, [&](int) {
    for (int i = 0; i < 1000; ++i) {
      const SemaphoreHelper guard(semaphore);
      most = std::max(most, ++inside);
      --inside;
    }
  });
  EXPECT_EQ(1, most);
  int value = -1;
  ::sem_getvalue(semaphore.Get(), &value);
  EXPECT_EQ(1, value);
}

std::atomic<int> g_signals{0};

TEST(SemaphoreHelper, GoesOnWaitingWhenASignalInterrupts) {
  struct sigaction action = {};
  action.sa_handler = [](int) { ++g_signals; };
  struct sigaction before;
  ASSERT_EQ(0, ::sigaction(SIGUSR1, &action, &before));

  Semaphore semaphore;
  SemaphoreHelper::Wait(semaphore.Get());
  std::atomic<bool> released{false};
  std::atomic<bool> sawReleased{false};
  std::thread waiting([&] {
    const SemaphoreHelper guard(semaphore);
    sawReleased = released.load();
  });
  for (int i = 1; i <= 50; ++i) {
    ::pthread_kill(waiting.native_handle(), SIGUSR1);
    ASSERT_TRUE(Eventually([&] { return g_signals >= i; }));
  }
  released = true;
  SemaphoreHelper::Post(semaphore.Get());
  waiting.join();
  EXPECT_TRUE(sawReleased);
  ::sigaction(SIGUSR1, &before, nullptr);
}

TEST(SemaphoreHelper, ReportsAFailureAndGoesOn) {
  sem_t full;
  ASSERT_EQ(0, ::sem_init(&full, 0, SEM_VALUE_MAX));
  ::testing::internal::CaptureStderr();
  SemaphoreHelper::Post(&full);
  EXPECT_EQ(
      "SemaphoreHelper::~SemaphoreHelper failed to post\n"
      ": Value too large for defined data type\n",
      ::testing::internal::GetCapturedStderr());
  SemaphoreHelper::Destroy(&full);
  const SemaphoreHelper none(nullptr);
}

}  // namespace
