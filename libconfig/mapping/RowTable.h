// The rows of one family of proxies: which parameter each of them stands for, by the value of the
// selector. No locks: filled before it is shared. Internal.
#pragma once

#include <initializer_list>
#include <map>
#include <set>
#include <vector>

#include "libconfig/descriptors/ParamIDs.h"

namespace qel::config {

class RowTable {
 public:
  RowTable() = default;
  // Takes no rows for any other proxy.
  RowTable(std::initializer_list<eParam_t> proxies) : _proxies(proxies) {}

  // The first row for a proxy and a selector value stays.
  void Add(eParam_t proxy, uint32_t selector, eParam_t concrete) {
    if (!_proxies.empty() && _proxies.count(proxy) == 0) return;
    _rows[proxy].emplace(selector, concrete);
  }

  // `proxy` itself when there is no row.
  eParam_t Find(eParam_t proxy, uint32_t selector) const {
    const auto rows = _rows.find(proxy);
    if (rows == _rows.end()) return proxy;
    const auto row = rows->second.find(selector);
    return row == rows->second.end() ? proxy : row->second;
  }

  // Appends what `proxy` can stand for, in the order of the selector's values.
  void AppendConcretes(eParam_t proxy, std::vector<eParam_t>& out) const {
    const auto rows = _rows.find(proxy);
    if (rows == _rows.end()) return;
    for (const auto& row : rows->second) out.push_back(row.second);
  }

 private:
  std::set<eParam_t> _proxies;  // empty for any
  std::map<eParam_t, std::map<uint32_t, eParam_t>> _rows;
};

}  // namespace qel::config
