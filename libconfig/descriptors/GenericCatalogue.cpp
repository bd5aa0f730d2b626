#include "libconfig/descriptors/GenericCatalogue.h"

#include "libconfig/descriptors/DescriptorRegistry.h"
#include "libconfig/descriptors/groups/Groups.h"

namespace qel::config::generic {
namespace {

DescriptorRegistry& Registry() {
  static auto* const registry = new DescriptorRegistry;
  return *registry;
}

}  // namespace

DescriptorMap& g_paramDescriptors = Registry().Map();

void CreateDescriptors() {
  Registry().Create([](DescriptorMap& map) {
    CatalogueBuilder builder(map, false);
    generic::CreateGroup_0(builder);
    generic::CreateGroup_1(builder);
  });
}

void DestroyDescriptors() { Registry().Destroy(); }

bool IsValidParamID(eParam_t id) { return Registry().Find(id) != nullptr; }

ParamDescriptor* GetDescriptor(eParam_t id) { return Registry().FindOrMakePlaceholder(id); }

ParamDescriptor* GetDescriptor(std::string idName) { return Registry().Find(idName); }

std::vector<eParam_t> GetParamIDs() { return Registry().GetIDs(); }

std::vector<std::string> GetParamIDNames() { return Registry().GetIDNames(); }

}  // namespace qel::config::generic
