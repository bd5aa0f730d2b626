// The factories of the two kinds of parameter values. A constructed factory has registered itself;
// the registry owns it from then on.
#pragma once

#include "libconfig/base/Export.h"
#include "libconfig/serialization/ClassFactory.h"
#include "libconfig/values/IntegerValue.h"
#include "libconfig/values/StringValue.h"

// Hands out one object, its prototype, over and over.
template <typename T>
class PrototypeFactory : public ClassFactory {
 public:
  explicit PrototypeFactory(eClassID_t classID) : ClassFactory(classID) {}

  Serializable* Create() override { return &_prototype; }
  bool IsShared() override { return true; }

 private:
  T _prototype;
};

class LIBCONFIG_API IntegerFactory : public PrototypeFactory<IntegerValue> {
 public:
  IntegerFactory() : PrototypeFactory(eClassID_IntegerValue) { Register(this); }
};

class LIBCONFIG_API StringFactory : public PrototypeFactory<StringValue> {
 public:
  StringFactory() : PrototypeFactory(eClassID_StringValue) { Register(this); }
};
