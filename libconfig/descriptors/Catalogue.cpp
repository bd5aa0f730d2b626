#include "libconfig/descriptors/Catalogue.h"

#include <algorithm>
#include <atomic>
#include <boost/tokenizer.hpp>
#include <cstdio>
#include <cstdlib>

#include "libconfig/descriptors/DescriptorRegistry.h"
#include "libconfig/descriptors/GenericCatalogue.h"
#include "libconfig/descriptors/ProductIdentity.h"
#include "libconfig/descriptors/groups/Groups.h"

using qel::config::CatalogueBuilder;
using qel::config::DescriptorMap;
using qel::config::DescriptorRegistry;
using qel::config::ForEachDescriptor;

CProductID productID;

namespace {

std::atomic<bool> g_encodeDescriptors{false};

// Never destroyed: threads may look up parameters until the process ends.
DescriptorRegistry& MainRegistry() {
  static auto* const registry = new DescriptorRegistry;
  return *registry;
}

unsigned GroupOf(eParam_t id) { return id >> 24 & 0xff; }
unsigned SubNumberOf(eParam_t id) { return id >> 16 & 0xff; }
bool IsTopLevel(eParam_t id) { return (id >> 8 & 0xff) == 0; }

void RunBuilders(CatalogueBuilder& builder) {
  using namespace qel::config;
  CreateGroup_0(builder);
  CreateGroup_1(builder);
  CreateGroup_2(builder);
  CreateGroup_3(builder);
  CreateGroup_4(builder);
  CreateGroup_5(builder);
  CreateGroup_6(builder);
  CreateGroup_8(builder);
  CreateGroup_9(builder);
  CreateGroup_12(builder);
  CreateGroup_13(builder);
  CreateGroup_14(builder);
  CreateGroup_15(builder);
  CreateGroup_16(builder);
  CreateGroup_17(builder);
  CreateGroup_19(builder);
  CreateGroup_22(builder);
  CreateGroup_32(builder);
  CreateGroup_35(builder);
  CreateGroup_41(builder);
  CreateGroup_50(builder);
  if (productID.isQuarn()) {
    CreateGroup_53(builder);
    CreateGroup_54(builder);
  }
  CreateGroup_55(builder);
  CreateGroup_AlarmSuppress(builder);
  CreateGroup_70(builder);
  CreateGroup_80(builder);
  CreateGroup_91(builder);
  CreateGroup_92(builder);
  CreateGroup_99(builder);
  CreateGroup_100(builder);
  CreateGroup_120(builder);
  CreateGroup_121(builder);
  CreateGroup_122(builder);
  CreateGroup_123(builder);
  CreateGroup_125(builder);
  CreateGroup_127(builder);
  CreateGroup_Alarm(builder);
  CreateGroup_System(builder);
  CreateGroup_BeerThirty(builder);
  CreateGroup_Discovery(builder);
  CreateParamDescriptor_RegisterSaveRecall(builder);
  CreateParamDescriptor_RegisterLoadStore(builder);
  CreateParamDescriptor_RegisterImportExport(builder);
  CreateParamDescriptor_PresetNames(builder);
  CreateParamDescriptor_MediaParams(builder);
}

// A row names the parameters that depend on it and those that enable it; the other end of each tie
// follows from that.
void LinkDependencies(const DescriptorMap& map) {
  ForEachDescriptor(map, [&map](ParamDescriptor& descriptor) {
    for (const eParam_t dependent : descriptor.Dependents()) {
      const auto found = map.find(dependent);
      if (found != map.end()) found->second->AddDependsOnParamID(descriptor.GetParamID());
    }
    for (const ParamDescriptor::Relation& relation : descriptor.GetRelation("enabled_by")) {
      descriptor.AddDependsOnParamID(relation.paramID);
    }
  });
}

std::vector<eParam_t> GroupMembers(const DescriptorMap& map, int group, bool excludeHidden) {
  std::vector<eParam_t> ids;
  for (const auto& entry : map) {
    if (GroupOf(entry.first) != static_cast<unsigned>(group) || !IsTopLevel(entry.first)) continue;
    const ParamDescriptor* const descriptor = entry.second;
    if (descriptor == nullptr) continue;
    if (excludeHidden &&
        (descriptor->HasClassName("panel_hidden") || descriptor->HasClassName("hidden_param"))) {
      continue;
    }
    ids.push_back(entry.first);
  }
  return ids;
}

// Not GetConfigParamGroups: user interfaces rely on 92 having no group attribute, and on 60 having
// one on every product.
constexpr int kGroupsMarkedConfig[] = {1,  2,  3,  4,  5,  6,  8,  9,  13, 32, 25,
                                       35, 41, 50, 53, 54, 55, 60, 70, 80, 91, 99};
constexpr int kMediaGroups[] = {12, 14, 15, 16, 17, 19, 22};

constexpr unsigned kConfigParamGroup = 2;
constexpr unsigned kMediaParamGroup = 3;

template <std::size_t N>
void MarkGroups(const DescriptorMap& map, const int (&groups)[N], unsigned mark) {
  for (const int group : groups) {
    for (const eParam_t id : GroupMembers(map, group, false)) {
      ParamDescriptor& descriptor = *map.at(id);
      unsigned present;
      if (!descriptor.GetAttribute("ParamGroup", present)) {
        descriptor.AddAttribute("ParamGroup", mark);
      }
    }
  }
}

void AddParamGroups(const DescriptorMap& map) {
  MarkGroups(map, kGroupsMarkedConfig, kConfigParamGroup);
  MarkGroups(map, kMediaGroups, kMediaParamGroup);
}

void AddMenuNumbers(const DescriptorMap& map) {
  ForEachDescriptor(map, [](ParamDescriptor& descriptor) {
    std::string present;
    if (descriptor.GetAttribute("menu_number", present)) return;
    const eParam_t id = descriptor.GetParamID();
    char number[16];
    std::snprintf(number, sizeof number, "%u.%u", GroupOf(id), SubNumberOf(id));
    descriptor.AddAttribute("menu_number", std::string(number));
  });
}

std::vector<unsigned long> MenuNumberOf(eParam_t id) {
  std::vector<unsigned long> numbers;
  std::string text;
  if (const ParamDescriptor* const descriptor = FindDescriptor(id)) {
    descriptor->GetAttribute("menu_number", text);
  }
  const boost::char_separator<char> point(".");
  for (const std::string& token : boost::tokenizer<boost::char_separator<char>>(text, point)) {
    numbers.push_back(std::strtoul(token.c_str(), nullptr, 10));
  }
  return numbers;
}

}  // namespace

