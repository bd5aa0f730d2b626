#include "libconfig/manager/ConfigManager.h"

#include <new>
#include <utility>

#include "libconfig/access/ConfigEventListener.h"
#include "libconfig/access/ListenerList.h"
#include "libconfig/access/LiveConfigs.h"
#include "libconfig/access/MissedEventListener.h"
#include "libconfig/access/Outcome.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/descriptors/IntegerDescriptor.h"
#include "libconfig/descriptors/StringDescriptor.h"
#include "libconfig/manager/PreconditionList.h"
#include "libconfig/manager/UpdatePreconditionValues.h"
#include "libconfig/manager/ValuePool.h"
#include "libconfig/values/IntegerValue.h"
#include "libconfig/values/StringValue.h"

using qel::config::ListenerList;
using qel::config::PreconditionList;
using qel::config::Report;
using qel::config::StoreValues;
using qel::config::TextBudget;
using qel::config::UpdatePrecondition;
using qel::config::ValuePool;

namespace {

// A value of class T for the parameter, in use from here on: a spare one of an earlier store,
// reset, or a new one. It belongs to configuration 0 and is clean.
template <typename T, typename Payload>
ConfigValue* TakeOrCreate(StoreValues& values, eParam_t id, eParamType_t type,
                          const Payload& payload) {
  const auto found = values.spare.find(id);
  auto* const used =
      found == values.spare.end() ? nullptr : dynamic_cast<T*>(found->second.value.get());
  if (used == nullptr) {
    std::unique_ptr<ConfigValue> made(T::Create(id, type, payload));
    return (values.inUse[id].value = std::move(made)).get();
  }
  used->SetConfigID(eConfigID_Default);
  used->SetParamType(type);
  used->Set(payload);
  used->SetDirty(false);
  values.inUse.insert(values.spare.extract(found));
  return used;
}

// The result of an operation, which becomes the thread's outcome as well.
int Conclude(bool done) {
  qel::config::SetOutcome(done ? qel::config::Outcome::kDone : qel::config::Outcome::kRefused);
  return done ? 1 : 0;
}

}  // namespace

// Holds the listeners from before a change is stored until all that it led to has been announced.
class ConfigManager::Announcement {
 public:
  explicit Announcement(ConfigManager& store)
      : _store(store), _alive(store.weak_from_this().lock()), _delivery(*store._listeners) {}

  bool IsNested() const { return _delivery.IsNested(); }

  // Needs memory only when nested.
  template <typename Value>
  void Announce(eParam_t id, const Value& value, bool withDependents) {
    if (IsNested()) {
      _delivery.Announce([&store = _store, id, value, withDependents](Delivery& delivery) {
        TellAll(store, delivery, id, value, withDependents);
      });
    } else {
      _delivery.Announce(
          [&](Delivery& delivery) { TellAll(_store, delivery, id, value, withDependents); });
    }
  }

  // With the value that the parameter has now.
  void AnnounceCurrent(eParam_t id) {
    WithCurrent(_store, id, [&](const auto& value) { Announce(id, value, false); });
  }

 private:
  using Delivery = ListenerList::Delivery;

  template <typename Value>
  static void TellAll(ConfigManager& store, Delivery& delivery, eParam_t id, const Value& value,
                      bool withDependents) {
    Tell(store, delivery, id, value);
    const ParamDescriptor* const descriptor = withDependents ? FindDescriptor(id) : nullptr;
    if (descriptor == nullptr) return;
    // One level deep: what depends on the dependents is not followed.
    for (const eParam_t dependent : descriptor->Dependents()) {
      try {
        WithCurrent(store, dependent,
                    [&](const auto& current) { Tell(store, delivery, dependent, current); });
      } catch (const std::bad_alloc&) {
        delivery.ToAll([&](ConfigEventListener& listener) { TellMissed(listener, dependent); });
      }
    }
  }

  // A listener without memory costs the others nothing.
  template <typename Value>
  static void Tell(ConfigManager& store, Delivery& delivery, eParam_t id, const Value& value) {
    const timeval when = store.GetLastConfigUpdate();
    delivery.ToAll([&](ConfigEventListener& listener) {
      try {
        listener.ParamChanged(id, value, when);
      } catch (const std::bad_alloc&) {
        TellMissed(listener, id);
      }
    });
  }

  static void TellMissed(ConfigEventListener& listener, eParam_t id) {
    if (auto* const missing = dynamic_cast<MissedEventListener*>(&listener)) {
      missing->EventMissed(id);
    }
  }

