// The factories of the two kinds of parameter values. A constructed factory has registered itself;
// the registry owns it from then on.
#pragma once

#include "libconfig/base/Export.h"
#include "libconfig/values/IntegerValue.h"
#include "libconfig/values/PrototypeFactory.h"
#include "libconfig/values/StringValue.h"

class LIBCONFIG_API IntegerFactory : public PrototypeFactory<IntegerValue> {
 public:
  IntegerFactory() : PrototypeFactory(eClassID_IntegerValue) { Register(this); }
};

class LIBCONFIG_API StringFactory : public PrototypeFactory<StringValue> {
 public:
  StringFactory() : PrototypeFactory(eClassID_StringValue) { Register(this); }
};
