// The far ends of many streams: one thread that takes in whatever comes and counts it.
#pragma once

#include <atomic>
#include <cstddef>
#include <thread>
#include <vector>

#include "bench/Sockets.h"

namespace bench {

class Readers {
 public:
  // Their thread runs on `core`.
  Readers(std::vector<Stream> streams, int core);
  ~Readers();
  Readers(const Readers&) = delete;
  Readers& operator=(const Readers&) = delete;

  // Waits until `bytes` more than at the last call are in, all streams together. Throws when they
  // do not come within ten seconds.
  void Await(std::size_t bytes);

 private:
  void Run();

  std::vector<Stream> _streams;
  int _poll = -1;
  int _end = -1;
  std::atomic<std::size_t> _received{0};
  std::size_t _awaited = 0;
  std::thread _thread;
};

}  // namespace bench
