// What comes in on one connection, whatever the transport: the answer goes to the exchange that
// waits for it, events to whoever tells the listeners, and a late answer is ignored. Transports
// differ in their RecordReader only. Internal.
//
// One thread reads at a time: whoever waits for something and finds nobody reading. It keeps what
// is meant for others, in the order of arrival, and hands the reading on when it has what it waited
// for. So a listener that blocks stops nobody else's exchange, and may itself exchange records.
//
// Any thread may call, and may be cancelled while it waits. Exchanges are one at a time; threads
// get their turn in the order in which they asked for it. Every wait ends at a point in time,
// however much comes in meanwhile.
#pragma once

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <deque>
#include <memory>
#include <set>
#include <thread>
#include <vector>

#include "libconfig/access/Outcome.h"
#include "libconfig/base/Mutex.h"

namespace qel::config {

using Deadline = std::chrono::steady_clock::time_point;

constexpr Deadline kForever = Deadline::max();
// For what is there already.
constexpr Deadline kNoWait = Deadline::min();

inline Deadline After(std::chrono::milliseconds time) {
  return std::chrono::steady_clock::now() + time;
}

// A record of either family as it came in, with the bytes that followed it. Words that it was too
// short for are zero.
struct ReceivedRecord {
  static constexpr std::size_t kLargest = 52;

  uint32_t words[kLargest / sizeof(uint32_t)] = {};
  std::size_t size = 0;  // bytes of the record that came
  std::vector<char> stream;
  uint64_t sender = 0;  // of a datagram: its address and port, as one number

  char* GetBytes() { return reinterpret_cast<char*>(words); }
  uint32_t GetType() const { return words[0]; }
  uint32_t GetRequestID() const { return words[2]; }
  bool IsEvent() const;

  template <typename Record>
  Record As() const {
    static_assert(sizeof(Record) <= kLargest);
    Record record;
    std::memcpy(&record, words, sizeof record);
    return record;
  }
};

struct ExpectedAnswer {
  uint32_t requestID = 0;
  std::size_t size = 0;     // of the record
  bool withStream = false;  // a stream follows it
};

// How a read or an exchange ended. errno says more about the failures.
enum class Received {
  kRecord,   // an exchange has its answer
  kIgnored,  // something came that concerns nobody
  kUnknown,  // a record that is neither an event nor anybody's answer
  kTimeout,
  kNotSent,  // the request could not be sent
  kFailed,   // nothing was read, and the next read may succeed
  // The connection has ended with these.
  kEnded,
  kTooLong,    // a record announced a stream beyond all limits
  kStreamCut,  // a record came and its stream did not
};

class RecordExchange;

// Reads the records of one transport. One thread at a time.
class RecordReader {
 public:
  virtual ~RecordReader();

  // The next record. Where the type of a record does not tell its size, the answer that `exchange`
  // waits for does. After kTimeout the next call goes on with what came of a record.
  virtual Received Read(ReceivedRecord& record, Deadline deadline, RecordExchange& exchange) = 0;

  // Ends the Read that goes on, if one does, and all later ones. Any thread.
  virtual void Interrupt(bool isReading) = 0;

  // Whether an event that cannot be kept ends the connection, for what follows would be misleading.
  virtual bool IsReliable() const = 0;
};

class RecordExchange {
 public:
  explicit RecordExchange(std::unique_ptr<RecordReader> reader);
  ~RecordExchange();
  RecordExchange(const RecordExchange&) = delete;
  RecordExchange& operator=(const RecordExchange&) = delete;

  // One request and its answer, alone on the connection while it exists. Waiting for the turn and
  // for the answer end at one time.
  class Turn {
   public:
    Turn(RecordExchange& records, Deadline deadline);
    // An answer that was not waited for to the end is recognised when it comes.
    ~Turn();
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    // False, with the reason in errno, when the time was over first or the connection has ended.
    bool IsMine() const { return _granted; }

