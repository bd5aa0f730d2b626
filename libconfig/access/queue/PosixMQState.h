// What the threads inside a queue client work on, and the list of those threads. Internal.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <thread>
#include <vector>

#include "libconfig/access/ListenerList.h"
#include "libconfig/access/queue/PosixMQClient.h"
#include "libconfig/access/queue/QueueInbox.h"

struct PosixMQClient::State {
  State(unsigned int connection, mqd_t queue, std::size_t messageSize)
      : connectionID(connection), responseQueue(queue), inbox(queue, messageSize) {}

  int EnableEvents(bool enable);
  int Arm() LIBCONFIG_REQUIRES(armMutex);
  // Starts a notification anew, after it has come, unless nobody wants it any more.
  bool RenewNotification(PosixMQClient* notified);
  // Tells the listeners what has come. 0 when the queue could not be read, else 1.
  int Drain();
  // REQUIRES: `delivery` is not nested.
  int Deliver(qel::config::ListenerList::Delivery& delivery, XCONFIGMGR_RESPONSE_T& record,
              ConfigEvent* event);
  int DeliverStream(qel::config::ListenerList::Delivery& delivery, XCONFIGMGR_RESPONSE_T& record,
                    char* stream, unsigned length, ConfigEvent* event);
  // The same for the next message, if no other thread took it. With `event` it is for one who waits
  // for it, who has a QueueInbox::EventWait, else for listeners only.
  bool DeliverNext(ConfigEvent* event, int& result);

  const unsigned int connectionID;
  const mqd_t responseQueue;
  qel::config::ListenerList listeners;
  qel::config::QueueInbox inbox;

  // The client is about to be handed back: no value is asked for any more.
  std::atomic<bool> leaving{false};
  // Whether an exchange is going on. Guarded by the client's mutex.
  bool exchanging = false;
  qel::config::Condition exchangeEnded;

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
