#include "configctl/ParamJson.h"

#include <map>

#include "configctl/Params.h"
#include "configctl/ValueParser.h"
#include "libconfig/libconfig.h"
#include "programs/Params.h"
#include "programs/Text.h"
#include "programs/ValueText.h"

using json = nlohmann::ordered_json;
using programs::OneLine;
using programs::ParamName;

namespace configctl {
namespace {

void AddLimits(const ParamDescriptor& param, json& object) {
  if (const auto* const text = dynamic_cast<const StringDescriptor*>(&param)) {
    object["min_length"] = text->GetMinLength();
    object["max_length"] = text->GetMaxLength();
    if (text->GetRegEx() != "*") object["pattern"] = text->GetRegEx();
    object["default"] = text->GetFactoryDefault();
  }
  const auto* const number = dynamic_cast<const IntegerDescriptor*>(&param);
  if (number == nullptr) return;
  object["default"] = number->GetFactoryDefault();
  if (const auto* const choices = dynamic_cast<const EnumDescriptor*>(number)) {
    json& list = object["choices"] = json::array();
    for (const EnumValueDescriptor& choice : ChoicesOf(*choices)) {
      list.push_back({{"value", choice.value},
                      {"label", OneLine(choice.name)},
                      {"short_label", OneLine(choice.shortName)}});
    }
    return;
  }
  object["min"] = number->GetMinValue();
  object["max"] = number->GetMaxValue();
  object["step"] = number->GetAdjustBy();
  object["scale"] = number->GetScaleBy();
  object["offset"] = number->GetOffsetBy();
  object["precision"] = number->GetDisplayPrecision();
  object["units"] = number->GetUnits();
}

json Names(const std::vector<eParam_t>& ids) {
  json names = json::array();
  for (const eParam_t id : ids) names.push_back(ParamName(id));
  return names;
}

json ToJson(const std::vector<Tie>& ties) {
  json object = json::object();
  for (const Tie& tie : ties) {
    object[tie.relation].push_back({{"name", ParamName(tie.other)}, {"value", tie.value}});
  }
  return object;
}

}  // namespace

std::string TypeName(const ParamDescriptor& param) {
  if (param.GetParamType() == eParamType_String) return "text";
  if (param.GetParamType() == eParamType_Enum) return "enumeration";
  return programs::IsAddress(param) ? "address" : "number";
}

json ParamToJson(const ParamDescriptor& param) {
  json object = {
      {"name", ParamName(param)},
      {"id", programs::ParamNumber(param.GetParamID())},
      {"identifier", param.GetParamIDName()},
      {"menu", MenuNumber(param)},
      {"menu_title", programs::MenuTitle(MenuGroup(param))},
      {"display_name", OneLine(param.GetName())},
      {"short_name", OneLine(param.GetShortName())},
      {"type", TypeName(param)},
      {"read_only", param.GetAccessType() == eAccess_ReadOnly},
      {"hidden", IsHidden(param)},
      {"persistent", param.GetPersistenceType() == ePersist},
      {"in_presets", param.GetRegisterType() == eRegister_Include},
      {"factory_reset", param.GetFactoryResetType() == eFactoryReset_Include},
      {"feature", param.GetFeatureType() == eFeature_Panel ? "panel" : "general"},
      {"classes", param.GetClassNames()},
  };
  std::map<std::string, std::string> texts;
  std::map<std::string, unsigned int> numbers;
  param.GetAttributes(texts);
  param.GetAttributes(numbers);
  json& attributes = object["attributes"] = numbers;
  for (const auto& entry : texts) attributes[entry.first] = entry.second;
  AddLimits(param, object);
  return object;
}

std::vector<Tie> TiesFrom(const ParamDescriptor& param) {
  std::vector<Tie> ties;
  for (const auto& relations : param.GetRelations()) {
    for (const ParamDescriptor::Relation& relation : relations.second) {
      ties.push_back({relations.first, relation.paramID, relation.value});
    }
  }
  return ties;
}

std::vector<Tie> TiesTo(const ParamDescriptor& param) {
  std::vector<Tie> ties;
  for (const ParamDescriptor* const other : ParamsInMenuOrder()) {
    for (const Tie& tie : TiesFrom(*other)) {
      if (tie.other == param.GetParamID()) {
        ties.push_back({tie.relation, other->GetParamID(), tie.value});
      }
    }
  }
  return ties;
}

json TiesToJson(const ParamDescriptor& param) {
  return {{"relations", ToJson(TiesFrom(param))},
          {"related_from", ToJson(TiesTo(param))},
          {"depends_on", Names(param.GetDependsOnParamIDs())},
          {"dependents", Names(param.GetDependentParamIDs())}};
}

}  // namespace configctl
