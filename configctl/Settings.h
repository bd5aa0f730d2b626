// Settings: the parameters that a technician carries from one recorder to another, or gives their
// factory values again. They are those that the catalogue keeps over restarts and lets others set;
// commands and what the device reports are none.
#pragma once

#include <string>
#include <vector>

#include "libconfig/descriptors/ParamDescriptor.h"
#include "programs/ValueText.h"

namespace configctl {

bool IsSetting(const ParamDescriptor& param);
// REQUIRES: `param` is none.
std::string WhyNoSetting(const ParamDescriptor& param);

std::vector<const ParamDescriptor*> SettingsInMenuOrder();

programs::Value FactoryDefault(const ParamDescriptor& param);

}  // namespace configctl
