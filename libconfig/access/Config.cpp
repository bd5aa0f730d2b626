#include "libconfig/access/Config.h"

#include "libconfig/access/ConfigEventListener.h"

Serializable* Config::GetSerializable(eParam_t) { return nullptr; }
int Config::SetSerializable(eParam_t, Serializable*) { return 0; }
int Config::GetData(eParam_t, std::string&) { return 0; }
int Config::SetData(eParam_t, std::string&) { return 0; }
int Config::AddConfigEventListener(ConfigEventListener*) { return 0; }
int Config::AddConfigEventListener(eParam_t, ConfigEventListener*) { return 0; }
int Config::AddConfigEventListener(std::list<eParam_t>, ConfigEventListener*) { return 0; }
int Config::RemoveConfigEventListener(ConfigEventListener*) { return 0; }
int Config::WaitForConfigEvent(ConfigEvent&, long, long) { return 0; }
std::vector<ParamDescriptor*> Config::GetDescriptorsByClassName(std::string) { return {}; }
int Config::Lock(eParam_t, eParamLock_t) { return 0; }
int Config::Unlock(eParam_t) { return 0; }
int Config::StartTransaction(std::vector<eParam_t>, unsigned int&) { return 0; }
int Config::Commit(unsigned int) { return 0; }
int Config::Rollback(unsigned int) { return 0; }
int Config::AddUpdatePrecondition(qel::config::UpdatePrecondition*) { return 0; }
int Config::RemoveUpdatePrecondition(qel::config::UpdatePrecondition*) { return 0; }

void ConfigEventListener::DataChanged(eParam_t, std::string&, timeval) {}
void ConfigEventListener::ParamChanged(ConfigEvent) {}
