#include "libconfig/access/ConfigCache.h"

#include <cstdio>

#include "libconfig/access/Outcome.h"
#include "libconfig/base/Limits.h"
#include "libconfig/base/Mutex.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/support/Logger.h"

using namespace qel::config;
using limits::kCacheBytes;
using limits::kCacheKeys;
using limits::kCacheStrangers;

namespace {

// A catalogue's answer for an identifier that it does not have, named by its four bytes.
bool IsPlaceholder(const ParamDescriptor& descriptor) {
  const eParam_t id = descriptor.GetParamID();
  char name[16];
  std::snprintf(name, sizeof name, "%u.%u.%u.%u", id >> 24 & 0xff, id >> 16 & 0xff, id >> 8 & 0xff,
                id & 0xff);
  return descriptor.GetParamIDName() == name;
}

bool SaysVolatile(const ParamDescriptor& descriptor) {
  unsigned int number;
  std::string text;
  return descriptor.HasClassName("volatile") || descriptor.GetAttribute("volatile", number) ||
         descriptor.GetAttribute("volatile", text);
}

// A number may be 0 without having failed.
int Read(Config& config, eParam_t param, unsigned int& value) {
  return TryGet(config, param, value) ? 1 : 0;
}
int Read(Config& config, eParam_t param, std::string& value) { return config.Get(param, value); }

// A placeholder belongs to nobody and stays: leak checkers find it here.
void Remember(const ParamDescriptor* placeholder) {
  static auto* const mutex = new Mutex;
  static auto* const remembered = new std::vector<const ParamDescriptor*>;
  const MutexLock lock(*mutex);
  remembered->push_back(placeholder);
}

std::size_t BytesOf(unsigned int) { return 0; }
std::size_t BytesOf(const std::string& text) { return text.size(); }

}  // namespace

ConfigCache::ConfigCache(Config* config)
    : _config(config), _logger(qel::logging::Logger::GetLogger()) {
  if (_config != nullptr) _lastUpdate = _config->GetLastConfigUpdate();
}

// The connection goes first, as it may be calling this listener until it has ended.
ConfigCache::~ConfigCache() { _config.reset(); }

bool ConfigCache::IsVolatile(eParam_t param) {
  {
    SemaphoreHelper lock(_lock);
    const auto found = _volatility.find(param);
    if (found != _volatility.end()) return found->second;
    if (_strangers >= kCacheStrangers && !IsValidParamID(param)) return true;
  }
  const ParamDescriptor* const descriptor = _config->GetParamDescriptor(param);
  if (descriptor == nullptr) return true;
  const bool isPlaceholder = IsPlaceholder(*descriptor);
  if (isPlaceholder) Remember(descriptor);
  const bool isVolatile = isPlaceholder || SaysVolatile(*descriptor);
  SemaphoreHelper lock(_lock);
  const bool isNew = _volatility.insert_or_assign(param, isVolatile).second;
  if (isNew && !IsValidParamID(param)) ++_strangers;
  return isVolatile;
}

// Whether there is a configuration to ask. The outcome is then the one that it sets.
bool ConfigCache::CanAsk() const {
  SetOutcome(_config == nullptr ? Outcome::kNoConnection : Outcome::kUnknown);
  return _config != nullptr;
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
int ConfigCache::GetKept(eParam_t param, Value& value) {
  unsigned int eventsBefore;
  {
    SemaphoreHelper lock(_lock);
    const Known<Value>& known = std::get<Known<Value>>(_known);
    const auto found = known.values.find(param);
    if (found != known.values.end()) {
      value = found->second;
      SetOutcome(Outcome::kDone);
      return 1;
    }
    eventsBefore = known.EventsOf(param);
  }
  const int result = Read(*_config, param, value);
  if (result == 0) return 0;
  SetOutcome(Outcome::kDone);
  SemaphoreHelper lock(_lock);
  Known<Value>& known = std::get<Known<Value>>(_known);
  if (known.EventsOf(param) == eventsBefore) {
    known.Keep(param, value);
  } else if (const auto newer = known.values.find(param); newer != known.values.end()) {
    value = newer->second;
  }
  return result;
}

template <typename Value>
int ConfigCache::GetThrough(eParam_t param, Value& value) {
  if (!CanAsk()) return 0;
  return IsVolatile(param) ? _config->Get(param, value) : GetKept(param, value);
}

template <typename Value>
int ConfigCache::SetThrough(eParam_t param, const Value& value) {
  if (!CanAsk()) return 0;
  if (IsVolatile(param)) return _config->Set(param, value);
  Value current{};
  if (GetKept(param, current) != 0 && current == value) return 1;
  unsigned int eventsBefore;
  {
    SemaphoreHelper lock(_lock);
    eventsBefore = std::get<Known<Value>>(_known).EventsOf(param);
  }
  SetOutcome(Outcome::kUnknown);
  if (_config->Set(param, value) == 0) return 0;
  SetOutcome(Outcome::kDone);
  SemaphoreHelper lock(_lock);
  Known<Value>& known = std::get<Known<Value>>(_known);
  if (known.EventsOf(param) == eventsBefore) known.Keep(param, value);
  return 1;
}

template <typename Value>
void ConfigCache::Note(eParam_t param, const Value& value) {
  SemaphoreHelper lock(_lock);
  Known<Value>& known = std::get<Known<Value>>(_known);
  if (known.events.size() >= kCacheKeys && known.events.count(param) == 0 &&
      known.values.count(param) == 0) {
    return;
  }
  known.Keep(param, value);
  ++known.events[param];
}

int ConfigCache::Set(eParam_t param, unsigned int value) { return SetThrough(param, value); }

unsigned int ConfigCache::Get(eParam_t param) {
  if (!CanAsk()) return 0;
  if (IsVolatile(param)) return _config->Get(param);
  unsigned int value = 0;
  GetKept(param, value);
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
  return _config == nullptr || listener == nullptr ? 0 : _config->AddConfigEventListener(listener);
}

int ConfigCache::AddConfigEventListener(eParam_t param, ConfigEventListener* listener) {
  return _config == nullptr || listener == nullptr
             ? 0
             : _config->AddConfigEventListener(param, listener);
}

int ConfigCache::AddConfigEventListener(std::list<eParam_t> params, ConfigEventListener* listener) {
  return _config == nullptr || listener == nullptr
             ? 0
             : _config->AddConfigEventListener(std::move(params), listener);
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
