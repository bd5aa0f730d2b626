// How a mapped configuration tells its listeners of a change and of the proxies that it touches.
// Internal.
#pragma once

#include <atomic>
#include <memory>
#include <utility>

#include "libconfig/access/ListenerList.h"
#include "libconfig/access/Outcome.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/descriptors/IntegerDescriptor.h"
#include "libconfig/descriptors/StringDescriptor.h"
#include "libconfig/mapping/MappingConfig.h"
#include "libconfig/support/Logger.h"

namespace qel::vorlane::config::access {

using qel::config::Outcome;
using qel::config::SetOutcome;
using Delivery = qel::config::ListenerList::Delivery;

struct MappingConfig::Events {
  template <typename Tell>
  void Announce(Tell tell) {
    Delivery(listeners).Announce([this, tell = std::move(tell)](Delivery& delivery) {
      if (!gone) tell(delivery);
    });
  }

  qel::config::ListenerList listeners;
  // The mapped configuration is on its way out, and must not be touched by a delivery any more.
  std::atomic<bool> gone{false};
};

// One change, on its way to all listeners. Whatever calls listeners may find the configuration
// deleted afterwards.
class MappingConfig::Announcement {
 public:
  Announcement(MappingConfig& config, Delivery& delivery, timeval when)
      : _config(config), _events(config._events), _delivery(delivery), _when(when) {}

  template <typename Value>
  void Tell(eParam_t param, Value value) {
    qel::logging::Logger* const logger = qel::logging::Logger::GetLogger();
    logger->Log(param, value, "MappingConfig::ParamChanged enter\n");
    _delivery.ToAll([&](ConfigEventListener& listener) {
      listener.ParamChanged(param, value, _when);
      logger->Log(param, value, "MappingConfig::ParamChanged fired event for (%p)\n",
                  static_cast<void*>(&listener));
    });
    if (_events->gone) return;
    const std::shared_ptr<ParamMapper> mapper = _config.GetMapper();
    if (mapper == nullptr) {
      logger->Log(param, value, "MappingConfig::ParamChanged - no mapper, returning\n");
      return;
    }
    TellProxies(*mapper, param);
    logger->Log(param, value, "MappingConfig::ParamChanged - exit\n");
  }

 private:
  void TellProxies(ParamMapper& mapper, eParam_t param) {
    // Nobody would hear what costs two round trips a proxy.
    if (_events->listeners.IsEmpty()) return;
    for (const eParam_t proxy : mapper.ParamsChangedBy(param)) {
      SetOutcome(Outcome::kDone);
      const eParam_t concrete = mapper.MapParamID(proxy);
      if (qel::config::LastOutcome() != Outcome::kDone) return;
      // Not asked for what is not in the catalogue: the answer would be a placeholder that stays.
      if (!IsValidParamID(concrete)) continue;
      const ParamDescriptor* const descriptor = _config.GetWrapped().GetParamDescriptor(concrete);
      bool known = true;
      if (dynamic_cast<const IntegerDescriptor*>(descriptor) != nullptr) {
        known = TellProxy<unsigned int>(proxy, concrete);
      } else if (dynamic_cast<const StringDescriptor*>(descriptor) != nullptr) {
        known = TellProxy<std::string>(proxy, concrete);
      }
      if (!known || _events->gone) return;
    }
  }

  template <typename Value>
  bool TellProxy(eParam_t proxy, eParam_t concrete) {
    Value value{};
    if (!Read(_config.GetWrapped(), concrete, value)) return false;
    _delivery.ToAll(
        [&](ConfigEventListener& listener) { listener.ParamChanged(proxy, value, _when); });
    return true;
  }

  static bool Read(Config& config, eParam_t param, unsigned int& value) {
    return qel::config::TryGet(config, param, value);
  }
  static bool Read(Config& config, eParam_t param, std::string& value) {
    return config.Get(param, value) != 0;
  }

  MappingConfig& _config;
  const std::shared_ptr<Events> _events;
  Delivery& _delivery;
  const timeval _when;
};

}  // namespace qel::vorlane::config::access
