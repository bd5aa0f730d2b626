// The one interface to a configuration over every transport: a store in the same process, a daemon
// behind TCP, UDP or message queues, a cache, a mapping. A Config comes from a factory, and its
// caller owns it until it passes it to that factory's Disconnect.
//
//   Config* config = ConfigFactoryImpl::GetInstance()->Connect("tcp://127.0.0.1:43110");
//   unsigned int value;
//   if (config->Get(eParamID_IPConfig, value) == 0) { ... }  // LastOutcome() says why
//
// Operations that return int answer 1 on success and 0 on failure, and leave their out parameters
// as they were on failure unless an implementation says otherwise. What an implementation does not
// offer answers 0, null or empty. Any thread may call, where the implementation does not narrow it.
// Some usage bites:
//
// - Over TCP a Set is not answered: 1 says that it was sent. A value that the store refuses is not
//   stored; read it back, or listen, where that matters.
// - Get without a result answers 0 for a failure, too. Over message queues Get with a result
//   returns the value. TryGet, see Outcome.h, tells both apart over every transport.
// - A network client whose last listener is removed ends its connection, and fails from then on.
//   NetworkClient::IsConnected tells whether the connection lives; nothing reconnects by itself.
// - A cache goes on answering what it read first, until it is registered among the listeners:
//   "caching=true/events=true" in the URI does that, or cache->AddConfigEventListener(cache).
// - The time-out of a NetworkEventListener counts from the current whole second, so that 100 ms
//   mostly returns at once: take whole seconds, or none.
// - NetworkServer::Init can fail, as when the port is taken. Check it before Start.
#pragma once

#include <sys/time.h>

#include <cstddef>
#include <list>
#include <string>
#include <vector>

#include "libconfig/access/ConfigEvent.h"
#include "libconfig/access/ConfigLegacy.h"
#include "libconfig/base/Export.h"
#include "libconfig/descriptors/ParamIDs.h"

class ConfigEventListener;
class ParamDescriptor;
class Serializable;

namespace qel::config {
class UpdatePrecondition;
}

class LIBCONFIG_API Config : public ConfigLegacy {
 public:
  // The kind of lock asked for with Lock.
  enum eParamLock_t : int32_t { eParamLock_Shared = 0, eParamLock_Exclusive = 1 };

  using ConfigLegacy::Get;
  using ConfigLegacy::Set;

  // The order of the virtual operations is binary interface: append only.
  ~Config() override = default;
  virtual eConfigID_t GetConfigID() = 0;
  // When the last change was seen.
  virtual timeval GetLastConfigUpdate() = 0;
  // Shared, read-only objects of the catalogue. By identifier never null, see GetDescriptor; by
  // symbolic name null when no parameter bears it.
  virtual ParamDescriptor* GetParamDescriptor(eParam_t param) = 0;
  virtual ParamDescriptor* GetParamDescriptor(std::string name) = 0;
  ParamDescriptor* GetParamDescriptor(std::nullptr_t) = delete;
  virtual std::vector<eParam_t> GetParamIDs() = 0;
  virtual int Get(eParam_t param, unsigned int& value) = 0;
  virtual int Set(eParam_t param, std::string value) = 0;
  virtual int Get(eParam_t param, std::string& value) = 0;
  // The value object itself, which stays the store's; null where there is none.
  virtual Serializable* GetSerializable(eParam_t param);
  virtual int SetSerializable(eParam_t param, Serializable* value);
  virtual int GetData(eParam_t param, std::string& data);
  virtual int SetData(eParam_t param, std::string& data);
  // Listeners are not owned; null is refused. They are called until they are removed; when
  // RemoveConfigEventListener returns, the listener is not being called any more, unless it is
  // removing itself.
  virtual int AddConfigEventListener(ConfigEventListener* listener);
  virtual int AddConfigEventListener(eParam_t param, ConfigEventListener* listener);
  virtual int AddConfigEventListener(std::list<eParam_t> params, ConfigEventListener* listener);
  virtual int RemoveConfigEventListener(ConfigEventListener* listener);
  virtual int WaitForConfigEvent(ConfigEvent& event, long seconds, long microseconds);
  virtual std::vector<ParamDescriptor*> GetDescriptorsByClassName(std::string className);
  virtual int Lock(eParam_t param, eParamLock_t mode);
  virtual int Unlock(eParam_t param);
  virtual int StartTransaction(std::vector<eParam_t> params, unsigned int& transactionID);
  virtual int Commit(unsigned int transactionID);
  virtual int Rollback(unsigned int transactionID);
  // The store takes ownership of a precondition that is added, and gives it up when it is removed.
  virtual int AddUpdatePrecondition(qel::config::UpdatePrecondition* precondition);
  virtual int RemoveUpdatePrecondition(qel::config::UpdatePrecondition* precondition);
};
