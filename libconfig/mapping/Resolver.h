// Which selector each proxy goes by, and which family of CProxyMap its rows are in. Internal.
#pragma once

#include <vector>

#include "libconfig/mapping/CProxyMap.h"

namespace qel::config {

struct Resolution {
  eParam_t proxy;
  eParam_t selector;
  eParam_t (*lookUp)(const CProxyMap& map, eParam_t proxy, uint32_t value);
};

// Null for what is no proxy. Any thread.
const Resolution* FindResolution(eParam_t id);

const std::vector<Resolution>& GetResolutions();

}  // namespace qel::config
