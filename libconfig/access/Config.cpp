#include "libconfig/access/Config.h"

#include "libconfig/access/ConfigEventListener.h"
#include "libconfig/access/Outcome.h"

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

namespace qel::config {
namespace {

thread_local Outcome t_outcome = Outcome::kUnknown;

}  // namespace

Outcome LastOutcome() { return t_outcome; }

void SetOutcome(Outcome outcome) { t_outcome = outcome; }

bool TryGet(Config& config, eParam_t param, unsigned int& value) {
  t_outcome = Outcome::kUnknown;
  unsigned int read = 0;
  const int result = config.Get(param, read);
  if (result == 0 && t_outcome == Outcome::kUnknown) read = config.Get(param);
  const bool done =
      result != 0 || t_outcome == Outcome::kDone || (t_outcome == Outcome::kUnknown && read != 0);
  if (done) value = read;
  return done;
}

}  // namespace qel::config
