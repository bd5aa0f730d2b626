// The two oldest operations of Config, apart so that their places in its interface never move.
#pragma once

#include "libconfig/base/Export.h"
#include "libconfig/descriptors/ParamIDs.h"

class LIBCONFIG_API ConfigLegacy {
 public:
  virtual ~ConfigLegacy() = default;
  // Non-zero on success.
  virtual int Set(eParam_t param, unsigned int value) = 0;
  // The value; 0 also when it cannot be read.
  virtual unsigned int Get(eParam_t param) = 0;
};
