// Which model the code runs on. The device brings its own implementation of this class; the one in
// this folder stands in for it on any other host.
#pragma once

#include "libconfig/base/Export.h"

class LIBCONFIG_API CProductID {
 public:
  // Do not renumber: the device's other software reads these.
  enum eProductID_t : unsigned { eProduct_Quarn = 1, eProduct_Vimble = 2, eProduct_Crandle = 3 };

  eProductID_t getProductID() const;

  bool isQuarn() const;    // the full-size rack recorder
  bool isVimble() const;   // the compact recorder
  bool isCrandle() const;  // the recorder with removable cradles
};
