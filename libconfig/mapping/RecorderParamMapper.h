// The recorder's proxies for a MappingConfig: CParamMapper's way forward, and a table back from
// each parameter to the proxies that it touches, made once with the mapper.
#pragma once

#include <memory>
#include <vector>

#include "libconfig/base/Export.h"
#include "libconfig/mapping/ParamMapper.h"

class CParamMapper;

namespace quarn::mapper {

class LIBCONFIG_API RecorderParamMapper : public qel::vorlane::config::access::ParamMapper {
 public:
  // Resolves nothing until it has a configuration to read through.
  explicit RecorderParamMapper(Config* config = nullptr);
  ~RecorderParamMapper() override;
  RecorderParamMapper(const RecorderParamMapper&) = delete;
  RecorderParamMapper& operator=(const RecorderParamMapper&) = delete;

  eParam_t MapParamID(eParam_t id) override;
  // For a parameter that proxies can stand for, these proxies, whether or not they stand for it
  // now; for a selector, the proxies that go by it; for a proxy, itself, because an event that a
  // store fires under the proxy's own identifier does not carry the value in force. Ascending.
  std::vector<eParam_t> ParamsChangedBy(eParam_t id) override;
  // REQUIRES: no other thread uses the mapper yet.
  void UseConfig(Config* config) override;

 private:
  struct Reverse;
  std::unique_ptr<const CParamMapper> _forward;
  const std::unique_ptr<const Reverse> _reverse;
};

}  // namespace quarn::mapper
