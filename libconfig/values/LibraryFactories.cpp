// What the class factory has to know of the library's own classes.
#include "libconfig/serialization/ClassFactory.h"
#include "libconfig/values/RecordFactories.h"
#include "libconfig/values/SectorHeader.h"
#include "libconfig/values/ValueFactories.h"

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
