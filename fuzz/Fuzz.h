// What every fuzz target begins with. Include it once in a target.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// The library reports each refusal on standard error, thousands a second here. The fuzzer keeps its
// own way to the terminal when it is asked to close that of the code under test.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  static char quiet[] = "-close_fd_mask=2";
  static std::vector<char*> arguments(*argv, *argv + *argc);
  arguments.insert(arguments.begin() + 1, quiet);
  arguments.push_back(nullptr);
  *argc = static_cast<int>(arguments.size()) - 1;
  *argv = arguments.data();
  return 0;
}

// A property that must hold for every input.
inline void Require(bool holds) {
  if (!holds) __builtin_trap();
}
