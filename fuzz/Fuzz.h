// What the fuzz targets share. A target is a function in one of the sources here; each is a program
// of its own, so that the corpora stay apart.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace fuzz {

using Bytes = std::vector<char>;

// A property that must hold for every input.
inline void Require(bool holds) {
  if (!holds) __builtin_trap();
}

// Stands between the messages of an input. A mark rather than lengths, which the fuzzer could not
// insert and remove bytes without breaking.
constexpr char kMark[] = "|--|";

std::deque<Bytes> Split(const uint8_t* data, size_t size);

// The other end of every socket and queue of the program: the system's calls are linked to this
// instead, so that nothing waits, nothing has a name, and a run takes microseconds. What the code
// under test sends is dropped.
struct Peer {
  static Peer& Instance();

  // What it will have sent; messages of a queue, datagrams, or pieces of a stream. Behind the last
  // a stream has ended, and everything else fails.
  std::deque<Bytes> messages;
  // Called when more is asked for.
  std::function<void()> onEnd;
};

// A file with these bytes, until the next one.
std::string FileOf(const uint8_t* data, size_t size);

}  // namespace fuzz
