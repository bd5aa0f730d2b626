// The classes that the library itself can read from a stream.
#include "libconfig/serialization/ClassFactory.h"
#include "libconfig/values/RecordFactories.h"
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
