// A connection to the message queues of a daemon on this machine, for the one place that the tool
// is told of. One thread uses it.
#pragma once

#include <sys/resource.h>

#include <chrono>
#include <memory>
#include <string>

#include "libconfig/libconfig.h"

namespace configctl {

class QueueLink {
 public:
  // The longest text that can be sent and read back: a response carries it behind a StringValue's
  // four words and with a zero byte.
  static constexpr std::size_t kLongestText =
      PosixMQFactory::kMessageSize - sizeof(XCONFIGMGR_RESPONSE_T) - 4 * sizeof(uint32_t) - 1;

  // Connects to the daemon that owns `queue`. An exchange is given up after `patience`. Throws
  // Failure.
  static std::unique_ptr<QueueLink> Connect(const std::string& queue,
                                            std::chrono::milliseconds patience);
  ~QueueLink();
  QueueLink(const QueueLink&) = delete;
  QueueLink& operator=(const QueueLink&) = delete;

  // Tells the daemon and removes the queue that answers come on, for a process that ends on the
  // spot. Waits for nothing; safe in a signal's handler.
  static void LeaveInPassing();

  // Whether the daemon lives. Does not wait for it.
  bool IsServed() const;
  PosixMQClient& GetClient() const { return *_client; }

 private:
  QueueLink(int requests, PosixMQFactory& factory, PosixMQClient* client);

  const int _requests;  // the daemon's queue, to look at
  PosixMQFactory& _factory;
  PosixMQClient* const _client;
};

// What the system grants to message queues.
struct QueueLimits {
  static constexpr unsigned long kConnectionBytes = 77UL * 1024;

  static QueueLimits Read();
  bool IsUnlimited() const { return bytes == RLIM_INFINITY; }
  std::string ToText() const;
  std::string MessagesText() const;

  rlim_t bytes = 0;   // of all queues of this user
  long messages = 0;  // in a queue; 0 when it is not known
};

}  // namespace configctl
