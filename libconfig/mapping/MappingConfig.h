// A Config in which each proxy is the parameter that it stands for now: reading IP Address reads
// the address in force, whichever way the adapter got it. It has two connections, one for requests
// and one for events, and owns both and the mapper; delete it to give all of them back.
//
// Each change is passed on as it came in, and then, for each proxy that it may touch, once more
// under the proxy's identifier with the proxy's value read through the mapping. When such a read
// fails, the event's other proxies are left out. Events come from the events connection, on its
// thread; the rules for listeners are those of ConfigEventListener, and from inside a call this
// object may be deleted as well.
//
// Any thread may call. One lock guards the pointer to the mapper and is never held while anything
// else is called; the listeners' own lock is held during a delivery.
#pragma once

#include <list>
#include <memory>
#include <string>
#include <vector>

#include "libconfig/access/ConfigEventListener.h"
#include "libconfig/base/Export.h"
#include "libconfig/base/Mutex.h"
#include "libconfig/mapping/DelegatorConfig.h"
#include "libconfig/mapping/ParamMapper.h"

namespace qel::vorlane::config::access {

class LIBCONFIG_API MappingConfig final : public DelegatorConfig, public ConfigEventListener {
 public:
  // Connects to both URIs through ConfigFactoryImpl and takes over `mapper`, which may be null:
  // then nothing is mapped. `priority` asks for the priority option on the access URI, `caching`
  // for a cache, which events keep current. Null, with a message, on failure; the mapper then stays
  // the caller's. From the moment of the return no event is missed.
  //
  // The event of a change that was made through a cache may come after a later change: for that
  // moment the cache has the earlier value. Over UDP it hears of changes made over UDP only.
  static MappingConfig* Create(std::string configURI, std::string eventsURI, ParamMapper* mapper,
                               bool priority, bool caching);
  static MappingConfig* Create(std::string configURI, std::string eventsURI, ParamMapper* mapper);

  ~MappingConfig() override;

  // The two connections. They stay this object's; for looking at whether they live.
  Config& GetAccessConfig() { return GetWrapped(); }
  Config& GetEventsConfig() { return *_eventsConfig; }

  // Takes over `mapper`, which may be null, and deletes the one before as soon as no operation is
  // using it.
  void SetParamMapper(ParamMapper* mapper);

  // These take a proxy for what it stands for. Where that cannot be told, because a selector cannot
  // be read, they take the proxy for itself.
  int Set(eParam_t param, unsigned int value) override;
  unsigned int Get(eParam_t param) override;
  int Get(eParam_t param, unsigned int& value) override;
  int Set(eParam_t param, std::string value) override;
  int Get(eParam_t param, std::string& value) override;
  Serializable* GetSerializable(eParam_t param) override;
  int SetSerializable(eParam_t param, Serializable* value) override;
  int GetData(eParam_t param, std::string& data) override;
  int SetData(eParam_t param, std::string& data) override;
  // The descriptor of what a proxy stands for; by name, the proxy's own.
  using DelegatorConfig::GetParamDescriptor;
  ParamDescriptor* GetParamDescriptor(eParam_t param) override;

  // A listener that is added twice is called twice. All forms hear the changes of every parameter.
  int AddConfigEventListener(ConfigEventListener* listener) override;
  int AddConfigEventListener(eParam_t param, ConfigEventListener* listener) override;
  int AddConfigEventListener(std::list<eParam_t> params, ConfigEventListener* listener) override;
  // 0 for a listener that is not there.
  int RemoveConfigEventListener(ConfigEventListener* listener) override;

  // Called by the events connection.
  void ParamChanged(eParam_t param, unsigned int value, timeval when) override;
  void ParamChanged(eParam_t param, std::string value, timeval when) override;
  // Passed on as they are.
  void DataChanged(eParam_t param, std::string& data, timeval when) override;
  void ParamChanged(ConfigEvent event) override;

 private:
  struct Events;
  class Announcement;

  MappingConfig(Config* config, Config* events);
  bool ListenToEvents();
  std::shared_ptr<ParamMapper> GetMapper();
  eParam_t Map(eParam_t param);

  Config* const _eventsConfig;
  // What a delivery needs, although a listener may delete this object from inside its call.
  const std::shared_ptr<Events> _events;

  qel::config::Mutex _mapperMutex;
  std::shared_ptr<ParamMapper> _mapper LIBCONFIG_GUARDED_BY(_mapperMutex);
};

}  // namespace qel::vorlane::config::access
