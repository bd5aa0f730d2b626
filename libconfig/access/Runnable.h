// Something with a body that a thread can run.
#pragma once

#include "libconfig/base/Export.h"

class LIBCONFIG_API Runnable {
 public:
  virtual ~Runnable() = default;
  virtual void Run() = 0;
};
