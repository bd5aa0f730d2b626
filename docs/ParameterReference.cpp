// Prints docs/parameters.md, the reference of all parameters, from the catalogue. The full-size
// recorder's catalogue has every parameter. The same catalogue gives the same bytes.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/descriptors/EnumDescriptor.h"
#include "libconfig/descriptors/StringDescriptor.h"
#include "programs/Params.h"
#include "programs/ValueText.h"

namespace {

// Their defaults are the unit's own, or its build's.
constexpr eParam_t kKnownOnTheUnit[] = {
    eParamID_MACAddress, eParamID_FormattedSerialNumber,
    eParamID_SWVersion,  eParamID_SerialNumber,
    eParamID_Flash_Info, eParamID_BoardID,
};

std::string TextOf(const ParamDescriptor& descriptor, const char* attribute) {
  std::string text;
  descriptor.GetAttribute(attribute, text);
  return text;
}

std::string MenuOf(const ParamDescriptor& descriptor) { return TextOf(descriptor, "menu_number"); }

// A section is what an operator finds under one number of the menu.
int SectionOf(const ParamDescriptor& descriptor) { return std::atoi(MenuOf(descriptor).c_str()); }

// Nothing of the text is markup. Line breaks of two-line panel texts show as a slash.
std::string Escape(const std::string& text) {
  std::string escaped;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n') {
      escaped += " / ";
      while (i + 1 < text.size() && text[i + 1] == ' ') ++i;
      continue;
    }
    if (std::string("\\`*_[]<>|#").find(text[i]) != std::string::npos) escaped += '\\';
    escaped += text[i];
  }
  return escaped;
}

std::string Code(const std::string& text) { return "`" + text + "`"; }

std::string Quoted(const std::string& text) {
  return text.empty() ? "empty" : "\"" + Escape(text) + "\"";
}

std::string Join(const std::vector<std::string>& parts) {
  std::string joined;
  for (const std::string& part : parts) joined += (joined.empty() ? "" : ", ") + part;
  return joined;
}

// "50.1 IP Config", as the help texts refer to it.
std::string Reference(eParam_t id) {
  const ParamDescriptor* const descriptor = FindDescriptor(id);
  return descriptor == nullptr ? programs::ParamNumber(id)
                               : MenuOf(*descriptor) + " " + Escape(descriptor->GetName());
}

std::string NumberOf(const IntegerDescriptor& descriptor, unsigned value) {
  if (programs::IsAddress(descriptor)) return programs::AddressText(value);
  std::string text = std::to_string(value);
  if (!descriptor.GetUnits().empty()) text += " " + Escape(descriptor.GetUnits());
  return text;
}

void PrintLine(const char* label, const std::string& text) {
  if (!text.empty()) std::printf("- %s: %s\n", label, text.c_str());
}

bool IsKnownOnTheUnit(eParam_t id) {
  return std::find(std::begin(kKnownOnTheUnit), std::end(kKnownOnTheUnit), id) !=
         std::end(kKnownOnTheUnit);
}

void PrintDefault(const ParamDescriptor& descriptor, const std::string& text) {
  PrintLine("Default", IsKnownOnTheUnit(descriptor.GetParamID()) ? "the unit's own" : text);
}

void PrintEnum(EnumDescriptor& descriptor) {
  PrintLine("Type", "enumeration");
  std::printf("- Choices:\n");
  for (const EnumValueDescriptor& choice : descriptor.GetOrderedEnumValueDescriptors()) {
    std::printf("  - %u %s", choice.value, Escape(choice.name).c_str());
    if (choice.shortName != choice.name) {
      std::printf(" (panel: %s)", Escape(choice.shortName).c_str());
    }
    std::printf("\n");
  }
  PrintDefault(descriptor, Escape(descriptor.GetEnumValue(descriptor.GetFactoryDefault())));
}

void PrintInteger(const IntegerDescriptor& descriptor) {
  const bool address = programs::IsAddress(descriptor);
  PrintLine("Type", address ? "IPv4 address" : "number");
  if (!address) {
    PrintLine("Range", std::to_string(descriptor.GetMinValue()) + " to " +
                           NumberOf(descriptor, descriptor.GetMaxValue()));
    if (descriptor.GetAdjustBy() != 1) PrintLine("Step", std::to_string(descriptor.GetAdjustBy()));
  }
  PrintDefault(descriptor, NumberOf(descriptor, descriptor.GetFactoryDefault()));
}