    // `send` sends the request and tells whether it could. Sets the thread's Outcome.
    template <typename Send>
    Received Ask(const ExpectedAnswer& expected, Send send, ReceivedRecord& answer) {
      if (!Expect(expected, send)) return Received::kNotSent;
      return _records.Await(answer);
    }
    // The first half of it; RecordExchange::Await is the other one.
    template <typename Send>
    bool Expect(const ExpectedAnswer& expected, Send send) {
      if (_granted) {
        Announce(expected);
        if (send()) return true;
        Withdraw();
      }
      SetOutcome(!_granted && _error == ETIMEDOUT ? Outcome::kNoAnswer : Outcome::kNoConnection);
      if (!_granted) errno = _error;
      return false;
    }

    // What came was not the answer: it may still come.
    void GiveUp(uint32_t requestID);

   private:
    friend class RecordExchange;
    struct Registered {};

    // Takes the turn if it is free. From then on the destructor gives it back, although the waiting
    // for one that is not may be cancelled.
    Turn(RecordExchange& records, Deadline deadline, Registered);

    void TakeIfFree() LIBCONFIG_REQUIRES(_records._mutex);
    // From those who wait, if it is among them.
    void Unlink() LIBCONFIG_REQUIRES(_records._mutex);
    void Announce(const ExpectedAnswer& expected);
    void Withdraw();

    RecordExchange& _records;
    const Deadline _deadline;
    bool _granted = false;
    int _error = 0;         // why it is not granted
    Turn* _next = nullptr;  // of those who wait for theirs
  };

  // Waits for the answer of the exchange that goes on; kTimeout at once where none does. A thread
  // that tells of events gets a moment to tell of those that came before the answer: who asks after
  // a change may rely on having heard of it, unless a listener blocks.
  Received Await(ReceivedRecord& answer);
  // For the reader: what the exchange that goes on waits for. False where none does.
  bool GetExpected(ExpectedAnswer& expected);

  // Whether events are kept for listeners; dropped otherwise. With `isThread` a thread that waits
  // for them tells of them, or is about to begin.
  void KeepEvents(bool keep, bool isThread = false);
  bool HasEvents();

  // Somebody who waits for events, tells of each and waits on. While he exists no drain takes one.
  class EventWait {
   public:
    explicit EventWait(RecordExchange& records);
    ~EventWait();
    EventWait(const EventWait&) = delete;
    EventWait& operator=(const EventWait&) = delete;

   private:
    RecordExchange& _records;
  };
  // REQUIRES: an EventWait. kRecord when there is an event to be taken. `type` is that of a record
  // for nobody. Events that came before the peer's end are still handed out.
  Received AwaitEvent(uint32_t& type);
  // False when another one who waits was quicker.
  bool TakeAwaitedEvent(ReceivedRecord& event);

  // For transports that start a thread for what has come in: one drain at a time. False when there
  // is one, which then looks once more.
  bool BeginDrain();
  // kRecord when there is an event to be taken. Everything else ends the drain, but kUnknown.
  Received NextToDrain(uint32_t& type);
  // False when another drain or one who waits was quicker.
  bool TakeEvent(ReceivedRecord& event);
  // Leaves a drain early. False when it has to go on, as another one was turned away meanwhile.
  bool EndDrain();
  // Whether there are events that no thread is about to tell of. Who is told so starts one, or says
  // that there is none after all: nobody else is told until then.
  bool ClaimDrain();
  void DisclaimDrain();

  // Ends the connection from this side: all waiting ends, and what nobody has heard is dropped.
  void Stop();
  // The same, and returns when no exchange is left. REQUIRES: the calling thread has none.
  void Close();
  bool IsEnded();

 private:
  class Reading;

