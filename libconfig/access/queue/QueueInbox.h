// What comes in on the response queue of one connection: answers for the exchange that waits for
// them, events for the listeners. Internal.
//
// One thread reads at a time, whoever comes first: an exchange until it has its answer, the drain
// that a notification started until nothing is left, or WaitForConfigEvent. What a reader does not
// want itself it leaves here, in the order in which it came, so that nobody depends on another
// thread's getting on.
//
// Any thread, and any of them may be cancelled while it waits. Exchanges are one at a time: the
// client sees to that.
#pragma once

#include <mqueue.h>

#include <deque>
#include <set>
#include <vector>

#include "libconfig/access/MessageRecords.h"
#include "libconfig/access/queue/QueueIO.h"
#include "libconfig/base/Mutex.h"

namespace qel::config {

// A message as it came in. Words that it was too short for are zero.
struct QueueMessage {
  XCONFIGMGR_RESPONSE_T record = {};
  std::size_t size = 0;      // of the whole message
  std::vector<char> stream;  // what follows the record

  bool IsEvent() const;
  // Whether as much follows the record as the record says. Nothing is not enough.
  bool HasStream() const;
};

class QueueInbox {
 public:
  enum class Outcome {
    kReady,
    kEmpty,    // nothing is left
    kUnknown,  // a message that is neither an event nor anybody's answer
    kTimeout,
    kFailed,  // by errno
    kClosed,
  };

  // The descriptor stays the caller's.
  QueueInbox(mqd_t queue, std::size_t messageSize);
  ~QueueInbox();
  QueueInbox(const QueueInbox&) = delete;
  QueueInbox& operator=(const QueueInbox&) = delete;

  // 0, or the error number where no wait could be ended. WaitForConfigEvent fails then.
  int GetError() const { return _error; }

  // For an exchange: Expect before the request is sent, then AwaitAnswer, or ExpectNothing. An
  // answer that comes when it was given up is recognised by its number and dropped.
  void Expect(uint32_t requestID);
  void ExpectNothing();
  Outcome AwaitAnswer(QueueMessage& answer, QueueClock::time_point deadline);
  void Abandon(uint32_t requestID);

  // Whether somebody wants to hear events. Those that nobody wants are dropped.
  void KeepEvents(bool keep);
  bool HasEvents();
  // Whether there are events that no thread is about to tell of. Who is told so starts one, or says
  // that there is none after all: nobody else is told until then.
  bool ClaimDrain();
  void DisclaimDrain();
  // For listeners only: false when another thread was quicker, or while somebody waits for it.
  bool TakeEvent(QueueMessage& event);

  // One drain at a time. False when there is one, which then looks once more.
  bool BeginDrain();
  // kReady when there is an event to be taken. Everything else ends the drain, but kUnknown, of
  // which `type` is the message's type. What comes while somebody waits for an event is his.
  Outcome NextToDrain(uint32_t& type);
  // Leaves a drain early. False when it has to go on, as another one was turned away meanwhile.
  bool EndDrain();

  // Somebody who waits for an event. While he exists the next one is his: no drain takes it.
  class EventWait {
   public:
    explicit EventWait(QueueInbox& inbox);
    ~EventWait();
    EventWait(const EventWait&) = delete;
    EventWait& operator=(const EventWait&) = delete;

   private:
    QueueInbox& _inbox;
  };
  // REQUIRES: an EventWait. Waits as long as it takes.
  Outcome AwaitEvent(uint32_t& type);
  // False when another one who waits was quicker.
  bool TakeAwaitedEvent(QueueMessage& event);

  // Ends all waiting, for good.
  void Close();
  bool IsClosed();

 private:
  // How a reader waits for its message.
  enum class Patience { kNone, kDeadline, kEndless };
  class Reading;

  Outcome ReadOne(Patience patience, QueueClock::time_point deadline, uint32_t& type)
      LIBCONFIG_REQUIRES(_mutex);
  Outcome Sort(std::size_t size, uint32_t& type) LIBCONFIG_REQUIRES(_mutex);
  Outcome WaitToDrain(uint32_t& type) LIBCONFIG_REQUIRES(_mutex);
  bool TakeFirst(QueueMessage& event) LIBCONFIG_REQUIRES(_mutex);

  const mqd_t _queue;
  const int _wake;  // an eventfd, readable from Close on
  const int _error;

  Mutex _mutex;
  Condition _changed;
  bool _closed LIBCONFIG_GUARDED_BY(_mutex) = false;
  bool _reading LIBCONFIG_GUARDED_BY(_mutex) = false;   // a thread is in the system's receive
  bool _waiting LIBCONFIG_GUARDED_BY(_mutex) = false;   // an exchange expects an answer
  bool _answered LIBCONFIG_GUARDED_BY(_mutex) = false;  // and has it in _answer
  uint32_t _requestID LIBCONFIG_GUARDED_BY(_mutex) = 0;
  QueueMessage _answer LIBCONFIG_GUARDED_BY(_mutex);
  std::set<uint32_t> _abandoned LIBCONFIG_GUARDED_BY(_mutex);
  bool _keepEvents LIBCONFIG_GUARDED_BY(_mutex) = false;
  std::deque<QueueMessage> _events LIBCONFIG_GUARDED_BY(_mutex);
  bool _draining LIBCONFIG_GUARDED_BY(_mutex) = false;
  bool _drainAgain LIBCONFIG_GUARDED_BY(_mutex) = false;
  bool _drainClaimed LIBCONFIG_GUARDED_BY(_mutex) = false;
  int _eventWaiters LIBCONFIG_GUARDED_BY(_mutex) = 0;

  std::vector<char> _buffer;  // of the thread that reads
};

}  // namespace qel::config