void PrintString(const StringDescriptor& descriptor) {
  const unsigned min = descriptor.GetMinLength();
  const unsigned max = descriptor.GetMaxLength();
  PrintLine("Type", "text");
  PrintLine("Length",
            min == max ? std::to_string(max) : std::to_string(min) + " to " + std::to_string(max));
  if (descriptor.GetRegEx() != "*") PrintLine("Pattern", Code(descriptor.GetRegEx()));
  PrintDefault(descriptor, Quoted(descriptor.GetFactoryDefault()));
}

std::string KeepingOf(const ParamDescriptor& descriptor) {
  const bool kept = descriptor.GetPersistenceType() == ePersist;
  const bool inPresets = descriptor.GetRegisterType() != eRegister_Exclude;
  const bool reset = descriptor.GetFactoryResetType() != eFactoryReset_Exclude;
  return std::string(kept ? "survives a restart" : "lost at a restart") +
         (inPresets ? ", in presets" : ", not in presets") +
         (reset ? ", restored by a factory reset" : ", untouched by a factory reset");
}

void PrintTies(const ParamDescriptor& descriptor) {
  for (const auto& relations : descriptor.GetRelations()) {
    std::vector<std::string> parts;
    for (const ParamDescriptor::Relation& relation : relations.second) {
      const auto* const selector = dynamic_cast<EnumDescriptor*>(FindDescriptor(relation.paramID));
      parts.push_back(Reference(relation.paramID) + " = " +
                      (selector == nullptr ? std::to_string(relation.value)
                                           : Escape(selector->GetEnumValue(relation.value))));
    }
    PrintLine(relations.first == "enabled_by" ? "Enabled by" : relations.first.c_str(),
              Join(parts));
  }
  std::vector<std::string> dependents;
  for (const eParam_t id : descriptor.GetDependentParamIDs()) dependents.push_back(Reference(id));
  PrintLine("Changes the meaning of", Join(dependents));
}

void PrintParam(ParamDescriptor& descriptor) {
  std::printf("\n### %s %s\n\n", MenuOf(descriptor).c_str(), Escape(descriptor.GetName()).c_str());
  std::printf("%s\n\n", Escape(TextOf(descriptor, "description")).c_str());
  PrintLine("Identifier", Code(descriptor.GetParamIDName()) + ", " +
                              Code(programs::ParamNumber(descriptor.GetParamID())));
  PrintLine("Panel", Escape(descriptor.GetShortName()));
  if (auto* const choices = dynamic_cast<EnumDescriptor*>(&descriptor)) {
    PrintEnum(*choices);
  } else if (const auto* const number = dynamic_cast<IntegerDescriptor*>(&descriptor)) {
    PrintInteger(*number);
  } else if (const auto* const text = dynamic_cast<StringDescriptor*>(&descriptor)) {
    PrintString(*text);
  }
  PrintLine("Keeping", KeepingOf(descriptor));
  std::vector<std::string> tags;
  for (const std::string& tag : descriptor.GetClassNames()) tags.push_back(Code(tag));
  PrintLine("Tags", Join(tags));
  if (programs::IsSecret(descriptor)) PrintLine("Shown", "masked");
  PrintTies(descriptor);
}

}  // namespace

int main() {
  ::setenv("LIBCONFIG_PRODUCT", "quarn", 1);
  CreateDescriptors();

  std::map<int, std::vector<eParam_t>> sections;
  for (const eParam_t id : GetParamIDs()) sections[SectionOf(*FindDescriptor(id))].push_back(id);

  std::printf(
      "# Parameters\n\n"
      "Every parameter of the full-size recorder, in the order of its menus. Generated from the\n"
      "catalogue by `./dev docs`; change the rows under `libconfig/descriptors/groups/` instead\n"
      "of this file. The other models lack the wireless parameters of groups 53 and 54.\n");

  std::vector<int> order = GetConfigParamGroups();
  const std::vector<int> media = GetMediaParamGroups();
  order.insert(order.end(), media.begin(), media.end());
  for (const auto& section : sections) order.push_back(section.first);

  for (const int group : order) {
    const auto section = sections.find(group);
    if (section == sections.end()) continue;
    std::stable_sort(section->second.begin(), section->second.end(), MenuNumberCompare);
    std::printf("\n## %d %s\n", group, programs::MenuTitle(group).c_str());
    for (const eParam_t id : section->second) PrintParam(*FindDescriptor(id));
    sections.erase(section);
  }
  return std::fflush(stdout) == 0 ? 0 : 1;
}
