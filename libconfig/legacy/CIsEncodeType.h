// Sorts encoder types, the values of eParamID_EncodeType, into codec families. Any thread.
#pragma once

#include "libconfig/base/Export.h"

class LIBCONFIG_API CIsEncodeType {
 public:
  static bool isEncodeTypeProRes422(unsigned int type);
  static bool isEncodeTypeDNxHD(unsigned int type);
  // True when one is of the first family and the other of the second; a type of neither never
  // differs.
  static bool areEncodeTypesDifferentCodecs(unsigned int a, unsigned int b);
};
