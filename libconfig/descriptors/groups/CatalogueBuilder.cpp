#include "libconfig/descriptors/groups/CatalogueBuilder.h"

#include <algorithm>

#include "libconfig/descriptors/EnumDescriptor.h"
#include "libconfig/descriptors/StringDescriptor.h"

namespace qel::config {
namespace {

struct TagName {
  Tag tag;
  const char* className;
};

constexpr TagName kTagNames[] = {
    {kReadOnly, "readonly"},
    {kVolatile, "volatile"},
    {kHidden, "hidden_param"},
    {kPanelHidden, "panel_hidden"},
    {kRestHidden, "rest_hidden"},
    {kWebHidden, "webapp_hidden"},
    {kDoNotValidate, "do_not_validate"},
    {kAlarmSuppress, "alarm_suppress"},
};

void SetCommon(const ParamRow& row, ParamDescriptor& descriptor) {
  descriptor.SetParamID(row.id);
  descriptor.SetParamIDName(row.idName);
  descriptor.SetName(row.name);
  descriptor.SetShortName(row.shortName);
  descriptor.SetFeatureType(static_cast<eFeature_t>(row.feature));
  descriptor.SetRegEx(row.pattern);

  const bool setting = row.keeping == Keeping::kSetting;
  const bool reset = setting || row.keeping == Keeping::kWorking;
  descriptor.SetPersistenceType(row.keeping == Keeping::kState ? ePersist_Not : ePersist);
  descriptor.SetRegisterType(setting ? eRegister_Include : eRegister_Exclude);
  descriptor.SetFactoryResetType(reset ? eFactoryReset_Include : eFactoryReset_Exclude);
  descriptor.SetAccessType((row.tags & kReadOnly) != 0 ? eAccess_ReadOnly : eAccess_ReadWrite);

  for (const TagName& entry : kTagNames) {
    if ((row.tags & entry.tag) != 0) descriptor.AddClassName(entry.className);
  }
  descriptor.AddAttribute("description", std::string(row.help));
  if (row.menuNumber != nullptr)
    descriptor.AddAttribute("menu_number", std::string(row.menuNumber));
  if (row.group != 0) descriptor.AddAttribute("ParamGroup", row.group);
  if (row.flag != nullptr) descriptor.AddAttribute(row.flag, 1U);
  if (row.format != nullptr) descriptor.AddAttribute("format", std::string(row.format));

  for (std::size_t i = 0; i < row.enabledByCount; ++i) {
    descriptor.AddRelation("enabled_by", row.enabledBy[i].param, row.enabledBy[i].value);
  }
  for (std::size_t i = 0; i < row.dependentCount; ++i) {
    descriptor.AddDependentParamID(row.dependents[i]);
  }
}

std::unique_ptr<ParamDescriptor> MakeText(const ParamRow& row) {
  auto descriptor = std::make_unique<StringDescriptor>();
  descriptor->SetParamType(eParamType_String);
  descriptor->SetMinLength(row.min);
  descriptor->SetMaxLength(row.max);
  descriptor->SetFactoryDefault(row.text);
  return descriptor;
}

std::unique_ptr<ParamDescriptor> MakeInteger(const ParamRow& row) {
  auto descriptor = std::make_unique<IntegerDescriptor>();
  descriptor->SetParamType(eParamType_Integer);
  descriptor->SetMinValue(row.min);
  descriptor->SetMaxValue(row.max);
  descriptor->SetFactoryDefault(row.number);
  descriptor->SetAdjustBy(row.adjustBy);
  descriptor->SetScaleBy(row.scaleBy);
  descriptor->SetDisplayPrecision(row.precision);
  descriptor->SetUnits(row.units);
  return descriptor;
}

std::unique_ptr<ParamDescriptor> MakeEnum(const ParamRow& row) {
  auto descriptor = std::make_unique<EnumDescriptor>();
  descriptor->SetParamType(eParamType_Enum);
  descriptor->SetFactoryDefault(row.number);
  unsigned min = 0xFFFFFFFF;
  unsigned max = 0;
  for (std::size_t i = 0; i < row.choices.count; ++i) {
    const Choice& choice = row.choices.rows[i];
    min = std::min(min, choice.value);
    max = std::max(max, choice.value);
    descriptor->AddNameValuePair(choice.value, choice.name,
                                 choice.shortName != nullptr ? choice.shortName : choice.name);
  }
  descriptor->SetMinValue(min);
  descriptor->SetMaxValue(max);
  return descriptor;
}

std::unique_ptr<ParamDescriptor> Make(const ParamRow& row) {
  switch (row.kind) {
    case ParamRow::Kind::kText:
      return MakeText(row);
    case ParamRow::Kind::kInteger:
      return MakeInteger(row);
    case ParamRow::Kind::kEnum:
      return MakeEnum(row);
  }
  return nullptr;
}

}  // namespace

void CatalogueBuilder::Add(const ParamRow& row) {
  std::unique_ptr<ParamDescriptor> descriptor = Make(row);
  SetCommon(row, *descriptor);
  ParamDescriptor*& place = _map[row.id];
  delete place;
  place = descriptor.release();
}

void CatalogueBuilder::Add(const ParamRow& row, const std::string& factoryDefault) {
  ParamRow known = row;
  known.text = factoryDefault.c_str();
  Add(known);
}

void CatalogueBuilder::Add(const ParamRow& row, unsigned factoryDefault) {
  ParamRow known = row;
  known.number = factoryDefault;
  Add(known);
}

}  // namespace qel::config
