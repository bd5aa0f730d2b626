// A Config that hands every operation on to another one: the base of those that change a few of
// them. It owns the wrapped one, and releases it as its kind requires: a factory's connection
// through the factory, everything else by deleting it. Any thread that may call
// the wrapped one may call; results and failures are the wrapped one's.
#pragma once

#include <list>
#include <string>
#include <vector>

#include "libconfig/access/Config.h"
#include "libconfig/base/Export.h"

namespace qel::vorlane::config::access {

class LIBCONFIG_API DelegatorConfig : public Config {
 public:
  // Takes over `config`. REQUIRES: not null.
  explicit DelegatorConfig(Config* config);
  ~DelegatorConfig() override;
  DelegatorConfig(const DelegatorConfig&) = delete;
  DelegatorConfig& operator=(const DelegatorConfig&) = delete;

  int Set(eParam_t param, unsigned int value) override;
  unsigned int Get(eParam_t param) override;
  eConfigID_t GetConfigID() override;
  timeval GetLastConfigUpdate() override;
  using Config::GetParamDescriptor;
  ParamDescriptor* GetParamDescriptor(eParam_t param) override;
  ParamDescriptor* GetParamDescriptor(std::string name) override;
  std::vector<eParam_t> GetParamIDs() override;
  int Get(eParam_t param, unsigned int& value) override;
  int Set(eParam_t param, std::string value) override;
  int Get(eParam_t param, std::string& value) override;
  Serializable* GetSerializable(eParam_t param) override;
  int SetSerializable(eParam_t param, Serializable* value) override;
  int GetData(eParam_t param, std::string& data) override;
  int SetData(eParam_t param, std::string& data) override;
  int AddConfigEventListener(ConfigEventListener* listener) override;
  int AddConfigEventListener(eParam_t param, ConfigEventListener* listener) override;
  int AddConfigEventListener(std::list<eParam_t> params, ConfigEventListener* listener) override;
  int RemoveConfigEventListener(ConfigEventListener* listener) override;
  int WaitForConfigEvent(ConfigEvent& event, long seconds, long microseconds) override;
  std::vector<ParamDescriptor*> GetDescriptorsByClassName(std::string className) override;
  int Lock(eParam_t param, eParamLock_t mode) override;
  int Unlock(eParam_t param) override;
  int StartTransaction(std::vector<eParam_t> params, unsigned int& transactionID) override;
  int Commit(unsigned int transactionID) override;
  int Rollback(unsigned int transactionID) override;
  int AddUpdatePrecondition(qel::config::UpdatePrecondition* precondition) override;
  int RemoveUpdatePrecondition(qel::config::UpdatePrecondition* precondition) override;

 protected:
  Config& GetWrapped() { return *_config; }
  // Gives the wrapped configuration back before the destructor would. REQUIRES: no operation is
  // called any more.
  void Release();
  // As the destructor does it with the wrapped one. Null is allowed.
  static void GiveBack(Config* config);

 private:
  Config* _config;
};

}  // namespace qel::vorlane::config::access
