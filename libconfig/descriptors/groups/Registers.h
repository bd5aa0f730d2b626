// What the presets' commands and results have in common. Internal.
#pragma once

#include "libconfig/descriptors/groups/ParamRow.h"

namespace qel::config {

// The states that all results count in, whatever labels they show.
enum RegisterResult : unsigned {
  kRegisterBusy = 1,
  kRegisterComplete = 2,
  kRegisterFailed = 3,
  kRegisterEmpty = 4,
};

// A command takes the number of a preset. The range is open: a number that was clamped would
// overwrite somebody else's preset.
constexpr ParamRow RegisterCommand(ParamName param, const char* name, const char* shortName) {
  return Integer(param, name, shortName, 0, 0xFFFFFFFF, 0).Keep(Keeping::kState).Tagged(kVolatile);
}

constexpr ParamRow RegisterResultOf(ParamName param, const char* name, const char* shortName,
                                    Choices choices, unsigned factoryDefault) {
  return Enum(param, name, shortName, choices, factoryDefault)
      .Keep(Keeping::kState)
      .Tagged(kReadOnly | kVolatile);
}

}  // namespace qel::config
