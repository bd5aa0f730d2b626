#include "configctl/Settings.h"

#include <map>
#include <set>

#include "configctl/ParamJson.h"
#include "configctl/ParamNames.h"
#include "libconfig/libconfig.h"

namespace configctl {
namespace {

bool IsReadOnly(const ParamDescriptor& param) {
  return param.GetAccessType() == eAccess_ReadOnly || param.HasClassName("readonly");
}

// What each parameter hangs on, whichever end of the tie declares it.
std::map<eParam_t, std::set<eParam_t>> AllSelectors() {
  std::map<eParam_t, std::set<eParam_t>> selectors;
  for (const eParam_t id : GetParamIDs()) {
    const ParamDescriptor& param = *FindDescriptor(id);
    for (const Tie& tie : TiesFrom(param)) selectors[id].insert(tie.other);
    for (const eParam_t other : param.GetDependsOnParamIDs()) selectors[id].insert(other);
    for (const eParam_t other : param.GetDependentParamIDs()) selectors[other].insert(id);
  }
  return selectors;
}

class Order {
 public:
  explicit Order(const std::vector<eParam_t>& ids) : _wanted(ids.begin(), ids.end()) {}

  // Also through parameters that are not wanted themselves. Each is visited once, so that a circle
  // ends.
  void Append(eParam_t id) {
    if (!_visited.insert(id).second) return;
    for (const eParam_t selector : _selectors[id]) Append(selector);
    if (_wanted.count(id) != 0) _ordered.push_back(id);
  }

  std::vector<eParam_t> Take() { return std::move(_ordered); }

 private:
  const std::set<eParam_t> _wanted;
  std::map<eParam_t, std::set<eParam_t>> _selectors = AllSelectors();
  std::set<eParam_t> _visited;
  std::vector<eParam_t> _ordered;
};

}  // namespace

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

std::vector<eParam_t> SelectorsFirst(const std::vector<eParam_t>& ids) {
  Order order(ids);
  for (const eParam_t id : ids) order.Append(id);
  return order.Take();
}

}  // namespace configctl
