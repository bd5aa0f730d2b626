// A factory that hands out one object, its prototype, over and over. Internal.
#pragma once

#include "libconfig/serialization/ClassFactory.h"

template <typename T>
class PrototypeFactory : public ClassFactory {
 public:
  explicit PrototypeFactory(eClassID_t classID) : ClassFactory(classID) {}

  Serializable* Create() override { return &_prototype; }

 private:
  T _prototype;
};
