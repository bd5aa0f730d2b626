// The factories of stored records and presets. A constructed factory has registered itself; the
// registry owns it from then on.
#pragma once

#include "libconfig/base/Export.h"
#include "libconfig/values/Checkpoint.h"
#include "libconfig/values/ValueFactories.h"

// Shares one header, made on the first call, whose fields are zero until a reader fills them.
class LIBCONFIG_API SectorHeaderFactory : public ClassFactory {
 public:
  SectorHeaderFactory() : ClassFactory(eClassID_SectorHeader) { Register(this); }
  Serializable* Create() override;
  bool IsShared() override { return true; }
};

class LIBCONFIG_API CheckpointFactory : public PrototypeFactory<Checkpoint> {
 public:
  CheckpointFactory() : PrototypeFactory(eClassID_Checkpoint) { Register(this); }
};

namespace qel::config::values {

// What kind of presets a factory makes. Do not renumber.
enum ePresetsPolicy : int32_t {
  ePresetsPolicy_ParamVector = 1,  // PresetsParamVector
};

class LIBCONFIG_API VectorFactory : public ClassFactory {
 public:
  VectorFactory() : ClassFactory(eClassID_Vector) { Register(this); }
  Serializable* Create() override;
};

class LIBCONFIG_API PresetsFactory : public ClassFactory {
 public:
  explicit PresetsFactory(ePresetsPolicy policy) : ClassFactory(eClassID_Presets), _policy(policy) {
    Register(this);
  }
  // Null, with a message, for a policy that it does not know.
  Serializable* Create() override;

 private:
  const ePresetsPolicy _policy;
};

class LIBCONFIG_API PackageHeaderFactory : public ClassFactory {
 public:
  PackageHeaderFactory() : ClassFactory(eClassID_PackageHeader) { Register(this); }
  Serializable* Create() override;
};

}  // namespace qel::config::values
