// What every fuzz target begins with. Include it once in a target.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <vector>

#include "libconfig/access/MessageTable.h"

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

// The next record of a transport: the first byte of `data` chooses its type, the rest is its other
// bytes, and what may follow it. Moves `data` behind it.
inline std::vector<char> NextRecord(qel::config::RecordType qel::config::MessageType::*transport,
                                    const uint8_t*& data, size_t& size) {
  const auto& row = qel::config::kMessageTypes[data[0] % std::size(qel::config::kMessageTypes)];
  const auto& type = row.*transport;
  const size_t room =
      std::max(type.size, sizeof row.type) - sizeof row.type + (type.hasStream ? 32 : 0);
  const size_t length = std::min(size - 1, room);
  std::vector<char> record(sizeof row.type + length);
  std::memcpy(record.data(), &row.type, sizeof row.type);
  std::copy_n(data + 1, length, record.begin() + sizeof row.type);
  data += 1 + length;
  size -= 1 + length;
  return record;
}
