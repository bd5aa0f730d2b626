// Resolves a proxy to the parameter that it stands for now, by reading the proxy's selector through
// a Config. Any thread may call that may use the Config.
#pragma once

#include "libconfig/base/Export.h"
#include "libconfig/descriptors/ParamIDs.h"

class Config;
class CProxyMap;

class LIBCONFIG_API CParamMapper {
 public:
  // `config` stays the caller's, and has to outlive the mapper. With null no selector can be read;
  // over message queues, where a value of 0 cannot be told from a failure, none that is 0.
  explicit CParamMapper(Config* config);

  // The parameter that `id` stands for; `id` itself when it is no proxy, when no row fits, and when
  // the selector cannot be read: a dead link sends nobody elsewhere. Only for a proxy is anything
  // read. A Config may have no read with a result: then another value than 0 is one, too.
  eParam_t MapParamID(eParam_t id) const;

  // The same, and tells whether the selector could be read where one was needed. On failure
  // `concrete` is `id`.
  bool Resolve(eParam_t id, eParam_t& concrete) const;

  // As MapParamID, for the parameters whose audio follows the video; there are none yet.
  eParam_t MapAFV(eParam_t id) const;

 private:
  Config* const _config;
  const CProxyMap* const _proxyMap;
};
