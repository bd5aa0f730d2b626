// Resolves a proxy to the parameter that it stands for now, by reading the proxy's selector through
// a Config. Any thread may call that may use the Config.
#pragma once

#include "libconfig/base/Export.h"
#include "libconfig/descriptors/ParamIDs.h"

class Config;
class CProxyMap;

class LIBCONFIG_API CParamMapper {
 public:
  // `config` stays the caller's, and has to outlive the mapper. With null no selector can be read.
  explicit CParamMapper(Config* config);

  // The parameter that `id` stands for; `id` itself when it is no proxy, when no row fits, and when
  // the selector cannot be read, so that a broken connection never redirects an access. Only a
  // proxy reads anything. LastOutcome() is kDone afterwards, unless a selector could not be read.
  eParam_t MapParamID(eParam_t id) const;

  // As MapParamID, for the parameters whose audio follows the video; there are none yet.
  eParam_t MapAFV(eParam_t id) const;

 private:
  Config* const _config;
  const CProxyMap* const _proxyMap;
};
