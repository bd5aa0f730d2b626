// One named choice of an enumerated parameter. The default constructed record is what lookups of an
// absent value return.
#pragma once

#include <string>

struct EnumValueDescriptor {
  unsigned int value = 99999;
  std::string name = "Invalid";
  std::string shortName = "Invalid";
};
