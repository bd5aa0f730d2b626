#include "libconfig/access/ConfigCache.h"

#include <chrono>

#include "libconfig/base/Limits.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/support/Logger.h"

using qel::config::limits::kAtOnce;
using qel::config::limits::kCacheBytes;
using qel::config::limits::kCacheKeys;

namespace {

bool SaysVolatile(const ParamDescriptor& descriptor) {
  unsigned int number;
  std::string text;
  return descriptor.HasClassName("volatile") || descriptor.GetAttribute("volatile", number) ||
         descriptor.GetAttribute("volatile", text);
}

std::size_t BytesOf(unsigned int) { return 0; }
std::size_t BytesOf(const std::string& text) { return text.size(); }

}  // namespace

ConfigCache::ConfigCache(Config* config)
    : _config(config), _logger(qel::logging::Logger::GetLogger()) {
  if (_config != nullptr) _lastUpdate = _config->GetLastConfigUpdate();
}

ConfigCache::~ConfigCache() = default;

bool ConfigCache::IsVolatile(eParam_t param) {
  {
    SemaphoreHelper lock(_lock);
    const auto found = _volatility.find(param);
    if (found != _volatility.end() && found->second != kUnknown) return found->second == kVolatile;
  }
  // Not asked for what is not in the catalogue: the answer would be a placeholder that stays.
  const ParamDescriptor* const descriptor =
      _config != nullptr && IsValidParamID(param) ? _config->GetParamDescriptor(param) : nullptr;
  if (descriptor == nullptr) return true;
  const bool isVolatile = SaysVolatile(*descriptor);
  SemaphoreHelper lock(_lock);
  _volatility[param] = isVolatile ? kVolatile : kNotVolatile;
  return isVolatile;
}

template <>
ConfigCache::Known<unsigned int>& ConfigCache::Table() {
  return _integers;
}

template <>
ConfigCache::Known<std::string>& ConfigCache::Table() {
  return _strings;
}

template <typename Value>
void ConfigCache::Known<Value>::Keep(eParam_t param, const Value& value) {
  const auto found = values.find(param);
  const bool isNew = found == values.end();
  const std::size_t others = isNew ? bytes : bytes - BytesOf(found->second);
  const bool fits = BytesOf(value) <= kCacheBytes - others;
  bytes = fits ? others + BytesOf(value) : others;
  if (fits) {
    values.insert_or_assign(param, value);
  } else if (!isNew) {
    values.erase(found);
  }
}

template <typename Value>
int ConfigCache::GetThrough(eParam_t param, Value& value) {
  if (_config == nullptr) return 0;
  if (IsVolatile(param)) return _config->Get(param, value);
  unsigned int eventsBefore;
  {
    SemaphoreHelper lock(_lock);
    const Known<Value>& known = Table<Value>();
    const auto found = known.values.find(param);
    if (found != known.values.end()) {
      value = found->second;
      return 1;
    }
    eventsBefore = known.EventsOf(param);
  }
  const int result = _config->Get(param, value);
  if (result == 0) return 0;
  SemaphoreHelper lock(_lock);
  Known<Value>& known = Table<Value>();
  if (known.EventsOf(param) == eventsBefore) {
    known.Keep(param, value);
  } else if (const auto newer = known.values.find(param); newer != known.values.end()) {
    value = newer->second;
  }
  return result;
}

template <typename Value>
int ConfigCache::SetThrough(eParam_t param, const Value& value) {
  if (_config == nullptr) return 0;
  if (IsVolatile(param)) return _config->Set(param, value);
  Value current{};
  if (GetThrough(param, current) != 0 && current == value) return 1;
  unsigned int eventsBefore;
  {
    SemaphoreHelper lock(_lock);
    eventsBefore = Table<Value>().EventsOf(param);
  }
  if (_config->Set(param, value) == 0) return 0;
  SemaphoreHelper lock(_lock);
  Known<Value>& known = Table<Value>();
  if (known.EventsOf(param) == eventsBefore) known.Keep(param, value);
  return 1;
}

