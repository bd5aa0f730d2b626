// Turns the calls that a Config makes into a queue that a thread of the application waits on, one
// event at a time. Opened by URI it has a connection of its own, which is how an application
// listens on one connection while it asks on another.
//
//   NetworkEventListener listener;
//   if (!listener.Open("tcp://127.0.0.1:43110")) return 1;
//   for (ConfigEvent event; listener.WaitForConfigEvent(event);) Show(event);
//
// Any thread may wait, and several may; each event wakes one of them. Opening and closing are for
// one thread at a time. Close ends the connection, also one that was given to Open: neither it nor
// a cache that was made from the URI may be used afterwards. Do not Close from inside a listener's
// call.
#pragma once

#include <pthread.h>

#include <deque>
#include <string>

#include "libconfig/access/ConfigEvent.h"
#include "libconfig/access/ConfigEventListener.h"
#include "libconfig/base/Export.h"

class Config;

namespace qel::vorlane::config::access {

class LIBCONFIG_API NetworkEventListener : public ConfigEventListener {
 public:
  NetworkEventListener();
  ~NetworkEventListener() override;
  NetworkEventListener(const NetworkEventListener&) = delete;
  NetworkEventListener& operator=(const NetworkEventListener&) = delete;

  // False when it is open already.
  bool Open(Config* config);
  // The same, and when the configuration cannot be had or takes no listener.
  bool Open(const std::string& uri);
  // Wakes all waiting threads, waits until they have returned, and drops the queue.
  void Close();

  // Of waits to come; all bits set is for ever. The wait ends at the current whole second plus this
  // time, that is up to a second early: with 100 ms it mostly returns at once. Take whole seconds.
  void SetTimeoutInMS(unsigned int ms);
  // The newest events are kept. 100 until set.
  void SetMaximumQueueSize(unsigned int count);

  using ConfigEventListener::ParamChanged;
  void ParamChanged(eParam_t param, unsigned int value, timeval when) override;
  void ParamChanged(eParam_t param, std::string value, timeval when) override;

  void AddEvent(ConfigEvent& event);
  // False, with `event` as it was, when the time is over, after Signal and Close, and while closed.
  bool WaitForConfigEvent(ConfigEvent& event);
  // Lets one waiter return.
  void Signal();

 private:
  class Lock;

  bool Begin(Config* config, bool ownsCache);
  void Release(Config* config, bool ownsCache);
  int WaitForSignal();

  pthread_mutex_t _mutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_cond_t _condition = PTHREAD_COND_INITIALIZER;
  // All of this under the mutex.
  Config* _config = nullptr;  // while open
  unsigned int _timeoutMs = 0xFFFFFFFF;
  unsigned int _maximum = 100;
  std::deque<ConfigEvent> _queue;
  unsigned int _waiters = 0;
  bool _ownsCache = false;  // _config is a cache of our own
  bool _closing = false;
  pthread_cond_t _left = PTHREAD_COND_INITIALIZER;  // the last waiter has
};

}  // namespace qel::vorlane::config::access
