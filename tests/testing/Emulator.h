// Tests of the device run here under an emulator of processes. It cannot let one of them become
// another program of its kind, so that each is started through the words in TEST_EMULATOR.
#pragma once

#include <unistd.h>

#include <cstdlib>

namespace testing_support {

// Null where processes are not emulated.
inline const char* Emulator() { return std::getenv("TEST_EMULATOR"); }

// A shell of the host does not start programs of the target, and a bare system has none.
inline bool CanUseShell() { return Emulator() == nullptr && ::access("/bin/sh", X_OK) == 0; }

// For death tests that want a process in which nothing has happened yet; under the emulator they
// have it as long as each test has a process of its own.
inline const char* FreshDeathTestStyle() { return Emulator() == nullptr ? "threadsafe" : "fast"; }

}  // namespace testing_support
