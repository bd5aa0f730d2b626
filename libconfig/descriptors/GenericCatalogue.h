// The small catalogue of parameters that every product of the family has. It is built into a map of
// its own and never merged into the main one. The same rules hold as for Catalogue.h.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "libconfig/base/Export.h"
#include "libconfig/descriptors/Catalogue.h"

namespace qel::config::generic {

extern LIBCONFIG_API DescriptorMap& g_paramDescriptors;

LIBCONFIG_API void CreateDescriptors();
LIBCONFIG_API void DestroyDescriptors();
LIBCONFIG_API bool IsValidParamID(eParam_t id);
LIBCONFIG_API ParamDescriptor* GetDescriptor(eParam_t id);
LIBCONFIG_API ParamDescriptor* GetDescriptor(std::string idName);
ParamDescriptor* GetDescriptor(std::nullptr_t) = delete;
LIBCONFIG_API std::vector<eParam_t> GetParamIDs();
LIBCONFIG_API std::vector<std::string> GetParamIDNames();

}  // namespace qel::config::generic