template <typename Value>
void ConfigCache::Note(eParam_t param, const Value& value) {
  SemaphoreHelper lock(_lock);
  Known<Value>& known = Table<Value>();
  if (known.events.size() >= kCacheKeys && known.events.count(param) == 0 &&
      known.values.count(param) == 0) {
    return;
  }
  known.Keep(param, value);
  ++known.events[param];
}

int ConfigCache::Set(eParam_t param, unsigned int value) { return SetThrough(param, value); }

// Where a read with a result fails, one without may succeed, as with a configuration that has no
// other. Its 0 may be a failure, and is not kept.
unsigned int ConfigCache::Get(eParam_t param) {
  unsigned int value = 0;
  const auto start = std::chrono::steady_clock::now();
  if (Get(param, value) != 0) return value;
  // A peer that has kept us waiting is not asked twice.
  if (_config == nullptr || std::chrono::steady_clock::now() - start > kAtOnce) return 0;
  unsigned int eventsBefore;
  {
    SemaphoreHelper lock(_lock);
    eventsBefore = _integers.EventsOf(param);
  }
  value = _config->Get(param);
  if (value == 0 || IsVolatile(param)) return value;
  SemaphoreHelper lock(_lock);
  if (_integers.EventsOf(param) == eventsBefore) _integers.Keep(param, value);
  return value;
}

int ConfigCache::Get(eParam_t param, unsigned int& value) { return GetThrough(param, value); }

int ConfigCache::Set(eParam_t param, std::string value) { return SetThrough(param, value); }

int ConfigCache::Get(eParam_t param, std::string& value) { return GetThrough(param, value); }

eConfigID_t ConfigCache::GetConfigID() {
  return _config == nullptr ? eConfigID_Default : _config->GetConfigID();
}

timeval ConfigCache::GetLastConfigUpdate() { return _lastUpdate; }

ParamDescriptor* ConfigCache::GetParamDescriptor(eParam_t param) {
  return _config == nullptr ? nullptr : _config->GetParamDescriptor(param);
}

ParamDescriptor* ConfigCache::GetParamDescriptor(std::string name) {
  return _config == nullptr ? nullptr : _config->GetParamDescriptor(std::move(name));
}

std::vector<eParam_t> ConfigCache::GetParamIDs() {
  return _config == nullptr ? std::vector<eParam_t>() : _config->GetParamIDs();
}

int ConfigCache::AddConfigEventListener(ConfigEventListener* listener) {
  return _config == nullptr ? 0 : _config->AddConfigEventListener(listener);
}

int ConfigCache::AddConfigEventListener(eParam_t param, ConfigEventListener* listener) {
  return _config == nullptr ? 0 : _config->AddConfigEventListener(param, listener);
}

int ConfigCache::AddConfigEventListener(std::list<eParam_t> params, ConfigEventListener* listener) {
  return _config == nullptr ? 0 : _config->AddConfigEventListener(std::move(params), listener);
}

int ConfigCache::RemoveConfigEventListener(ConfigEventListener* listener) {
  return _config == nullptr ? 0 : _config->RemoveConfigEventListener(listener);
}

int ConfigCache::WaitForConfigEvent(ConfigEvent& event, long seconds, long microseconds) {
  return _config == nullptr ? 0 : _config->WaitForConfigEvent(event, seconds, microseconds);
}

std::vector<ParamDescriptor*> ConfigCache::GetDescriptorsByClassName(std::string className) {
  return _config == nullptr ? std::vector<ParamDescriptor*>()
                            : _config->GetDescriptorsByClassName(std::move(className));
}

void ConfigCache::ParamChanged(eParam_t param, unsigned int value, timeval) {
  Note(param, value);
  _logger->Log(param, value, "ConfigCache::ParamChanged - updated cache (%p)\n",
               static_cast<void*>(this));
}

void ConfigCache::ParamChanged(eParam_t param, std::string value, timeval) {
  Note(param, value);
  _logger->Log(param, value, "ConfigCache::ParamChanged - updated cache (%p)\n",
               static_cast<void*>(this));
}

void ConfigCache::ParamChanged(ConfigEvent) {}