  template <typename Use>
  static void WithCurrent(ConfigManager& store, eParam_t id, Use use) {
    const ParamDescriptor* const descriptor = FindDescriptor(id);
    if (descriptor == nullptr) return;
    if (descriptor->GetParamType() == eParamType_String) {
      std::string text;
      store.Get(id, text);
      use(text);
    } else {
      use(store.Get(id));
    }
  }

  ConfigManager& _store;
  // A listener may give the last connection back from inside its call.
  const std::shared_ptr<ConfigManager> _alive;
  Delivery _delivery;
};

ConfigManager::ConfigManager(eConfigID_t id)
    : _configID(id),
      _values(ValuePool::Instance().Take(id)),
      _listeners(std::make_unique<ListenerList>()),
      _preconditions(std::make_unique<PreconditionList>()) {
  qel::config::LiveConfigs<ConfigManager>::Instance().Add(this);
}

ConfigManager::~ConfigManager() {
  qel::config::LiveConfigs<ConfigManager>::Instance().Remove(this);
  DeleteAllUpdatePreconditions();
  SemaphoreHelper lock(_valuesLock);
  ValuePool::Instance().Give(std::move(_values));
}

bool ConfigManager::Init() {
  AddDefaultPreconditions();
  InitDefaultConfig();
  return true;
}

void ConfigManager::AddDefaultPreconditions() {
  Report("AddDefaultPreconditions\n");
  AddUpdatePrecondition(new qel::config::UpdatePreconditionValues);
}

bool ConfigManager::InitDefaultConfig() {
  for (const eParam_t id : ::GetParamIDs()) {
    Serializable* value;
    if (!GetConfigValue(id, value)) {
      Report("ConfigManager::InitDefaultConfig - GetConfigValue failed for paramid %d!!!!\n",
             static_cast<int>(id));
    }
  }
  Report("ConfigManager::InitDefaultConfig() - end\n");
  return true;
}

ConfigValue* ConfigManager::MakeValue(const ParamDescriptor& descriptor) {
  ConfigValue* value = nullptr;
  const eParam_t id = descriptor.GetParamID();
  const eParamType_t type = descriptor.GetParamType();
  if (const auto* const number = dynamic_cast<const IntegerDescriptor*>(&descriptor)) {
    value = TakeOrCreate<IntegerValue>(_values.front(), id, type, number->GetFactoryDefault());
  } else if (const auto* const text = dynamic_cast<const StringDescriptor*>(&descriptor)) {
    value = TakeOrCreate<StringValue>(_values.front(), id, type, text->GetFactoryDefault());
  }
  if (value != nullptr) value->SetConfigID(_configID);
  return value;
}

bool ConfigManager::GetConfigValue(eParam_t id, Serializable*& out) {
  const ParamDescriptor* const descriptor = FindDescriptor(id);
  if (descriptor == nullptr) return false;
  SemaphoreHelper lock(_valuesLock);
  const auto found = _values.front().inUse.find(id);
  if (found != _values.front().inUse.end()) {
    out = found->second.value.get();
  } else {
    ConfigValue* const value = MakeValue(*descriptor);
    if (value == nullptr) {
      Report(
          "ConfigManager::GetConfigValue - Clone() returned defaultValue == NULL, paramID = "
          "0x%0X\n",
          static_cast<unsigned>(id));
      return false;
    }
    out = value;
  }
  return true;
}

Serializable* ConfigManager::GetConfigValue(eParam_t id) {
  // Only what is in the catalogue has a value, so that the catalogue need not be asked as well.
  SemaphoreHelper lock(_valuesLock);
  const auto found = _values.front().inUse.find(id);
  return found == _values.front().inUse.end() ? nullptr : found->second.value.get();
}

Serializable* ConfigManager::GetSerializable(eParam_t id) { return GetConfigValue(id); }

int ConfigManager::SetSerializable(eParam_t, Serializable*) { return 0; }

bool ConfigManager::SetConfigParam(eParam_t id, std::string value) {
  Serializable* found;
  if (!GetConfigValue(id, found)) {
    Report("ConfigManager::SetConfigParam() - configValue == NULL for paramID = %08X\n",
           static_cast<unsigned>(id));
    return false;
  }
  auto* const text = dynamic_cast<StringValue*>(found);
  if (text == nullptr) return false;
  const std::size_t bytes = value.size();
  text->Set(std::move(value));
  SemaphoreHelper lock(_valuesLock);
  TextBudget::Replace(std::exchange(_values.front().inUse[id].textBytes, bytes), bytes);
  return true;
}

bool ConfigManager::SetConfigParam(eParam_t id, unsigned int value) {
  auto* const number = dynamic_cast<IntegerValue*>(GetConfigValue(id));
  if (number == nullptr) {
    Report("ConfigManager::SetConfigParam() - configValue == NULL\n");
    return false;
  }
  number->Set(value);
  return true;
}

