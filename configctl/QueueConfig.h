// A configuration behind the message queues of a daemon on this machine, for the one place that the
// tool is told of. What the library's client leaves open it tells: whether a number was read, and
// whether the daemon is still there.
//
// One thread uses it; listeners are called on the library's threads.
#pragma once

#include <sys/resource.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "libconfig/libconfig.h"

namespace configctl {

class QueueConfig final : public Config {
 public:
  // The longest text that can be sent and read back.
  static constexpr std::size_t kLongestText = 443;

  // Connects to the daemon that owns `queue`. An exchange is given up after `patience`. Throws
  // Failure.
  static std::unique_ptr<QueueConfig> Connect(const std::string& queue,
                                              std::chrono::milliseconds patience);
  ~QueueConfig() override;

  // Tells the daemon and removes the queue that answers come on, for a process that ends on the
  // spot. Waits for nothing; safe in a signal's handler.
  static void LeaveInPassing();

  // Does not wait for the daemon.
  bool IsAlive() const;

  // 1 when the value was read.
  int Get(eParam_t param, unsigned int& value) override;
  int Get(eParam_t param, std::string& value) override;
  int Set(eParam_t param, unsigned int value) override;
  int Set(eParam_t param, std::string value) override;
  unsigned int Get(eParam_t param) override;
  int AddConfigEventListener(ConfigEventListener* listener) override;
  int RemoveConfigEventListener(ConfigEventListener* listener) override;
  using Config::AddConfigEventListener;

  eConfigID_t GetConfigID() override;
  timeval GetLastConfigUpdate() override;
  ParamDescriptor* GetParamDescriptor(eParam_t param) override;
  ParamDescriptor* GetParamDescriptor(std::string name) override;
  std::vector<eParam_t> GetParamIDs() override;

 private:
  QueueConfig(int requests, PosixMQFactory& factory, PosixMQClient* client);
  int Judge(bool done);

  const int _requests;  // the daemon's queue, to look at
  PosixMQFactory& _factory;
  PosixMQClient* const _client;
  bool _failed = false;
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
