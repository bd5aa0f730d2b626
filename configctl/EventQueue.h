// Changes between the thread that hears of them and the one that works on them. The library's
// events thread calls the listener's operations, which never wait; one other thread takes.
#pragma once

#include <chrono>
#include <deque>
#include <string>

#include "libconfig/base/Mutex.h"
#include "libconfig/libconfig.h"
#include "programs/ValueText.h"

namespace configctl {

struct Event {
  eParam_t id = eParamID_None;
  programs::Value value;
  timeval when = {};
};

class EventQueue : public ConfigEventListener {
 public:
  using ConfigEventListener::ParamChanged;
  void ParamChanged(eParam_t param, unsigned int value, timeval when) override;
  void ParamChanged(eParam_t param, std::string value, timeval when) override;

  // False when nothing came within `limit`.
  bool Take(std::chrono::milliseconds limit, Event& event);
  // Forgets what has come of one parameter.
  void Forget(eParam_t id);
  // Whether events were lost since the last call, as they came faster than they were taken. What
  // still waited then is forgotten too.
  bool TakeOverflow();

 private:
  void Push(Event event);

  qel::config::Mutex _mutex;
  qel::config::Condition _changed;
  std::deque<Event> _events LIBCONFIG_GUARDED_BY(_mutex);
  bool _overflow LIBCONFIG_GUARDED_BY(_mutex) = false;
};

}  // namespace configctl
