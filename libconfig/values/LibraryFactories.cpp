// The factories of the library's own classes, and what the class factory has to know of these.
#include "libconfig/base/Diagnostics.h"
#include "libconfig/serialization/ClassFactory.h"
#include "libconfig/values/PackageHeader.h"
#include "libconfig/values/PresetsParamVector.h"
#include "libconfig/values/RecordFactories.h"
#include "libconfig/values/SectorHeader.h"
#include "libconfig/values/ValueFactories.h"
#include "libconfig/values/Vector.h"

void ClassFactory::RegisterLibraryFactories() {
  using namespace qel::config::values;
  new IntegerFactory;
  new StringFactory;
  new SectorHeaderFactory;
  new CheckpointFactory;
  new VectorFactory;
  new PresetsFactory(ePresetsPolicy_ParamVector);
  new PackageHeaderFactory;
}

Serializable* ClassFactory::Copy(Serializable& prototype) {
  if (auto* const value = dynamic_cast<ConfigValue*>(&prototype)) return value->Clone();
  if (const auto* const header = dynamic_cast<SectorHeader*>(&prototype)) {
    return SectorHeader::Create(header->GetOdometer(), header->GetConfigVersion(),
                                header->GetLength());
  }
  if (const auto* const checkpoint = dynamic_cast<Checkpoint*>(&prototype)) {
    auto* const copy = new Checkpoint(checkpoint->GetConfigID());
    copy->SetOffset(checkpoint->GetOffset());
    return copy;
  }
  return nullptr;
}

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