  void Abandon(uint32_t requestID) LIBCONFIG_REQUIRES(_mutex);
  Received ReadOne(Deadline deadline, uint32_t& type) LIBCONFIG_REQUIRES(_mutex);
  Received Sort(ReceivedRecord& record, uint32_t& type) LIBCONFIG_REQUIRES(_mutex);
  Received Keep(ReceivedRecord& event) LIBCONFIG_REQUIRES(_mutex);
  Received WaitToDrain(uint32_t& type) LIBCONFIG_REQUIRES(_mutex);
  bool TakeFirst(ReceivedRecord& event) LIBCONFIG_REQUIRES(_mutex);
  void NoteTold() LIBCONFIG_REQUIRES(_mutex);
  void LetEarlierEventsBeTold() LIBCONFIG_REQUIRES(_mutex);
  void End(Received how, int error) LIBCONFIG_REQUIRES(_mutex);
  bool Wait(Deadline deadline) LIBCONFIG_REQUIRES(_mutex);
  void Wake() LIBCONFIG_REQUIRES(_mutex);

  const std::unique_ptr<RecordReader> _reader;

  Mutex _mutex;
  Condition _changed;
  unsigned _sleepers LIBCONFIG_GUARDED_BY(_mutex) = 0;  // that wait for _changed
  bool _reading LIBCONFIG_GUARDED_BY(_mutex) = false;   // a thread is inside the reader

  unsigned _turns LIBCONFIG_GUARDED_BY(_mutex) = 0;         // that exist
  bool _exchanging LIBCONFIG_GUARDED_BY(_mutex) = false;    // somebody has the turn
  Turn* _firstTurn LIBCONFIG_GUARDED_BY(_mutex) = nullptr;  // of those who wait for it
  bool _waiting LIBCONFIG_GUARDED_BY(_mutex) = false;       // an exchange expects an answer
  bool _answered LIBCONFIG_GUARDED_BY(_mutex) = false;      // and has it, or its failure
  ExpectedAnswer _expected LIBCONFIG_GUARDED_BY(_mutex);
  Deadline _deadline LIBCONFIG_GUARDED_BY(_mutex) = kNoWait;
  ReceivedRecord _answer LIBCONFIG_GUARDED_BY(_mutex);
  Received _outcome LIBCONFIG_GUARDED_BY(_mutex) = Received::kRecord;  // kRecord or kFailed
  int _error LIBCONFIG_GUARDED_BY(_mutex) = 0;                         // of _outcome
  std::set<uint32_t> _abandoned LIBCONFIG_GUARDED_BY(_mutex);

  bool _keepEvents LIBCONFIG_GUARDED_BY(_mutex) = false;
  bool _threadTells LIBCONFIG_GUARDED_BY(_mutex) = false;
  std::deque<ReceivedRecord> _events LIBCONFIG_GUARDED_BY(_mutex);
  std::size_t _eventBytes LIBCONFIG_GUARDED_BY(_mutex) = 0;  // of their streams
  unsigned _eventWaiters LIBCONFIG_GUARDED_BY(_mutex) = 0;
  // Events by their number: kept so far, that many when the answer came, and told by who waits.
  uint64_t _kept LIBCONFIG_GUARDED_BY(_mutex) = 0;
  uint64_t _keptAtAnswer LIBCONFIG_GUARDED_BY(_mutex) = 0;
  uint64_t _told LIBCONFIG_GUARDED_BY(_mutex) = 0;
  std::thread::id _teller LIBCONFIG_GUARDED_BY(_mutex);  // who tells of one at present
  Deadline _tellingSince LIBCONFIG_GUARDED_BY(_mutex) = kForever;
  bool _draining LIBCONFIG_GUARDED_BY(_mutex) = false;
  bool _drainAgain LIBCONFIG_GUARDED_BY(_mutex) = false;
  bool _drainClaimed LIBCONFIG_GUARDED_BY(_mutex) = false;

  bool _ended LIBCONFIG_GUARDED_BY(_mutex) = false;
  Received _ending LIBCONFIG_GUARDED_BY(_mutex) = Received::kEnded;
  int _endError LIBCONFIG_GUARDED_BY(_mutex) = 0;
};

}  // namespace qel::config
