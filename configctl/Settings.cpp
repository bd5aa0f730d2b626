#include "configctl/Settings.h"

#include "configctl/ParamNames.h"
#include "libconfig/libconfig.h"

namespace configctl {
namespace {

bool IsReadOnly(const ParamDescriptor& param) {
  return param.GetAccessType() == eAccess_ReadOnly || param.HasClassName("readonly");
}

}  // namespace

bool IsSetting(const ParamDescriptor& param) {
  return param.GetPersistenceType() == ePersist && !IsReadOnly(param);
}

std::string WhyNoSetting(const ParamDescriptor& param) {
  if (IsReadOnly(param)) return "is read-only: the device itself sets it";
  return "is a command or a state of the device, and no setting; use configctl set for it";
}

std::vector<const ParamDescriptor*> SettingsInMenuOrder() {
  std::vector<const ParamDescriptor*> settings;
  for (const ParamDescriptor* const param : ParamsInMenuOrder()) {
    if (IsSetting(*param)) settings.push_back(param);
  }
  return settings;
}

programs::Value FactoryDefault(const ParamDescriptor& param) {
  if (const auto* const text = dynamic_cast<const StringDescriptor*>(&param)) {
    return text->GetFactoryDefault();
  }
  const auto* const number = dynamic_cast<const IntegerDescriptor*>(&param);
  return number == nullptr ? 0U : number->GetFactoryDefault();
}

}  // namespace configctl
