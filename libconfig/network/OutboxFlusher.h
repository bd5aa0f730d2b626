// Empties the outboxes whose peers were slow, as soon as they read on. One thread for the process,
// started when an outbox first needs it and never ended. Internal.
#pragma once

#include <memory>
#include <vector>

#include "libconfig/base/Mutex.h"

namespace qel::vorlane::config::access {

class Outbox;

class OutboxFlusher {
 public:
  // Never destroyed.
  static OutboxFlusher& Instance();

  // False when there can be no thread.
  bool Watch(std::shared_ptr<Outbox> outbox);

 private:
  OutboxFlusher() = default;
  bool Start() LIBCONFIG_REQUIRES(_mutex);
  static void* ThreadEntry(void* flusher);
  void Run();

  qel::config::Mutex _mutex;
  bool _running LIBCONFIG_GUARDED_BY(_mutex) = false;
  std::vector<std::shared_ptr<Outbox>> _arriving LIBCONFIG_GUARDED_BY(_mutex);
  int _wake = -1;  // an eventfd, open once the thread runs
};

}  // namespace qel::vorlane::config::access
