// A stored value put into force.
#pragma once

#include "libconfig/libconfig.h"

// Sets the parameter of `value` to it. True when the store then holds exactly that: a value of
// another kind, one that the catalogue does not allow and one that had to be clamped are not.
bool GiveValue(Config& store, ConfigValue& value);

// Whether the store holds exactly that already.
bool HasValue(Config& store, ConfigValue& value);
