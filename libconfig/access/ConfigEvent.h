// One change of a parameter, as a record that a program can keep.
#pragma once

#include <sys/time.h>

#include <string>

#include "libconfig/descriptors/ParamIDs.h"

struct ConfigEvent {
  eParam_t param = eParamID_None;
  eParamType_t type = eParamType_Unknown;
  unsigned int value = 0;   // of a number
  std::string stringValue;  // of a text
  timeval time = {};
};
