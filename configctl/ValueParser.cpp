#include "configctl/ValueParser.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <regex>
#include <set>
#include <vector>

#include "configctl/Failure.h"
#include "configctl/Params.h"
#include "configctl/TextLayout.h"
#include "programs/Text.h"

using programs::OneLine;
using programs::ParamName;
using programs::QuoteBriefly;
using programs::Value;

namespace configctl {
namespace {

std::optional<unsigned int> ParseNumber(const std::string& text) {
  const bool hex = ToLower(text).compare(0, 2, "0x") == 0;
  const std::string digits = hex ? text.substr(2) : text;
  const char* const allowed = hex ? "0123456789abcdefABCDEF" : "0123456789";
  if (digits.empty() || digits.size() > 20) return std::nullopt;
  if (digits.find_first_not_of(allowed) != std::string::npos) return std::nullopt;
  const unsigned long long number = std::strtoull(digits.c_str(), nullptr, hex ? 16 : 10);
  if (number > 0xFFFFFFFF) return std::nullopt;
  return static_cast<unsigned int>(number);
}

std::string ChoiceText(const EnumDescriptor& param, unsigned int value) {
  return programs::ValueText().Line(param.GetParamID(), value);
}

unsigned int ParseChoice(const EnumDescriptor& param, const std::string& text) {
  const std::string wanted = ToLower(OneLine(text));
  std::set<unsigned int> matches;
  std::vector<std::string> labels;
  for (const EnumValueDescriptor& choice : ChoicesOf(param)) {
    for (const std::string& label : {OneLine(choice.name), OneLine(choice.shortName)}) {
      if (ToLower(label) == wanted) matches.insert(choice.value);
      labels.push_back(label);
    }
  }
  const std::optional<unsigned int> number = ParseNumber(text);
  if (number && (matches.empty() || param.HasValue(*number))) matches.insert(*number);
  if (matches.size() == 1) return *matches.begin();

  std::vector<std::string> candidates;
  candidates.reserve(matches.size());
  for (const unsigned int value : matches) candidates.push_back(ChoiceText(param, value));
  if (!matches.empty()) {
    throw Failure(Status::kRefused, QuoteBriefly(text) + " may stand for " + JoinOr(candidates) +
                                        " of " + ParamName(param) + "; give the number");
  }
  for (const std::string& label : Nearest(OneLine(text), labels)) {
    if (std::find(candidates.begin(), candidates.end(), label) == candidates.end()) {
      candidates.push_back(label);
    }
  }
  throw Failure(Status::kRefused,
                ParamName(param) + " has no choice " + QuoteBriefly(text) + "; " +
                    (candidates.empty() ? "choose one of " + ChoicesText(param)
                                        : "did you mean " + JoinOr(candidates) + "?"));
}

unsigned int ParseAddress(const ParamDescriptor& param, const std::string& text) {
  in_addr address = {};
  if (::inet_pton(AF_INET, text.c_str(), &address) == 1) return ntohl(address.s_addr);
  if (const std::optional<unsigned int> number = ParseNumber(text)) return *number;
  throw Failure(Status::kRefused, ParamName(param) + " takes an address such as 192.168.0.2, and " +
                                      QuoteBriefly(text) + " is none");
}

// Those of UTF-8; every byte that begins one.
std::size_t CountCharacters(const std::string& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xc0) != 0x80; }));
}

bool Matches(const std::string& text, const std::string& pattern) {
  if (pattern.empty() || pattern == "*") return true;
  try {
    return std::regex_match(text, std::regex(pattern, std::regex::extended));
  } catch (const std::regex_error&) {
    return true;  // a pattern of another kind
  }
}

std::string ObjectionTo(const StringDescriptor& param, const std::string& text) {
  const std::size_t length = CountCharacters(text);
  const unsigned int min = param.GetMinLength();
  const unsigned int max = param.GetMaxLength();
  if (length < min || length > max) {
    const std::string range =
        min == max ? std::to_string(max) : std::to_string(min) + " to " + std::to_string(max);
    return ParamName(param) + " takes " + range + " characters, and these are " +
           std::to_string(length);
  }
  if (Matches(text, param.GetRegEx())) return {};
  return ParamName(param) + " takes a text that matches " + param.GetRegEx();
}

}  // namespace

Value ParseValue(const ParamDescriptor& param, const std::string& text) {
  if (param.GetParamType() == eParamType_String) return text;
  if (const auto* const choices = dynamic_cast<const EnumDescriptor*>(&param)) {
    return ParseChoice(*choices, text);
  }
  if (programs::IsAddress(param)) return ParseAddress(param, text);
  if (const std::optional<unsigned int> number = ParseNumber(text)) return *number;
  const auto* const integer = dynamic_cast<const IntegerDescriptor*>(&param);
  throw Failure(Status::kRefused, ParamName(param) + " takes a number" +
                                      (integer == nullptr ? "" : ", " + RangeText(*integer)) +
                                      ", and " + QuoteBriefly(text) + " is none");
}

CatalogueCheck CheckValue(const ParamDescriptor& param, const Value& value) {
  CatalogueCheck check;
  check.stored = value;
  if (const auto* const text = dynamic_cast<const StringDescriptor*>(&param)) {
    check.objection = ObjectionTo(*text, std::get<std::string>(value));
    return check;
  }
  if (param.HasClassName("do_not_validate")) return check;
  const unsigned int number = std::get<unsigned int>(value);
  if (const auto* const choices = dynamic_cast<const EnumDescriptor*>(&param)) {
    if (choices->HasValue(number)) return check;
    throw Failure(Status::kRefused, ParamName(param) + " has no choice " + std::to_string(number) +
                                        "; choose one of " + ChoicesText(*choices));
  }
  if (const auto* const integer = dynamic_cast<const IntegerDescriptor*>(&param)) {
    check.stored = std::clamp(number, integer->GetMinValue(), integer->GetMaxValue());
  }
  return check;
}

std::vector<EnumValueDescriptor> ChoicesOf(const EnumDescriptor& param) {
  // The catalogue is shared and stays as it is, but asking for the order is not const.
  auto& shared = const_cast<EnumDescriptor&>(param);
  std::vector<EnumValueDescriptor> choices;
  std::set<unsigned int> seen;
  for (EnumValueDescriptor& choice : shared.GetOrderedEnumValueDescriptors()) {
    if (seen.insert(choice.value).second) choices.push_back(std::move(choice));
  }
  return choices;
}

std::string RangeText(const IntegerDescriptor& param) {
  return std::to_string(param.GetMinValue()) + " to " +
         programs::ValueText().Line(param.GetParamID(), param.GetMaxValue());
}

std::string ChoicesText(const EnumDescriptor& param) {
  std::vector<std::string> choices;
  for (const EnumValueDescriptor& choice : ChoicesOf(param)) {
    choices.push_back(ChoiceText(param, choice.value));
  }
  return Join(choices);
}

}  // namespace configctl
