// The client's end of a connection: takes the records in and gives each to whom it belongs, answers
// to the exchange that waits for them, events to the listeners. A derived class knows how a record
// is read. Internal.
//
// One thread reads at a time. Without an events thread that is whoever waits for an answer; from
// ExpectReader on it is the events thread alone, and an exchange on another thread waits until its
// answer is handed over. The events thread may itself have an exchange, from inside a listener's
// call: it then goes on reading, and keeps the events that come meanwhile for later.
//
// Exchanges are one at a time: the client's request lock sees to that.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <set>
#include <thread>
#include <vector>

#include "libconfig/base/Mutex.h"
#include "libconfig/network/NetworkRecords.h"

class Socket;

namespace qel::vorlane::config::access {

// A record as it came in, with the bytes that followed it.
struct ReceivedRecord {
  XCONFIGMGR_RESPONSE_T header = {};
  std::size_t size = 0;  // bytes of the header that the record has
  std::vector<char> stream;
  uint64_t sender = 0;  // of a datagram: its address and port, as one number
};

// What an exchange waits for.
struct ExpectedAnswer {
  uint32_t requestID = 0;
  std::size_t size = 0;     // of the record
  bool withStream = false;  // its stream is the answer
  int timeoutMs = 0;
};

enum class Received {
  kAnswer,
  kNotSent,  // the request could not be sent
  kTimeout,
  kFailed,     // closed, cut or broken
  kTooLong,    // it announced a stream beyond all limits
  kStreamCut,  // the record came and its stream did not
};

class RecordRouter {
 public:
  explicit RecordRouter(Socket& socket);
  virtual ~RecordRouter();

  // Call Expect before the request is sent, then ReceiveAnswer to wait, or ExpectNothing. An answer
  // that comes too late is recognised by its number and dropped.
  void Expect(const ExpectedAnswer& expected);
  Received ReceiveAnswer(ReceivedRecord& answer);
  void ExpectNothing();

  // From now on only the thread that calls BecomeReader reads.
  void ExpectReader();
  void BecomeReader();
  bool IsReader() const;

  // For the reader: the next record that no exchange waits for. False when the connection has
  // ended, with the result of the system's receive in `result`.
  bool NextEvent(ReceivedRecord& record, int& result);

  // Ends the connection: exchanges fail at once.
  void Abort() { End(Received::kFailed); }

  // For the reader, while it waits for the request lock: serves whoever holds it.
  void ServeExchange();
  // Whether it waits for the lock. Others then leave it to the reader, which could wait for ever
  // behind exchanges that follow each other.
  void SetReaderQueues(bool queues);
  void LetReaderGoFirst();

 protected:
  enum class Reading {
    kRecord,
    kSkipped,  // something came that nobody waits for
    kTimeout,
    kTrouble,  // nothing was read, and the next may well be
    kEnd,      // the connection is at its end
  };

  // Waits as long as the socket's own time-out says. Without a record `failure` is what it means
  // for an exchange. `result` is the system's, for kTrouble and kEnd.
  virtual Reading ReadRecord(ReceivedRecord& record, Received& failure, int& result) = 0;
  // Whether something is at hand that was received already.
  virtual bool HasBuffered() const { return false; }

  Socket& GetSocket() { return _socket; }
  // What the waiting exchange expects, if there is one.
  bool GetExpected(ExpectedAnswer& expected);

  static bool IsEvent(uint32_t type);

 private:
  enum class Kind { kEvent, kStale, kAnswer, kUnsolicited };

  Received ReadUntilAnswer(ReceivedRecord& answer);
  Received AwaitAnswer(ReceivedRecord& answer);
  Kind Sort(const ReceivedRecord& record);
  bool HandOver(ReceivedRecord& record);
  void Keep(ReceivedRecord record);
  void Abandon(uint32_t requestID) LIBCONFIG_REQUIRES(_mutex);
  void End(Received how);
  void SetReceiveTimeout(int milliseconds);

  Socket& _socket;

  // Of the thread that reads.
  std::deque<ReceivedRecord> _kept;  // events that came during the reader's own exchange
  std::size_t _keptBytes = 0;        // of their streams
  int _receiveTimeoutMs = 0;

  std::atomic<bool> _hasReader{false};
  std::atomic<std::thread::id> _readerThread{};

  qel::config::Mutex _mutex;
  qel::config::Condition _changed;
  bool _readerQueues LIBCONFIG_GUARDED_BY(_mutex) = false;
  bool _waiting LIBCONFIG_GUARDED_BY(_mutex) = false;   // an exchange expects _expected
  bool _answered LIBCONFIG_GUARDED_BY(_mutex) = false;  // and has it in _answer
  bool _ended LIBCONFIG_GUARDED_BY(_mutex) = false;     // nothing more will come
  Received _ending LIBCONFIG_GUARDED_BY(_mutex) = Received::kFailed;
  ExpectedAnswer _expected LIBCONFIG_GUARDED_BY(_mutex);
  ReceivedRecord _answer LIBCONFIG_GUARDED_BY(_mutex);
  std::set<uint32_t> _abandoned LIBCONFIG_GUARDED_BY(_mutex);
};

}  // namespace qel::vorlane::config::access
