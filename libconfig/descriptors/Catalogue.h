// The process-wide catalogue: one descriptor for each parameter of the device.
//
//   CreateDescriptors();
//   if (const ParamDescriptor* found = FindDescriptor(id)) std::puts(found->GetName().c_str());
//
// CreateDescriptors builds it once at start-up; it lives until DestroyDescriptors. The descriptors
// belong to the catalogue, callers only read them. Building and lookups are safe from any thread;
// lookups take no lock while the catalogue exists.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "libconfig/base/Export.h"
#include "libconfig/descriptors/ParamDescriptor.h"
#include "libconfig/descriptors/ParamIDs.h"

namespace qel::config {
using DescriptorMap = std::map<eParam_t, ParamDescriptor*>;
}

// The catalogue itself. Change it only while no other thread uses the catalogue; what
// is added is deleted with the rest. Names the same map for as long as the process lives.
extern LIBCONFIG_API qel::config::DescriptorMap& g_paramDescriptors;

// Builds the catalogue and the generic one. Later calls do nothing.
LIBCONFIG_API void CreateDescriptors();

// Deletes all descriptors, at shutdown. REQUIRES: no descriptor is used any more.
LIBCONFIG_API void DestroyDescriptors();

// Builds the generic catalogue alone; see GenericCatalogue.h.
LIBCONFIG_API void ImportGenericDescriptors();

// Asks for the encoder's own descriptor variants, on the product that has them. Only has an effect
// before CreateDescriptors.
LIBCONFIG_API void SetEncodeDescriptors(bool encode);

LIBCONFIG_API bool IsValidParamID(eParam_t id);

// The descriptor, or null for an identifier that is not in the catalogue.
LIBCONFIG_API ParamDescriptor* FindDescriptor(eParam_t id);

// Never null: an identifier that is not in the catalogue gets a new placeholder, named by its four
// bytes ("1.2.3.4"), which is never freed. Use FindDescriptor where identifiers come from a peer.
LIBCONFIG_API ParamDescriptor* GetDescriptor(eParam_t id);
// By symbolic identifier ("eParamID_IPConfig"); null when no parameter bears it.
LIBCONFIG_API ParamDescriptor* GetDescriptor(std::string idName);
ParamDescriptor* GetDescriptor(std::nullptr_t) = delete;

// The identifier that bears the symbolic name, or 0.
LIBCONFIG_API eParam_t GetParamNameParamID(std::string idName);

// All identifiers, ascending, and their symbolic names in the same order.
LIBCONFIG_API std::vector<eParam_t> GetParamIDs();
LIBCONFIG_API std::vector<std::string> GetParamIDNames();

// The numbers of the groups that make up the configuration menu and the media menu, in menu order.
LIBCONFIG_API std::vector<int> GetConfigParamGroups();
LIBCONFIG_API std::vector<int> GetMediaParamGroups();

// The top-level parameters of one group, ascending; without those tagged "panel_hidden" or
// "hidden_param" when `excludeHidden`.
LIBCONFIG_API std::vector<eParam_t> GetParamGroup(int group, bool excludeHidden);

// Orders parameters by their menu numbers, number by number; a menu number comes before those that
// it begins. A strict weak order.
LIBCONFIG_API bool MenuNumberCompare(eParam_t a, eParam_t b);

// Give every descriptor that has none its "menu_number", and those of the menu groups their
// "ParamGroup". CreateDescriptors has done both.
LIBCONFIG_API void AddMenuNumberAttribute();
LIBCONFIG_API void AddParamGroupAttribute();

// The text of /var/www/flash_info.txt; empty when there is none or it cannot be read.
LIBCONFIG_API std::string GetFlashInfo();
