// The thread that waits for work: when it works, what it survives, and how it ends.
#include <gtest/gtest.h>
#include <signal.h>

#include <future>
#include <new>

#include "libconfig/base/Worker.h"

using qel::config::Worker;

TEST(Worker, WorksWhenItIsDueTakesNoSignalsAndSurvivesARoundThatThrows) {
  std::promise<void> second;
  int rounds = 0;
  sigset_t blocked;
  const auto begin = Worker::Clock::now();
  Worker worker([&] {
    ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    if (++rounds == 1) throw std::bad_alloc();
    second.set_value();
  });
  worker.WakeAt(begin + std::chrono::milliseconds(200));
  worker.WakeAt(begin + std::chrono::milliseconds(30));
  ASSERT_EQ(std::future_status::ready, second.get_future().wait_for(std::chrono::seconds(60)));
  EXPECT_GE(Worker::Clock::now() - begin, std::chrono::milliseconds(1030));
  worker.Stop();
  EXPECT_EQ(2, rounds);
  EXPECT_EQ(1, ::sigismember(&blocked, SIGTERM));
}

TEST(Worker, DoesAtTheEndWhatItWasAskedForAndNothingElse) {
  for (const bool asked : {false, true}) {
    int rounds = 0;
    bool last = false;
    Worker* self = nullptr;
    Worker worker([&] {
      ++rounds;
      last = self->IsStopping();
      self->Wake();
    });
    self = &worker;
    if (asked) worker.WakeAt(Worker::Clock::now() + std::chrono::hours(1));
    worker.Stop();
    EXPECT_EQ(asked ? 1 : 0, rounds);
    EXPECT_EQ(asked, last);
  }
}
