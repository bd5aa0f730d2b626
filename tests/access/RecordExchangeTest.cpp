// What comes in on a connection and whose it is, with a reader that the test plays.
#include <pthread.h>

#include <cerrno>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <new>

#include "libconfig/access/RecordExchange.h"
#include "tests/testing/Eventually.h"
#include "tests/testing/Names.h"

namespace {

using qel::config::After;
using qel::config::Deadline;
using qel::config::kForever;
using qel::config::Received;
using qel::config::ReceivedRecord;
using qel::config::RecordExchange;
using std::chrono::milliseconds;

constexpr uint32_t kEvent = 144;
constexpr uint32_t kAnswer = 96;

// Hands out what the test puts in, and fails as the test says.
class PlayedReader : public qel::config::RecordReader {
 public:
  explicit PlayedReader(bool reliable) : _reliable(reliable) {}

  Received Read(ReceivedRecord& record, Deadline deadline, RecordExchange&) override {
    std::unique_lock<std::mutex> lock(_mutex);
    ++reads;
    const auto ready = [this] { return !_records.empty() || _interrupted || fail; };
    if (deadline == kForever) {
      _changed.wait(lock, ready);
    } else if (!_changed.wait_until(lock, deadline, ready)) {
      errno = ETIMEDOUT;
      return Received::kTimeout;
    }
    if (fail.exchange(false)) throw std::bad_alloc();
    if (_interrupted) return Received::kEnded;
    record = _records.front();
    if (!endless) _records.pop_front();
    return Received::kRecord;
  }
  void Interrupt(bool) override {
    const std::lock_guard<std::mutex> lock(_mutex);
    _interrupted = true;
    _changed.notify_all();
  }
  bool IsReliable() const override { return _reliable; }

  void Put(uint32_t type, uint32_t requestID) {
    const std::lock_guard<std::mutex> lock(_mutex);
    ReceivedRecord record;
    record.words[0] = type;
    record.words[2] = requestID;
    record.size = ReceivedRecord::kLargest;
    _records.push_back(record);
    _changed.notify_all();
  }

  std::atomic<int> reads{0};
  std::atomic<bool> fail{false};
  std::atomic<bool> endless{false};  // the first record comes over and over

 private:
  const bool _reliable;
  std::mutex _mutex;
  std::condition_variable _changed;
  std::deque<ReceivedRecord> _records;
  bool _interrupted = false;
};

class Exchanges : public testing::Test {
 protected:
  void MakeReliable(bool reliable) {
    auto made = std::make_unique<PlayedReader>(reliable);
    reader = made.get();
    records = std::make_unique<RecordExchange>(std::move(made));
  }
  void SetUp() override { MakeReliable(true); }

  Received Ask(uint32_t requestID, milliseconds time) {
    RecordExchange::Turn turn(*records, After(time));
    ReceivedRecord answer;
    const auto send = [&] {
      if (atSend) atSend(requestID);
      return true;
    };
    return turn.Ask({requestID, 12, false}, send, answer);
  }
  // Somebody who waits for events for as long as the connection lives.
  std::thread Listen() {
    records->KeepEvents(true, true);
    return std::thread([this] {
      const RecordExchange::EventWait wait(*records);
      uint32_t type;
      ReceivedRecord event;
      while (records->AwaitEvent(type) < Received::kEnded)
        heard += records->TakeAwaitedEvent(event);
    });
  }

  PlayedReader* reader = nullptr;
  std::unique_ptr<RecordExchange> records;
  std::atomic<int> heard{0};
  std::function<void(uint32_t requestID)> atSend;  // what the other end does with a request
};

TEST_F(Exchanges, EndInTimeWhateverComesMeanwhile) {
  reader->endless = true;
  reader->Put(kEvent, 0);
  EXPECT_EQ(Received::kTimeout, Ask(1, milliseconds(50)));
  EXPECT_EQ(ETIMEDOUT, errno);
  EXPECT_EQ(qel::config::Outcome::kNoAnswer, qel::config::LastOutcome());
}

TEST_F(Exchanges, GetTheirAnswersAndListenersTheirEvents) {
  std::thread listener = Listen();
  atSend = [this](uint32_t requestID) {
    reader->Put(kEvent, 0);
    reader->Put(kAnswer, requestID);
  };
  for (uint32_t i = 1; i <= 1000; ++i) {
    EXPECT_EQ(Received::kRecord, Ask(i, milliseconds(60000)));
    EXPECT_EQ(i, heard) << "the event that came before the answer";
  }
  EXPECT_TRUE(Eventually([&] { return heard == 1000; }));
  records->Close();
  listener.join();
}

TEST_F(Exchanges, GoOnWhenMemoryRunsOutInAnotherThreadsRead) {
  MakeReliable(false);
  std::thread listener = Listen();
  ASSERT_TRUE(Eventually([&] { return reader->reads == 1; }));
  atSend = [this](uint32_t requestID) {
    reader->fail = true;
    reader->Put(kAnswer, requestID);  // wakes who reads
  };
  EXPECT_EQ(Received::kFailed, Ask(1, milliseconds(60000)));
  records->Close();
  listener.join();

  MakeReliable(true);  // half a record may be lost: the connection is of no use any more
  EXPECT_EQ(Received::kEnded, Ask(2, milliseconds(60000)));
  EXPECT_TRUE(records->IsEnded());
}

// What came in behind the last look would else wait for the next notification.
TEST_F(Exchanges, AreLookedAtAgainByWhoeverDrainsWhenAnotherOneCame) {
  EXPECT_TRUE(records->BeginDrain());
  EXPECT_FALSE(records->BeginDrain());
  EXPECT_FALSE(records->EndDrain());
  EXPECT_TRUE(records->EndDrain());
}

// The cancellation is pending when the thread begins to wait, as not every emulator can unwind from
// a signal.
TEST_F(Exchanges, WaitForTheirTurnInTimeAndMayBeCancelledMeanwhile) {
  {
    const RecordExchange::Turn first(*records, kForever);
    std::thread cancelled([this] {
      ::pthread_cancel(::pthread_self());
      const RecordExchange::Turn turn(*records, kForever);
    });
    cancelled.join();
    EXPECT_EQ(Received::kNotSent, Ask(1, milliseconds(1))) << "nor has this one its turn";
    EXPECT_EQ(ETIMEDOUT, errno);
  }
  EXPECT_EQ(Received::kTimeout, Ask(1, milliseconds(1)));
  records->Close();
}

}  // namespace
