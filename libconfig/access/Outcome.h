// Why the last operation on a configuration ended as it did, for the calling thread: what errno is
// to a system call. Config's operations answer 0 for every failure, and some answer 0 for a value,
// too; this tells them apart, through caches, mapped configurations and other wrappers.
//
//   if (config->Set(param, text) == 0 && LastOutcome() == Outcome::kTooLong) ...
//
// The configurations of this library set it in Get and Set; a program's own Config need not. It is
// valid until the thread's next operation on any configuration.
#pragma once

#include "libconfig/base/Export.h"
#include "libconfig/descriptors/ParamIDs.h"

class Config;

namespace qel::config {

enum class Outcome {
  kUnknown,       // no operation of a configuration of this library
  kDone,          // over TCP a Set is done when it was sent, whatever the store does with it
  kRefused,       // by the store, or there is no such value
  kNoConnection,  // it has ended, or the request could not be sent
  kNoAnswer,      // in time
  kTooLong,       // the text does not fit into a record, and was not sent
};

LIBCONFIG_API Outcome LastOutcome();

// For implementations of Config.
LIBCONFIG_API void SetOutcome(Outcome outcome);

// Reads a number and tells whether that succeeded, also where 0 is both a value and a failure. A
// Config that sets no outcome and fails in the read with a result is asked by the plain one, whose
// 0 counts as a failure. `value` is as it was on failure.
LIBCONFIG_API bool TryGet(Config& config, eParam_t param, unsigned int& value);

}  // namespace qel::config