bool ConfigManager::GetConfigParam(eParam_t id, std::string& value) {
  Serializable* found;
  if (!GetConfigValue(id, found)) {
    Report("ConfigManager::GetConfigParam() - configValue == NULL for paramID = %X\n",
           static_cast<unsigned>(id));
    return false;
  }
  auto* const text = dynamic_cast<StringValue*>(found);
  if (text == nullptr) return false;
  text->Get(value);
  return true;
}

bool ConfigManager::GetConfigParam(eParam_t id, unsigned int& value) {
  auto* const number = dynamic_cast<IntegerValue*>(GetConfigValue(id));
  if (number == nullptr) return false;
  number->Get(value);
  return true;
}

int ConfigManager::Get(eParam_t id, unsigned int& value) {
  return Conclude(GetConfigParam(id, value));
}

int ConfigManager::Get(eParam_t id, std::string& value) {
  return Conclude(GetConfigParam(id, value));
}

unsigned int ConfigManager::Get(eParam_t id) {
  unsigned int value = 0;
  Get(id, value);
  return value;
}

eConfigID_t ConfigManager::GetConfigID() { return _configID; }

timeval ConfigManager::GetLastConfigUpdate() { return {}; }

ParamDescriptor* ConfigManager::GetParamDescriptor(eParam_t id) { return ::GetDescriptor(id); }

ParamDescriptor* ConfigManager::GetParamDescriptor(std::string name) {
  return ::GetDescriptor(std::move(name));
}

std::vector<eParam_t> ConfigManager::GetParamIDs() { return ::GetParamIDs(); }

template <typename Value>
int ConfigManager::SetAndAnnounce(eParam_t id, Value value) {
  // Not GetParamDescriptor: a peer may ask for any number, and each placeholder would stay.
  const ParamDescriptor* const descriptor = FindDescriptor(id);
  if (descriptor == nullptr) return Conclude(false);
  // A precondition may give the last connection back from inside its call.
  const std::shared_ptr<ConfigManager> alive = weak_from_this().lock();
  if (!descriptor->HasClassName("do_not_validate") &&
      !_preconditions->CheckAll([&](UpdatePrecondition& precondition) {
        return precondition.IsUpdateValid(this, id, value);
      })) {
    return Conclude(false);
  }
  Announcement announcement(*this);
  // All that needs memory comes first, as what is stored has to be announced.
  Value copy(value);
  if (announcement.IsNested()) {
    announcement.Announce(id, value, true);
    return Conclude(SetConfigParam(id, std::move(copy)));
  }
  const bool stored = SetConfigParam(id, std::move(copy));
  announcement.Announce(id, value, true);
  return Conclude(stored);
}

int ConfigManager::Set(eParam_t id, unsigned int value) { return SetAndAnnounce(id, value); }

int ConfigManager::Set(eParam_t id, std::string value) {
  return SetAndAnnounce(id, std::move(value));
}

bool ConfigManager::FireParamChangedEvent(eParam_t id, unsigned int value) {
  Announcement(*this).Announce(id, value, false);
  return true;
}

bool ConfigManager::FireParamChangedEvent(eParam_t id, std::string value) {
  Announcement(*this).Announce(id, value, false);
  return true;
}

bool ConfigManager::FireParamsChangedEvents(std::vector<eParam_t> ids) {
  Announcement announcement(*this);
  for (const eParam_t id : ids) announcement.AnnounceCurrent(id);
  return true;
}

int ConfigManager::AddConfigEventListener(ConfigEventListener* listener) {
  return _listeners->Add(listener) ? 1 : 0;
}

int ConfigManager::AddConfigEventListener(eParam_t, ConfigEventListener* listener) {
  return AddConfigEventListener(listener);
}

int ConfigManager::RemoveConfigEventListener(ConfigEventListener* listener) {
  return _listeners->Remove(listener);
}

int ConfigManager::AddUpdatePrecondition(UpdatePrecondition* precondition) {
  _preconditions->Add(precondition);
  return 1;
}

int ConfigManager::RemoveUpdatePrecondition(UpdatePrecondition* precondition) {
  return _preconditions->Remove(precondition) ? 1 : 0;
}

void ConfigManager::DeleteAllUpdatePreconditions() { _preconditions->DeleteAll(); }

int ConfigManager::IncrementUseCount() {
  SemaphoreHelper lock(_useCountLock);
  return ++_useCount;
}

int ConfigManager::DecrementUseCount() {
  SemaphoreHelper lock(_useCountLock);
  return --_useCount;
}

int ConfigManager::GetUseCount() {
  SemaphoreHelper lock(_useCountLock);
  return _useCount;
}