DescriptorMap& g_paramDescriptors = MainRegistry().Map();

void CreateDescriptors() {
  MainRegistry().Create([](DescriptorMap& map) {
    ImportGenericDescriptors();
    CatalogueBuilder builder(map, g_encodeDescriptors);
    RunBuilders(builder);
    LinkDependencies(map);
    AddParamGroups(map);
    AddMenuNumbers(map);
  });
}

void DestroyDescriptors() { MainRegistry().Destroy(); }

void ImportGenericDescriptors() { qel::config::generic::CreateDescriptors(); }

void SetEncodeDescriptors(bool encode) { g_encodeDescriptors = encode; }

bool IsValidParamID(eParam_t id) { return FindDescriptor(id) != nullptr; }

ParamDescriptor* FindDescriptor(eParam_t id) { return MainRegistry().Find(id); }

ParamDescriptor* GetDescriptor(eParam_t id) { return MainRegistry().FindOrMakePlaceholder(id); }

ParamDescriptor* GetDescriptor(std::string idName) { return MainRegistry().Find(idName); }

eParam_t GetParamNameParamID(std::string idName) {
  const ParamDescriptor* const descriptor = GetDescriptor(std::move(idName));
  return descriptor == nullptr ? eParamID_None : descriptor->GetParamID();
}

std::vector<eParam_t> GetParamIDs() { return MainRegistry().GetIDs(); }

std::vector<std::string> GetParamIDNames() { return MainRegistry().GetIDNames(); }

std::vector<int> GetConfigParamGroups() {
  // 32 before 25 is the order of the menu.
  std::vector<int> groups = {1, 2, 3, 4, 5, 6, 8, 9, 13, 32, 25, 35, 41, 50, 53, 54, 55};
  if (productID.isCrandle()) groups.push_back(60);
  groups.insert(groups.end(), {70, 80, 91, 92, 99});
  return groups;
}

std::vector<int> GetMediaParamGroups() {
  return std::vector<int>(std::begin(kMediaGroups), std::end(kMediaGroups));
}

std::vector<eParam_t> GetParamGroup(int group, bool excludeHidden) {
  return MainRegistry().Read([group, excludeHidden](const DescriptorMap& map) {
    return GroupMembers(map, group, excludeHidden);
  });
}

bool MenuNumberCompare(eParam_t a, eParam_t b) {
  const std::vector<unsigned long> left = MenuNumberOf(a);
  const std::vector<unsigned long> right = MenuNumberOf(b);
  return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end());
}

void AddMenuNumberAttribute() { MainRegistry().Amend(AddMenuNumbers); }

void AddParamGroupAttribute() { MainRegistry().Amend(AddParamGroups); }

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
