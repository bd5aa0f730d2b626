#include "programs/SelectorsFirst.h"

#include <set>

namespace programs {
namespace {

class Order {
 public:
  explicit Order(const std::vector<eParam_t>& ids) : _wanted(ids.begin(), ids.end()) {}

  // Also through parameters that are not wanted themselves. Each is visited once, so that a circle
  // ends.
  void Append(eParam_t id) {
    if (!_visited.insert(id).second) return;
    if (const ParamDescriptor* const param = FindDescriptor(id)) {
      for (const eParam_t selector : param->GetDependsOnParamIDs()) Append(selector);
    }
    if (_wanted.count(id) != 0) _ordered.push_back(id);
  }

  std::vector<eParam_t> Take() { return std::move(_ordered); }

 private:
  const std::set<eParam_t> _wanted;
  std::set<eParam_t> _visited;
  std::vector<eParam_t> _ordered;
};

}  // namespace

std::vector<eParam_t> SelectorsFirst(const std::vector<eParam_t>& ids) {
  Order order(ids);
  for (const eParam_t id : ids) order.Append(id);
  return order.Take();
}

}  // namespace programs
