#include "libconfig/mapping/MappingConfig.h"

#include <atomic>
#include <utility>

#include "libconfig/access/ConfigCache.h"
#include "libconfig/access/ConfigFactoryImpl.h"
#include "libconfig/access/ListenerList.h"
#include "libconfig/access/Outcome.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/descriptors/IntegerDescriptor.h"
#include "libconfig/descriptors/StringDescriptor.h"
#include "libconfig/manager/ConfigManager.h"
#include "libconfig/support/Logger.h"

namespace qel::vorlane::config::access {

using qel::config::MutexLock;
using qel::config::Outcome;
using qel::config::Report;
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
  // Set when the mapped configuration is being destroyed: deliveries must not touch it any more.
  std::atomic<bool> gone{false};
};

// Delivers one change to all listeners. After each call of a listener the configuration may be
// deleted.
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
    // Without listeners, save the two round trips for each proxy.
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

MappingConfig* MappingConfig::Create(std::string configURI, std::string eventsURI,
                                     ParamMapper* mapper) {
  return Create(std::move(configURI), std::move(eventsURI), mapper, false, false);
}

MappingConfig* MappingConfig::Create(std::string configURI, std::string eventsURI,
                                     ParamMapper* mapper, bool priority, bool caching) {
  ConfigFactoryImpl* const factory = ConfigFactoryImpl::GetInstance();
  if (priority) configURI += "/priority=1";
  if (caching) configURI += "/caching=true";
  Config* const config = factory->Connect(configURI);
  // A cache is there even when its connection is not; it then knows no parameter.
  if (config == nullptr || config->GetParamDescriptor(eParamID_IPConfig) == nullptr) {
    GiveBack(config);
    Report("MappingConfig::Create: pConfig failed\n");
    return nullptr;
  }
  Config* const events = factory->Connect(eventsURI);
  if (events == nullptr) {
    GiveBack(config);
    Report("MappingConfig::Create: pEvConfig failed\n");
    return nullptr;
  }
  auto mapping = std::unique_ptr<MappingConfig>(new MappingConfig(config, events));
  // A registration is not answered; the answer to the next request tells that it has arrived. A
  // multicast group is joined at once, and has no server to ask.
  const bool answers = eventsURI.find("multicast:") == std::string::npos;
  unsigned int any;
  if (!mapping->ListenToEvents() || (answers && events->Get(eParamID_IPConfig, any) == 0)) {
    Report("MappingConfig::Create: pEvConfig failed\n");
    return nullptr;
  }
  mapping->SetParamMapper(mapper);
  return mapping.release();
}

MappingConfig::MappingConfig(Config* config, Config* events)
    : DelegatorConfig(config), _eventsConfig(events), _events(std::make_shared<Events>()) {}

MappingConfig::~MappingConfig() {
  _events->gone = true;
  // A store lives on without this connection. The end of any other ends its events, without asking
  // a server that may be gone.
  if (dynamic_cast<ConfigManager*>(_eventsConfig) != nullptr) {
    _eventsConfig->RemoveConfigEventListener(this);
    auto* const cache = dynamic_cast<ConfigCache*>(&GetWrapped());
    if (cache != nullptr) _eventsConfig->RemoveConfigEventListener(cache);
  }
  GiveBack(_eventsConfig);
  _events->listeners.RemoveAll();
  Release();
}

bool MappingConfig::ListenToEvents() {
  // The cache comes first, so that what is read inside an event is not older than the event.
  auto* const cache = dynamic_cast<ConfigCache*>(&GetWrapped());
  if (cache != nullptr && _eventsConfig->AddConfigEventListener(cache) == 0) return false;
  return _eventsConfig->AddConfigEventListener(this) != 0;
}

void MappingConfig::SetParamMapper(ParamMapper* mapper) {
  if (mapper == GetMapper().get()) return;
  if (mapper != nullptr) mapper->UseConfig(&GetWrapped());
  std::shared_ptr<ParamMapper> other(mapper);
  MutexLock lock(_mapperMutex);
  _mapper.swap(other);
}

std::shared_ptr<ParamMapper> MappingConfig::GetMapper() {
  MutexLock lock(_mapperMutex);
  return _mapper;
}

eParam_t MappingConfig::Map(eParam_t param) {
  const std::shared_ptr<ParamMapper> mapper = GetMapper();
  return mapper == nullptr ? param : mapper->MapParamID(param);
}

int MappingConfig::Set(eParam_t param, unsigned int value) {
  return GetWrapped().Set(Map(param), value) != 0 ? 1 : 0;
}

unsigned int MappingConfig::Get(eParam_t param) { return GetWrapped().Get(Map(param)); }

int MappingConfig::Get(eParam_t param, unsigned int& value) {
  return GetWrapped().Get(Map(param), value);
}

int MappingConfig::Set(eParam_t param, std::string value) {
  return GetWrapped().Set(Map(param), std::move(value)) != 0 ? 1 : 0;
}

int MappingConfig::Get(eParam_t param, std::string& value) {
  return GetWrapped().Get(Map(param), value);
}

Serializable* MappingConfig::GetSerializable(eParam_t param) {
  return GetWrapped().GetSerializable(Map(param));
}

int MappingConfig::SetSerializable(eParam_t param, Serializable* value) {
  return GetWrapped().SetSerializable(Map(param), value);
}

int MappingConfig::GetData(eParam_t param, std::string& data) {
  return GetWrapped().GetData(Map(param), data);
}

int MappingConfig::SetData(eParam_t param, std::string& data) {
  return GetWrapped().SetData(Map(param), data);
}

ParamDescriptor* MappingConfig::GetParamDescriptor(eParam_t param) {
  return GetWrapped().GetParamDescriptor(Map(param));
}

int MappingConfig::AddConfigEventListener(ConfigEventListener* listener) {
  return _events->listeners.Add(listener) ? 1 : 0;
}

int MappingConfig::AddConfigEventListener(eParam_t, ConfigEventListener* listener) {
  return AddConfigEventListener(listener);
}

int MappingConfig::AddConfigEventListener(std::list<eParam_t>, ConfigEventListener* listener) {
  return AddConfigEventListener(listener);
}

int MappingConfig::RemoveConfigEventListener(ConfigEventListener* listener) {
  return _events->listeners.Remove(listener) ? 1 : 0;
}

void MappingConfig::ParamChanged(eParam_t param, unsigned int value, timeval when) {
  const std::shared_ptr<Events> events = _events;
  events->Announce(
      [=](Delivery& delivery) { Announcement(*this, delivery, when).Tell(param, value); });
}

void MappingConfig::ParamChanged(eParam_t param, std::string value, timeval when) {
  const std::shared_ptr<Events> events = _events;
  events->Announce(
      [=](Delivery& delivery) { Announcement(*this, delivery, when).Tell(param, value); });
}

void MappingConfig::DataChanged(eParam_t param, std::string& data, timeval when) {
  const std::shared_ptr<Events> events = _events;
  events->Announce([param, data, when](Delivery& delivery) {
    delivery.ToAll([&](ConfigEventListener& listener) {
      std::string copy = data;
      listener.DataChanged(param, copy, when);
    });
  });
}

void MappingConfig::ParamChanged(ConfigEvent event) {
  const std::shared_ptr<Events> events = _events;
  events->Announce([event](Delivery& delivery) {
    delivery.ToAll([&](ConfigEventListener& listener) { listener.ParamChanged(event); });
  });
}

}  // namespace qel::vorlane::config::access
