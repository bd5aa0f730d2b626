// Keeps the last known value of each parameter that is not volatile, so that reading it again costs
// no round trip and setting it to the same value sends nothing. It owns the configuration that it
// wraps, and asks that one what is volatile.
//
// Events keep the cache current, but only if it is registered: the cache is a listener, and has to
// be among those of the wrapped configuration. Without that it goes on answering what it read
// first. The URI can ask for it:
//
//   Config* cache = factory->Connect("tcp://127.0.0.1:43110/caching=true/events=true");
//   cache->Get(eParamID_IPConfig);  // asks once, and follows every change from then on
//   delete cache;
//
// On a cache that a program makes itself, cache->AddConfigEventListener(cache) does the same.
//
// Any thread may call. Nothing is locked while the wrapped configuration is asked.
#pragma once

#include <list>
#include <map>
#include <memory>
#include <string>
#include <tuple>

#include "libconfig/access/Config.h"
#include "libconfig/access/ConfigEventListener.h"
#include "libconfig/base/Export.h"
#include "libconfig/values/SemaphoreHelper.h"

namespace qel::logging {
class Logger;
}

class LIBCONFIG_API ConfigCache : public Config, public ConfigEventListener {
 public:
  // Takes over `config`, which may be null: then every operation fails.
  explicit ConfigCache(Config* config);
  // Give a cache back by deleting it; that ends the connection that it wraps as well.
  ~ConfigCache() override;

  using Config::GetParamDescriptor;
  int Set(eParam_t param, unsigned int value) override;
  unsigned int Get(eParam_t param) override;
  eConfigID_t GetConfigID() override;
  // As the wrapped configuration had it when the cache was made.
  timeval GetLastConfigUpdate() override;
  ParamDescriptor* GetParamDescriptor(eParam_t param) override;
  ParamDescriptor* GetParamDescriptor(std::string name) override;
  std::vector<eParam_t> GetParamIDs() override;
  int Get(eParam_t param, unsigned int& value) override;
  int Set(eParam_t param, std::string value) override;
  int Get(eParam_t param, std::string& value) override;
  int AddConfigEventListener(ConfigEventListener* listener) override;
  int AddConfigEventListener(eParam_t param, ConfigEventListener* listener) override;
  int AddConfigEventListener(std::list<eParam_t> params, ConfigEventListener* listener) override;
  int RemoveConfigEventListener(ConfigEventListener* listener) override;
  int WaitForConfigEvent(ConfigEvent& event, long seconds, long microseconds) override;
  std::vector<ParamDescriptor*> GetDescriptorsByClassName(std::string className) override;

  // Events change the cache whether the parameter is volatile or not.
  void ParamChanged(eParam_t param, unsigned int value, timeval when) override;
  void ParamChanged(eParam_t param, std::string value, timeval when) override;
  void ParamChanged(ConfigEvent event) override;

 private:
  // Values of one kind, and how many events there were for each parameter: a value that was read or
  // set while an event came in is older than the event's.
  template <typename Value>
  struct Known {
    std::map<eParam_t, Value> values;
    std::map<eParam_t, unsigned int> events;
    std::size_t bytes = 0;  // of texts

    // A value that there is no room for is not known afterwards.
    void Keep(eParam_t param, const Value& value);
    unsigned int EventsOf(eParam_t param) const {
      const auto found = events.find(param);
      return found == events.end() ? 0 : found->second;
    }
  };

  bool CanAsk() const;
  bool IsVolatile(eParam_t param);
  template <typename Value>
  int GetKept(eParam_t param, Value& value);
  template <typename Value>
  int GetThrough(eParam_t param, Value& value);
  template <typename Value>
  int SetThrough(eParam_t param, const Value& value);
  template <typename Value>
  void Note(eParam_t param, const Value& value);

  std::unique_ptr<Config> _config;
  timeval _lastUpdate = {};
  qel::logging::Logger* const _logger;

  Semaphore _lock;
  std::tuple<Known<unsigned int>, Known<std::string>> _known LIBCONFIG_GUARDED_BY(_lock);
  std::map<eParam_t, bool> _volatility LIBCONFIG_GUARDED_BY(_lock);
  // Entries of _volatility that are outside this process's catalogue.
  std::size_t _strangers LIBCONFIG_GUARDED_BY(_lock) = 0;
};
