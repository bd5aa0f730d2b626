// What the threads inside a queue client work on, and the list of those threads. Internal.
#pragma once

#include <semaphore.h>

#include <atomic>
#include <map>
#include <memory>
#include <thread>
#include <vector>

#include "libconfig/access/ListenerList.h"
#include "libconfig/access/queue/PosixMQClient.h"
#include "libconfig/access/queue/QueueIO.h"

struct PosixMQClient::State {
  State(unsigned int connection, mqd_t responses, std::unique_ptr<qel::config::QueueReader> reader);

  int EnableEvents(bool enable);
  int Arm() LIBCONFIG_REQUIRES(armMutex);
  // Starts a notification anew, after it has come, unless nobody wants it any more.
  bool RenewNotification(PosixMQClient* notified);
  // Tells the listeners what has come. 0 when the queue could not be read, else 1.
  int Drain();
  int DrainAll();
  // The text that follows a record in `length` bytes; `complaint` is reported when there cannot be
  // one. False without a text.
  static bool ReadText(const XCONFIGMGR_RESPONSE_T& record, char* stream, std::size_t length,
                       const char* complaint, std::string& text);
  // The change of a text has `length` bytes of `stream`. REQUIRES: `delivery` is not nested.
  int Deliver(qel::config::ListenerList::Delivery& delivery, XCONFIGMGR_RESPONSE_T& record,
              bool isText, char* stream, std::size_t length, ConfigEvent* event);
  // The same for the next message, if no other thread took it. With `event` it is for one who waits
  // for it, who has a RecordExchange::EventWait, else for listeners only.
  bool DeliverNext(ConfigEvent* event, int& result);

  const unsigned int connectionID;
  const mqd_t responseQueue;
  qel::config::ListenerList listeners;
  const int readerError;  // of the reader: see QueueReader::GetError
  qel::config::RecordExchange records;

  // No listener is called and no value is asked for any more, as the client is being handed back.
  void BeginLeaving();
  std::atomic<bool> leaving{false};

  // When the daemon answered last. Of whose turn it is.
  qel::config::Deadline lastAnswer = qel::config::kNoWait;

  // Guards the notification.
  qel::config::Mutex armMutex;
  PosixMQClient* client LIBCONFIG_GUARDED_BY(armMutex) = nullptr;
  bool armed LIBCONFIG_GUARDED_BY(armMutex) = false;

  // The daemon sends events to whoever waits for them. Changed with the listeners held.
  std::atomic<bool> eventsRegistered{false};

  // Those inside, once for each call. Guarded by the mutex of PosixMQClients.
  std::vector<std::thread::id> inside;
};

// All living queue clients with the threads inside each. A notification may come when its client is
// gone: it then finds nothing here, or a client that was made at the same place, whose listeners it
// tells what there is. Never destroyed, as threads of the system reach it.
class PosixMQClients {
 public:
  using State = PosixMQClient::State;
  using StatePointer = std::shared_ptr<State>;

  static PosixMQClients& Instance();

  void Add(PosixMQClient* client, StatePointer state);
  // Returns when no thread is inside but the calling one.
  void Remove(PosixMQClient* client);
  bool Contains(PosixMQClient* client);
  bool HasConnection(unsigned int connectionID);

  // A thread that works on a client. Without a state when there is no such client any more.
  class Inside {
   public:
    explicit Inside(PosixMQClient* client);
    ~Inside();
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;

    const StatePointer& state() const { return _state; }

   private:
    StatePointer _state;
  };

 private:
  qel::config::Mutex _mutex;
  qel::config::Condition _left;
  std::map<PosixMQClient*, StatePointer> _clients LIBCONFIG_GUARDED_BY(_mutex);
};

// One request and its answer, alone in the client while it exists, and in the factory, too, with
// the factory's semaphore. All waiting ends at one time.
class PosixMQClient::Exchange {
 public:
  // The semaphore may be null.
  Exchange(PosixMQClient& client, sem_t* semaphore, std::chrono::milliseconds patience);
  ~Exchange();
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  // `length` bytes that begin with the words of a request. kNotSent, or another failure when no
  // answer came; errno says why.
  qel::config::Received Ask(const void* request, std::size_t length,
                            qel::config::ReceivedRecord& answer);

  // Whether the answer is that of the request, with a message where it bears another's numbers.
  bool IsAnswered(const qel::config::ReceivedRecord& answer);
  // What came may be another one's answer: then the right one may still be on its way.
  void Leave(const qel::config::ReceivedRecord& answer);

 private:
  void WaitForFactory();

  PosixMQClient& _client;
  const qel::config::Deadline _begin;
  const qel::config::Deadline _deadline;
  qel::config::RecordExchange::Turn _turn;
  sem_t* const _semaphore;
  bool _held = false;  // the semaphore
  int _error = 0;      // why there is no exchange
  XCONFIGMGR_CONNECTION_REQUEST_T _request = {};
};
