// The classes that the library itself can read from a stream.
#include "libconfig/serialization/ClassFactory.h"
#include "libconfig/values/ValueFactories.h"

void ClassFactory::RegisterLibraryFactories() {
  new IntegerFactory;
  new StringFactory;
}
