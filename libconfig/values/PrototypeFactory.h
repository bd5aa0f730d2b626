// A factory that hands out one object, its prototype, over and over. Whoever reads into the
// prototype overwrites what the last reader left there: decode values with DecodeValue. Internal.
#pragma once

#include "libconfig/serialization/ClassFactory.h"

template <typename T>
class PrototypeFactory : public ClassFactory {
 public:
  explicit PrototypeFactory(eClassID_t classID) : ClassFactory(classID) {}

  Serializable* Create() override { return &_prototype; }
  bool IsShared() override { return true; }

 private:
  T _prototype;
};
