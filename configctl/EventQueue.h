// Changes between the thread that hears of them and the one that works on them. The library's
// events thread calls the listener's operations, which never wait; one other thread takes.
#pragma once

#include <chrono>
#include <cstdint>
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

  // Put a value that was read in its place among the events: GetMark before it is asked for,
  // Reconcile with the answer. Events of the parameter that are older than the value are forgotten,
  // those that are newer stay. False when it cannot be told which they are; reading once more
  // helps.
  uint64_t GetMark();
  bool Reconcile(eParam_t id, const programs::Value& value, uint64_t mark);

  // Whether events were lost since the last call, as they came faster than they were taken. What
  // still waited then is forgotten too.
  bool TakeOverflow();

 private:
  struct Numbered {
    uint64_t number;
    Event event;
  };

  void Push(Event event);

  qel::config::Mutex _mutex;
  qel::config::Condition _changed;
  std::deque<Numbered> _events LIBCONFIG_GUARDED_BY(_mutex);
  uint64_t _lastNumber LIBCONFIG_GUARDED_BY(_mutex) = 0;
  bool _overflow LIBCONFIG_GUARDED_BY(_mutex) = false;
};

}  // namespace configctl
