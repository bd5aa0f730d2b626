#include "configd/state/StoredConfig.h"

#include "configd/LineWriter.h"
#include "programs/ValueText.h"

using qel::config::MutexLock;

namespace {

template <typename Payload>
bool Has(Config& store, eParam_t id, const Payload& wanted) {
  Payload current{};
  return store.Get(id, current) != 0 && current == wanted;
}

template <typename Payload>
bool Give(Config& store, eParam_t id, const Payload& wanted) {
  Payload current{};
  // Asked first, as a store announces a set of the other kind although it does not take it.
  return store.Get(id, current) != 0 && store.Set(id, wanted) != 0 && Has(store, id, wanted);
}

// What `use` makes of the number or the text that the value holds.
template <typename Use>
bool WithPayload(ConfigValue& value, Use use) {
  if (auto* const number = dynamic_cast<IntegerValue*>(&value)) {
    unsigned int payload = 0;
    number->Get(payload);
    return use(payload);
  }
  if (auto* const text = dynamic_cast<StringValue*>(&value)) {
    std::string payload;
    text->Get(payload);
    return use(payload);
  }
  return false;
}

}  // namespace

bool GiveValue(Config& store, ConfigValue& value) {
  return WithPayload(value,
                     [&](const auto& payload) { return Give(store, value.GetParamID(), payload); });
}

bool HasValue(Config& store, ConfigValue& value) {
  return WithPayload(value,
                     [&](const auto& payload) { return Has(store, value.GetParamID(), payload); });
}

StoredConfig::StoredConfig(ConfigManager& store, Banks banks)
    : _store(store), _banks(std::move(banks)) {
  for (const eParam_t id : GetParamIDs()) {
    if (IsSaved(*FindDescriptor(id))) _set[id] = false;
  }
}

bool StoredConfig::IsSaved(const ParamDescriptor& param) {
  return param.GetPersistenceType() == ePersist;
}

// False when the store's value is not the saved one afterwards.
bool StoredConfig::Apply(ConfigValue& value) {
  const ParamDescriptor* const param = FindDescriptor(value.GetParamID());
  return param != nullptr && IsSaved(*param) && GiveValue(_store, value);
}

bool StoredConfig::Restore(std::string& why) {
  std::optional<Sector> sector = _banks.Load();
  why = _banks.GetUnreadable();
  if (!why.empty()) return false;
  std::string notInForce;
  if (sector) {
    for (auto& value : sector->values) {
      if (Apply(*value)) continue;
      const eParam_t id = value->GetParamID();
      notInForce += (notInForce.empty() ? "" : ", ") + programs::ParamName(id);
      _notInForce[id] = std::move(value);
    }
  }
  if (!notInForce.empty()) {
    LineWriter::Instance().WriteLimited(
        "configd: configuration " + std::to_string(_store.GetConfigID()) +
        " was saved with values that this configd does not know or allow; they are kept in the "
        "file until they are set anew: " +
        notInForce);
  }
  _saved = EncodeSector(Collect());
  return true;
}

bool StoredConfig::Note(eParam_t param) {
  MutexLock lock(_mutex);
  const auto found = _set.find(param);
  if (found == _set.end()) return false;
  found->second = true;
  return true;
}

Sector StoredConfig::Collect() {
  Sector sector;
  sector.configID = _store.GetConfigID();
  for (const eParam_t id : GetParamIDs()) {
    if (_notInForce.count(id) != 0 || !IsSaved(*FindDescriptor(id))) continue;
    if (auto* const value = dynamic_cast<ConfigValue*>(_store.GetSerializable(id))) {
      sector.values.emplace_back(value->Clone());
    }
  }
  for (const auto& entry : _notInForce) sector.values.emplace_back(entry.second->Clone());
  return sector;
}

bool StoredConfig::Save(std::string& why) {
  {
    MutexLock lock(_mutex);
    for (auto& param : _set) {
      if (std::exchange(param.second, false)) _notInForce.erase(param.first);
    }
  }
  std::vector<char> bytes = EncodeSector(Collect());
  if (bytes == _saved) return true;
  // What the file holds is not known after a failure.
  _saved.clear();
  if (!_banks.Save(bytes, why)) return false;
  _saved = std::move(bytes);
  return true;
}
