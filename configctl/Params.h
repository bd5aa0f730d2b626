// The names by which a technician calls a parameter: IPConfig, eParamID_IPConfig, 0x32010000, or
// the menu number 50.1 where only one parameter bears it. Case does not matter.
#pragma once

#include <string>
#include <vector>

#include "libconfig/descriptors/ParamDescriptor.h"
#include "libconfig/descriptors/ParamIDs.h"
#include "programs/ValueText.h"

namespace configctl {

// The parameter, always one of the catalogue. Throws Failure, with the nearest names.
ParamDescriptor& FindParam(const std::string& name);

std::vector<std::string> AllParamNames();
std::string MenuNumber(const ParamDescriptor& param);
// The number of the menu that the parameter is in: 50 of 50.1.
int MenuGroup(const ParamDescriptor& param);
// Every parameter of the catalogue in menu order.
std::vector<ParamDescriptor*> ParamsInMenuOrder();

// Tagged as nothing for operators.
bool IsHidden(const ParamDescriptor& param);

// Those of `candidates` that are spelled most like `word`, the likeliest first; none when nothing
// is alike.
std::vector<std::string> Nearest(const std::string& word,
                                 const std::vector<std::string>& candidates);

// Settings: the parameters that a technician carries from one recorder to another, or gives their
// factory values again. They are those that the catalogue keeps over restarts and lets others set;
// commands and what the device reports are none.
bool IsSetting(const ParamDescriptor& param);
// REQUIRES: `param` is none.
std::string WhyNoSetting(const ParamDescriptor& param);

std::vector<const ParamDescriptor*> SettingsInMenuOrder();

programs::Value FactoryDefault(const ParamDescriptor& param);

}  // namespace configctl
