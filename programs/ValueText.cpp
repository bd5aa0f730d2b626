#include "programs/ValueText.h"

#include <cstdio>

#include "programs/Text.h"

namespace programs {
namespace {

constexpr char kPrefix[] = "eParamID_";
constexpr std::size_t kPrefixLength = sizeof kPrefix - 1;

// Always as long, so that it does not tell how long the secret is.
constexpr char kMask[] = "********";

// Longer texts are cut in lines, not in the store.
constexpr std::size_t kShownText = 200;

// The labels of the bits that are set; empty when one has no label.
std::string BitLabels(const EnumDescriptor& param, unsigned int value) {
  std::string labels;
  for (unsigned int bit = 1; value != 0; bit <<= 1) {
    if ((value & bit) == 0) continue;
    if (!param.HasValue(bit)) return {};
    labels += (labels.empty() ? "" : " + ") + OneLine(param.GetEnumValue(bit));
    value &= ~bit;
  }
  return labels;
}

// Empty when the value has none.
std::string Label(const ParamDescriptor* param, unsigned int value) {
  const auto* const choices = dynamic_cast<const EnumDescriptor*>(param);
  if (choices == nullptr) return {};
  if (choices->HasValue(value)) return OneLine(choices->GetEnumValue(value));
  return IsBitMask(*choices) ? BitLabels(*choices, value) : std::string();
}

}  // namespace

std::string ParamName(const ParamDescriptor& param) {
  const std::string name = param.GetParamIDName();
  return name.compare(0, kPrefixLength, kPrefix) == 0 ? name.substr(kPrefixLength) : name;
}

std::string ParamName(eParam_t id) {
  const ParamDescriptor* const param = FindDescriptor(id);
  return param == nullptr ? ParamNumber(id) : ParamName(*param);
}

std::string ParamNumber(eParam_t id) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08x", static_cast<unsigned>(id));
  return text;
}

bool IsSecret(const ParamDescriptor& param) {
  unsigned int flag;
  return param.GetAttribute("password", flag);
}

bool IsAddress(const ParamDescriptor& param) {
  std::string format;
  return param.GetAttribute("format", format) && format == "ipv4";
}

bool IsBitMask(const ParamDescriptor& param) {
  return param.GetParamType() == eParamType_Enum && param.HasClassName("do_not_validate");
}

std::string AddressText(unsigned int address) {
  return std::to_string(address >> 24) + "." + std::to_string(address >> 16 & 0xff) + "." +
         std::to_string(address >> 8 & 0xff) + "." + std::to_string(address & 0xff);
}

bool ValueText::Hides(eParam_t id) const {
  if (_secrets == Secrets::kShow) return false;
  const ParamDescriptor* const param = FindDescriptor(id);
  return param != nullptr && IsSecret(*param);
}

std::string ValueText::Plain(eParam_t id, const Value& value) const {
  if (Hides(id)) return kMask;
  if (const auto* const text = std::get_if<std::string>(&value)) return Escape(*text);
  const unsigned int number = std::get<unsigned int>(value);
  const ParamDescriptor* const param = FindDescriptor(id);
  if (param != nullptr && IsAddress(*param)) return AddressText(number);
  const std::string label = Label(param, number);
  return label.empty() ? std::to_string(number) : label;
}

// One byte more than is shown, which tells where the last character ends.
Excerpt::Excerpt(const Value& whole) {
  if (const auto* const text = std::get_if<std::string>(&whole)) {
    value = text->substr(0, kShownText + 1);
    size = text->size();
  } else {
    value = whole;
  }
}

std::string ValueText::Line(eParam_t id, const Excerpt& excerpt) const {
  if (Hides(id)) return Quote(kMask);
  const Value& value = excerpt.value;
  if (const auto* const text = std::get_if<std::string>(&value)) {
    return QuoteUpTo(kShownText, *text, excerpt.size);
  }
  const unsigned int number = std::get<unsigned int>(value);
  const ParamDescriptor* const param = FindDescriptor(id);
  const std::string label = Label(param, number);
  if (!label.empty()) return label + " (" + std::to_string(number) + ")";
  const auto* const integer = dynamic_cast<const IntegerDescriptor*>(param);
  const std::string units = integer == nullptr ? "" : integer->GetUnits();
  return Plain(id, value) + (units.empty() ? "" : " " + units);
}

}  // namespace programs
