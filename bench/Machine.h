// The machine that a figure was measured on.
#pragma once

#include <sched.h>

#include <string>
#include <vector>

namespace bench {

// The processors that this program may use.
std::vector<int> Cores();

// One line about the processors, the system, the load and the build.
std::string DescribeMachine();

// Binds the calling thread, and those that it starts, to one processor while it exists.
class Pinned {
 public:
  explicit Pinned(int core);
  ~Pinned();
  Pinned(const Pinned&) = delete;
  Pinned& operator=(const Pinned&) = delete;

 private:
  cpu_set_t _before;
};

}  // namespace bench
