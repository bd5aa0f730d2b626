#include "libconfig/mapping/DelegatorConfig.h"

#include "libconfig/access/ConfigFactoryImpl.h"
#include "libconfig/manager/ConfigManager.h"
#include "libconfig/network/NetworkClient.h"

namespace qel::vorlane::config::access {

DelegatorConfig::DelegatorConfig(Config* config) : _config(config) {}

DelegatorConfig::~DelegatorConfig() { Release(); }

void DelegatorConfig::Release() {
  GiveBack(_config);
  _config = nullptr;
}

void DelegatorConfig::GiveBack(Config* config) {
  if (dynamic_cast<ConfigManager*>(config) != nullptr ||
      dynamic_cast<NetworkClient*>(config) != nullptr) {
    ConfigFactoryImpl::GetInstance()->Disconnect(config);
  } else {
    delete config;
  }
}

int DelegatorConfig::Set(eParam_t param, unsigned int value) { return _config->Set(param, value); }

unsigned int DelegatorConfig::Get(eParam_t param) { return _config->Get(param); }

eConfigID_t DelegatorConfig::GetConfigID() { return _config->GetConfigID(); }

timeval DelegatorConfig::GetLastConfigUpdate() { return _config->GetLastConfigUpdate(); }

ParamDescriptor* DelegatorConfig::GetParamDescriptor(eParam_t param) {
  return _config->GetParamDescriptor(param);
}

ParamDescriptor* DelegatorConfig::GetParamDescriptor(std::string name) {
  return _config->GetParamDescriptor(std::move(name));
}

std::vector<eParam_t> DelegatorConfig::GetParamIDs() { return _config->GetParamIDs(); }

int DelegatorConfig::Get(eParam_t param, unsigned int& value) { return _config->Get(param, value); }

int DelegatorConfig::Set(eParam_t param, std::string value) {
  return _config->Set(param, std::move(value));
}

int DelegatorConfig::Get(eParam_t param, std::string& value) { return _config->Get(param, value); }

Serializable* DelegatorConfig::GetSerializable(eParam_t param) {
  return _config->GetSerializable(param);
}

int DelegatorConfig::SetSerializable(eParam_t param, Serializable* value) {
  return _config->SetSerializable(param, value);
}

int DelegatorConfig::GetData(eParam_t param, std::string& data) {
  return _config->GetData(param, data);
}

int DelegatorConfig::SetData(eParam_t param, std::string& data) {
  return _config->SetData(param, data);
}

int DelegatorConfig::AddConfigEventListener(ConfigEventListener* listener) {
  return _config->AddConfigEventListener(listener);
}

int DelegatorConfig::AddConfigEventListener(eParam_t param, ConfigEventListener* listener) {
  return _config->AddConfigEventListener(param, listener);
}

int DelegatorConfig::AddConfigEventListener(std::list<eParam_t> params,
                                            ConfigEventListener* listener) {
  return _config->AddConfigEventListener(std::move(params), listener);
}

int DelegatorConfig::RemoveConfigEventListener(ConfigEventListener* listener) {
  return _config->RemoveConfigEventListener(listener);
}

int DelegatorConfig::WaitForConfigEvent(ConfigEvent& event, long seconds, long microseconds) {
  return _config->WaitForConfigEvent(event, seconds, microseconds);
}

std::vector<ParamDescriptor*> DelegatorConfig::GetDescriptorsByClassName(std::string className) {
  return _config->GetDescriptorsByClassName(std::move(className));
}

int DelegatorConfig::Lock(eParam_t param, eParamLock_t mode) { return _config->Lock(param, mode); }

int DelegatorConfig::Unlock(eParam_t param) { return _config->Unlock(param); }

int DelegatorConfig::StartTransaction(std::vector<eParam_t> params, unsigned int& transactionID) {
  return _config->StartTransaction(std::move(params), transactionID);
}

int DelegatorConfig::Commit(unsigned int transactionID) { return _config->Commit(transactionID); }

int DelegatorConfig::Rollback(unsigned int transactionID) {
  return _config->Rollback(transactionID);
}

int DelegatorConfig::AddUpdatePrecondition(qel::config::UpdatePrecondition* precondition) {
  return _config->AddUpdatePrecondition(precondition);
}

int DelegatorConfig::RemoveUpdatePrecondition(qel::config::UpdatePrecondition* precondition) {
  return _config->RemoveUpdatePrecondition(precondition);
}

}  // namespace qel::vorlane::config::access
