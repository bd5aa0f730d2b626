// The families of proxies: the rows of each, and which selector its proxies go by. CProxyMap and
// CSurrogateMap are two sets of these families, with a typed registration and lookup for each.
// Internal.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "libconfig/descriptors/ParamIDs.h"

namespace qel::config {

// In the order in which GetConcreteParams lists them.
enum class Family {
  kIP,
  kWifiIP,
  kTimecodeIn,
  kCurrentClip,
  kOutputFormat,
  kOutputTiming,
  kProcAmp,
  kAudioScratchpad,  // without a selector: all rows are at 0
  kAudioFollowVideo,
};

// Which parameter each proxy of a family stands for, by the value of the selector. No locks: filled
// before it is shared.
class ProxyFamilies {
 public:
  // The first row for a proxy and a value stays. The address families take no rows for anything but
  // their adapter's address, mask and gateway.
  void Add(Family family, eParam_t proxy, uint32_t value, eParam_t concrete);
  // `proxy` itself when there is no row.
  eParam_t Find(Family family, eParam_t proxy, uint32_t value) const;
  // All that `proxy` can stand for, by family and value.
  std::vector<eParam_t> GetConcretes(eParam_t proxy) const;

 private:
  struct Key {
    eParam_t proxy;
    Family family;
    uint32_t value;
    bool operator<(const Key& other) const;
  };
  std::map<Key, eParam_t> _rows;
};

// How a proxy is resolved.
struct Resolution {
  eParam_t proxy;
  eParam_t selector;
  Family family;
};

// Null for what is no proxy. Any thread.
const Resolution* FindResolution(eParam_t id);

const std::vector<Resolution>& GetResolutions();

}  // namespace qel::config
