#include "bench/Machine.h"

#include <sys/utsname.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace bench {
namespace {

std::string ProcessorName() {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);) {
    if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
  }
  return "processors of unknown make";
}

}  // namespace

std::vector<int> Cores() {
  cpu_set_t allowed;
  std::vector<int> cores;
  if (::sched_getaffinity(0, sizeof allowed, &allowed) != 0) return cores;
  for (int core = 0; core < CPU_SETSIZE; ++core) {
    if (CPU_ISSET(core, &allowed)) cores.push_back(core);
  }
  return cores;
}

std::string DescribeMachine() {
  utsname system = {};
  ::uname(&system);
  double load[3] = {};
  ::getloadavg(load, 3);
  char text[400];
  std::snprintf(text, sizeof text, "%zu x %s, %s %s %s, compiler %s, load %.2f %.2f %.2f",
                Cores().size(), ProcessorName().c_str(), system.sysname, system.release,
                system.machine, __VERSION__, load[0], load[1], load[2]);
  return text;
}

Pinned::Pinned(int core) {
  cpu_set_t only;
  CPU_ZERO(&only);
  CPU_SET(core, &only);
  if (::sched_getaffinity(0, sizeof _before, &_before) != 0 ||
      ::sched_setaffinity(0, sizeof only, &only) != 0) {
    throw std::runtime_error("threads cannot be bound to a processor here");
  }
}

Pinned::~Pinned() { ::sched_setaffinity(0, sizeof _before, &_before); }

}  // namespace bench
