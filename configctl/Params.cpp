#include "configctl/Params.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "configctl/Failure.h"
#include "configctl/TextLayout.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/libconfig.h"
#include "programs/Text.h"
#include "programs/ValueText.h"

using programs::ParamName;

namespace configctl {
namespace {

constexpr char kPrefix[] = "eParamID_";
constexpr std::size_t kPrefixLength = sizeof kPrefix - 1;
constexpr std::size_t kMostSuggestions = 5;
constexpr std::size_t kLongestWord = 100;

// The least number of characters to insert, drop or replace, or of neighbours to swap, to make one
// word from the other.
std::size_t EditDistance(const std::string& from, const std::string& to) {
  std::vector<std::vector<std::size_t>> distance(from.size() + 1,
                                                 std::vector<std::size_t>(to.size() + 1));
  for (std::size_t i = 0; i <= from.size(); ++i) {
    for (std::size_t j = 0; j <= to.size(); ++j) {
      std::size_t& least = distance[i][j];
      least = std::max(i, j);  // where one of them is empty
      if (i == 0 || j == 0) continue;
      const bool same = from[i - 1] == to[j - 1];
      least = std::min({distance[i - 1][j] + 1, distance[i][j - 1] + 1,
                        distance[i - 1][j - 1] + (same ? 0 : 1)});
      if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1]) {
        least = std::min(least, distance[i - 2][j - 2] + 1);
      }
    }
  }
  return distance.back().back();
}

bool IsMenuNumber(const std::string& name) {
  const std::size_t point = name.find('.');
  return point != std::string::npos && point > 0 && point + 1 < name.size() &&
         name.find_first_not_of("0123456789.") == std::string::npos &&
         name.find('.', point + 1) == std::string::npos;
}

ParamDescriptor* FindByNumber(const std::string& name) {
  char* end = nullptr;
  const unsigned long long number = std::strtoull(name.c_str(), &end, 16);
  if (*end != '\0' || number > 0xFFFFFFFF) return nullptr;
  return FindDescriptor(static_cast<eParam_t>(number));
}

ParamDescriptor* FindByMenuNumber(const std::string& number) {
  std::vector<ParamDescriptor*> found;
  std::vector<std::string> names;
  for (const eParam_t id : GetParamIDs()) {
    ParamDescriptor* const param = FindDescriptor(id);
    if (MenuNumber(*param) != number) continue;
    found.push_back(param);
    names.push_back(ParamName(*param));
  }
  if (found.empty()) return nullptr;
  if (found.size() == 1) return found.front();
  throw Failure(Status::kRefused, number + " stands for " + std::to_string(found.size()) +
                                      " parameters; name one of them: " + Join(names));
}

ParamDescriptor* FindByName(const std::string& name) {
  std::string wanted = ToLower(name);
  if (wanted.compare(0, kPrefixLength, ToLower(kPrefix)) == 0) wanted.erase(0, kPrefixLength);
  for (const eParam_t id : GetParamIDs()) {
    ParamDescriptor* const param = FindDescriptor(id);
    if (ToLower(ParamName(*param)) == wanted) return param;
  }
  return nullptr;
}

bool IsReadOnly(const ParamDescriptor& param) {
  return param.GetAccessType() == eAccess_ReadOnly || param.HasClassName("readonly");
}

}  // namespace

ParamDescriptor& FindParam(const std::string& name) {
  ParamDescriptor* param = FindByName(name);
  if (param == nullptr && ToLower(name).compare(0, 2, "0x") == 0) param = FindByNumber(name);
  if (param == nullptr && IsMenuNumber(name)) param = FindByMenuNumber(name);
  if (param != nullptr) return *param;

  const std::vector<std::string> nearest = Nearest(name, AllParamNames());
  throw Failure(Status::kRefused, "there is no parameter " + programs::QuoteBriefly(name) + "; " +
                                      (nearest.empty() ? "see configctl list --hidden"
                                                       : "did you mean " + JoinOr(nearest) + "?"));
}

std::vector<std::string> AllParamNames() {
  const std::vector<eParam_t> ids = GetParamIDs();
  std::vector<std::string> names(ids.size());
  std::transform(ids.begin(), ids.end(), names.begin(), [](eParam_t id) { return ParamName(id); });
  return names;
}

std::string MenuNumber(const ParamDescriptor& param) {
  std::string number;
  param.GetAttribute("menu_number", number);
  return number;
}

int MenuGroup(const ParamDescriptor& param) { return std::atoi(MenuNumber(param).c_str()); }

std::vector<ParamDescriptor*> ParamsInMenuOrder() {
  std::vector<eParam_t> ids = GetParamIDs();
  std::stable_sort(ids.begin(), ids.end(), MenuNumberCompare);
  std::vector<ParamDescriptor*> params;
  params.reserve(ids.size());
  for (const eParam_t id : ids) params.push_back(FindDescriptor(id));
  return params;
}

bool IsHidden(const ParamDescriptor& param) {
  return param.HasClassName("hidden_param") || param.HasClassName("panel_hidden");
}

std::vector<std::string> Nearest(const std::string& word,
                                 const std::vector<std::string>& candidates) {
  if (word.size() > kLongestWord) return {};
  const std::string wanted = ToLower(word);
  const std::size_t tolerated = std::max<std::size_t>(1, wanted.size() / 3);
  std::vector<std::pair<std::size_t, std::string>> ranked;
  for (const std::string& candidate : candidates) {
    const std::string other = ToLower(candidate);
    const std::size_t distance = EditDistance(wanted, other);
    const bool contained = wanted.size() >= 3 && other.find(wanted) != std::string::npos;
    if (distance <= tolerated || contained) ranked.emplace_back(distance, candidate);
  }
  std::stable_sort(ranked.begin(), ranked.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  if (ranked.size() > kMostSuggestions) ranked.resize(kMostSuggestions);
  std::vector<std::string> nearest;
  nearest.reserve(ranked.size());
  for (auto& entry : ranked) nearest.push_back(std::move(entry.second));
  return nearest;
}

bool IsSetting(const ParamDescriptor& param) {
  return param.GetPersistenceType() == ePersist && !IsReadOnly(param);
}

std::string WhyNoSetting(const ParamDescriptor& param) {
  if (IsReadOnly(param)) return "is read-only: the device itself sets it";
  return "is a command or a state of the device, and no setting; use configctl set for it";
}

std::vector<const ParamDescriptor*> SettingsInMenuOrder() {
  std::vector<const ParamDescriptor*> settings;
  for (const ParamDescriptor* const param : ParamsInMenuOrder()) {
    if (IsSetting(*param)) settings.push_back(param);
  }
  return settings;
}

programs::Value FactoryDefault(const ParamDescriptor& param) {
  if (const auto* const text = dynamic_cast<const StringDescriptor*>(&param)) {
    return text->GetFactoryDefault();
  }
  const auto* const number = dynamic_cast<const IntegerDescriptor*>(&param);
  return number == nullptr ? 0U : number->GetFactoryDefault();
}

}  // namespace configctl
