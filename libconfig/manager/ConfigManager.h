// The store: the values of one configuration, in memory. It makes each value from the parameter's
// descriptor, lets its preconditions refuse or change an update, keeps the value and notifies its
// listeners, on the thread that set it and before Set returns.
//
// The in-process factory owns the stores and hands them out; a store lives while anybody is
// connected to it. It owns its values and preconditions, never its listeners. Any thread may call.
//
//   auto* store = factory->Connect("local:configid=1");
//   store->AddUpdatePrecondition(new NoUpdatesWhileRecording);
//   store->Set(eParamID_IPConfig, 1U);  // 0 when a precondition refuses
//
// Locks. The values lock guards the map of values and is held only while the map is searched or
// extended. The listeners lock is taken before an update is stored and held until its event and
// those of its dependents have been delivered, so that events come in the order of the stores; an
// update from inside a listener's call is stored at once and announced when the running event is
// through. The use-count lock guards the count. The listeners lock may be held while one of the
// others is taken, nothing else is nested. Preconditions are called without any of them.
#pragma once

#include <list>
#include <memory>
#include <string>
#include <vector>

#include "libconfig/access/Config.h"
#include "libconfig/values/SemaphoreHelper.h"

namespace qel::config {
class ListenerList;
class PreconditionList;
struct StoreValues;
}  // namespace qel::config

class ConfigValue;

class LIBCONFIG_API ConfigManager : public Config,
                                    public std::enable_shared_from_this<ConfigManager> {
 public:
  explicit ConfigManager(eConfigID_t id);
  // The values are pooled for the next store rather than deleted, so that a pointer from
  // GetSerializable stays valid.
  ~ConfigManager() override;

  // REQUIRES: CreateDescriptors was called. Fills the store with the factory defaults.
  bool Init();
  void AddDefaultPreconditions();
  bool InitDefaultConfig();

  using Config::AddConfigEventListener;
  using Config::GetParamDescriptor;
  int Set(eParam_t id, unsigned int value) override;
  unsigned int Get(eParam_t id) override;
  eConfigID_t GetConfigID() override;
  // Always zero, and so is the time of every event of a store.
  timeval GetLastConfigUpdate() override;
  ParamDescriptor* GetParamDescriptor(eParam_t id) override;
  ParamDescriptor* GetParamDescriptor(std::string name) override;
  std::vector<eParam_t> GetParamIDs() override;
  int Get(eParam_t id, unsigned int& value) override;
  int Set(eParam_t id, std::string value) override;
  int Get(eParam_t id, std::string& value) override;
  Serializable* GetSerializable(eParam_t id) override;
  int SetSerializable(eParam_t id, Serializable* value) override;
  // The same listener may be added more than once, and is called as often.
  int AddConfigEventListener(ConfigEventListener* listener) override;
  // Hears the changes of every parameter, not only of `id`.
  int AddConfigEventListener(eParam_t id, ConfigEventListener* listener) override;
  int RemoveConfigEventListener(ConfigEventListener* listener) override;
  int AddUpdatePrecondition(qel::config::UpdatePrecondition* precondition) override;
  int RemoveUpdatePrecondition(qel::config::UpdatePrecondition* precondition) override;

  // The value of `id`, made from its descriptor if there is none yet. False for an identifier that
  // is not in the catalogue or has no value; `out` is then as it was.
  bool GetConfigValue(eParam_t id, Serializable*& out);
  // The value of `id`, or null; never makes one.
  Serializable* GetConfigValue(eParam_t id);

  // Store and read without preconditions and without events. The first makes the value if needed,
  // the integer form does not.
  bool SetConfigParam(eParam_t id, std::string value);
  bool SetConfigParam(eParam_t id, unsigned int value);
  bool GetConfigParam(eParam_t id, std::string& value);
  bool GetConfigParam(eParam_t id, unsigned int& value);

  // Notify every listener. From inside a listener's call the event waits for the running one.
  bool FireParamChangedEvent(eParam_t id, unsigned int value);
  bool FireParamChangedEvent(eParam_t id, std::string value);
  // Each with its current value; what depends on these is not followed.
  bool FireParamsChangedEvents(std::vector<eParam_t> ids);

  void DeleteAllUpdatePreconditions();

  // Connections to this store. The first two return the new count.
  int IncrementUseCount();
  int DecrementUseCount();
  int GetUseCount();

 private:
  class Announcement;

  template <typename Value>
  int SetAndAnnounce(eParam_t id, Value value);
  ConfigValue* MakeValue(const ParamDescriptor& descriptor) LIBCONFIG_REQUIRES(_valuesLock);

  const eConfigID_t _configID;

  Semaphore _valuesLock;
  std::list<qel::config::StoreValues> _values LIBCONFIG_GUARDED_BY(_valuesLock);  // one

  const std::unique_ptr<qel::config::ListenerList> _listeners;  // its lock is the listeners lock
  const std::unique_ptr<qel::config::PreconditionList> _preconditions;

  Semaphore _useCountLock;
  int _useCount LIBCONFIG_GUARDED_BY(_useCountLock) = 0;
};
