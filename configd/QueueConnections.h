// The clients that are connected over message queues: the response queue of each, and who of them
// hears of changes. Nothing here waits for a client: for one whose queue is full the latest change
// of each parameter is kept until it has read on.
//
// Any thread.
#pragma once

#include <mqueue.h>
#include <sys/types.h>

#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "libconfig/libconfig.h"

// What a response says where it is not 0. Do not renumber: clients see the numbers.
enum eQueueError_t : uint32_t {
  eQueueError_TooMany = 23,        // connections or configurations
  eQueueError_Refused = 53,        // the value was not stored
  eQueueError_NoValue = 60,        // the parameter has no value that could be sent
  eQueueError_TooLong = 90,        // the value does not fit into a message
  eQueueError_NotConnected = 107,  // Connect has to come first
};

class QueueConnections {
 public:
  QueueConnections() = default;
  ~QueueConnections();
  QueueConnections(const QueueConnections&) = delete;
  QueueConnections& operator=(const QueueConnections&) = delete;

  // 0, or the number for the response. A connection that is there already begins anew. Only a queue
  // of the daemon's own user is accepted, and written to: without one nobody can be answered.
  uint32_t Open(uint32_t id, uint32_t priority);
  void Close(uint32_t id);
  bool Contains(uint32_t id);
  // False when there is no such connection.
  bool SetListening(uint32_t id, bool listening);

  // Sends to the connection that `response` names, or, when it is none, to the response queue of
  // that name. A value that does not fit gives way to eQueueError_TooLong. Changes that are kept
  // for the connection follow as far as there is room.
  void Answer(XCONFIGMGR_RESPONSE_T response, const std::string& stream = {});
  // Sends to every connection that listens. True when something had to be kept.
  bool Announce(const XCONFIGMGR_RESPONSE_T& event, const std::string& stream = {});

  enum class Kept {
    kNothing,
    kLess,  // than at the last call
    kAsMuch,
  };
  // Sends of what is kept as much as there is room for. `lines` gets one for each client that has
  // not read for a while, once.
  Kept Flush(std::vector<std::string>& lines);

  // Closes and removes the queues of processes that are gone.
  void Sweep();

 private:
  using Clock = std::chrono::steady_clock;
  struct Change {
    XCONFIGMGR_RESPONSE_T event;
    std::string stream;
  };
  struct Connection {
    mqd_t queue = -1;
    unsigned priority = 0;
    bool listening = false;
    std::vector<Change> kept;  // in the order of their events, at most one for each parameter
    Clock::time_point read;    // when the client was last seen to have read on
    bool named = false;        // in the log
  };

  static bool HasRoom(const Connection& connection);
  static bool SendKept(Connection& connection);
  static void Keep(Connection& connection, const XCONFIGMGR_RESPONSE_T& event,
                   const std::string& stream);
  static mqd_t OpenQueue(uint32_t id);
  static int Send(mqd_t queue, unsigned priority, const XCONFIGMGR_RESPONSE_T& response,
                  const std::string& stream);

  std::mutex _mutex;
  std::map<uint32_t, Connection> _connections;
  unsigned long _slowClients = 0;
};
