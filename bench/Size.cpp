// What every process pays before it does anything: the catalogue's time, a store's memory. Each
// sample is a process of its own, because the second catalogue finds warm memory, and the second
// store the values of the first.
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>

#include "bench/Rounds.h"
#include "libconfig/libconfig.h"

namespace bench {
namespace {

constexpr char kCatalogue[] = "catalogue";
constexpr char kStore[] = "store";
constexpr int kProcesses = 21;
constexpr int kStores = 16;

double HeapInUse() {
  const auto info = ::mallinfo2();
  return static_cast<double>(info.uordblks + info.hblkhd);
}

double HeapOfAStore() {
  CreateDescriptors();
  std::vector<std::shared_ptr<ConfigManager>> stores;
  stores.reserve(kStores);
  const double before = HeapInUse();
  for (int i = 0; i < kStores; ++i) {
    stores.push_back(std::make_shared<ConfigManager>(static_cast<eConfigID_t>(i)));
    stores.back()->Init();
  }
  return (HeapInUse() - before) / kStores;
}

double MeasureInNewProcess(const char* what) {
  char program[4096];
  const ssize_t length = ::readlink("/proc/self/exe", program, sizeof program);
  if (length <= 0) throw std::runtime_error("/proc/self/exe cannot be read");
  const std::string command =
      "'" + std::string(program, static_cast<std::size_t>(length)) + "' --here " + what;
  std::FILE* const output = ::popen(command.c_str(), "re");
  if (output == nullptr) throw std::runtime_error("no new process can be started");
  double value = 0;
  const int found = std::fscanf(output, "%lf", &value);
  if (::pclose(output) != 0 || found != 1) throw std::runtime_error("the new process failed");
  return value;
}

double MedianOfProcesses(const char* what) {
  std::vector<double> values(kProcesses);
  for (double& value : values) value = MeasureInNewProcess(what);
  return Median(std::move(values));
}

}  // namespace

double MeasureHere(const char* what) {
  if (std::strcmp(what, kCatalogue) == 0) return Time([] { CreateDescriptors(); });
  if (std::strcmp(what, kStore) == 0) return HeapOfAStore();
  throw std::invalid_argument("nothing of that name is measured in a process of its own");
}

Measurement MeasureCatalogue() { return {MedianOfProcesses(kCatalogue), 0}; }

Measurement MeasureStore() { return {MedianOfProcesses(kStore), 0}; }

}  // namespace bench
