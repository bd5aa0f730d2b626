#include "libconfig/values/RecordFactories.h"

#include "libconfig/base/Diagnostics.h"
#include "libconfig/values/PackageHeader.h"
#include "libconfig/values/PresetsParamVector.h"
#include "libconfig/values/SectorHeader.h"
#include "libconfig/values/Vector.h"

Serializable* SectorHeaderFactory::Create() {
  static auto* const header = new SectorHeader;
  return header;
}

namespace qel::config::values {

Serializable* VectorFactory::Create() {
  Report("VectorFactory::Create - return new Vector()\n");
  return new Vector;
}

Serializable* PresetsFactory::Create() {
  if (_policy == ePresetsPolicy_ParamVector) return new PresetsParamVector;
  Report("PresetsFactory::Create - unknown policy %d, unable to create Presets instance\n",
         static_cast<int>(_policy));
  return nullptr;
}

Serializable* PackageHeaderFactory::Create() {
  // Tools look for this text, wrong name included.
  Report("PackageHeaderFactory::Create - return new Vector()\n");
  return new PackageHeader;
}

}  // namespace qel::config::values
