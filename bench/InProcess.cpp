// A store in the same process: what a read and a change of a number cost. Google Benchmark keeps
// the time.
#include <benchmark/benchmark.h>
#include <semaphore.h>

#include <algorithm>
#include <map>
#include <random>
#include <stdexcept>
#include <vector>

#include "bench/Allocations.h"
#include "bench/Figure.h"
#include "libconfig/libconfig.h"

namespace bench {
namespace {

constexpr std::size_t kKeys = 200;

// Both sides go through their keys in a random order, again and again.
template <typename T>
std::vector<T> Shuffled(std::vector<T> values) {
  std::shuffle(values.begin(), values.end(), std::mt19937(20250117));
  return values;
}

class Store {
 public:
  Store() : _config(ConfigFactoryImpl::GetInstance()->Connect("local:configid=9001")) {}
  ~Store() { ConfigFactoryImpl::GetInstance()->Disconnect(_config); }
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  Config* operator->() { return _config; }

 private:
  Config* const _config;
};

class CountingListener : public ConfigEventListener {
 public:
  using ConfigEventListener::ParamChanged;
  void ParamChanged(eParam_t, unsigned int, timeval) override { ++heard; }
  void ParamChanged(eParam_t, std::string, timeval) override { ++heard; }
  std::size_t heard = 0;
};

// A change that the store takes: one event each.
struct Change {
  eParam_t param;
  unsigned int value;
};

std::vector<eParam_t> Numbers() {
  std::vector<eParam_t> numbers;
  for (const eParam_t param : GetParamIDs()) {
    if (dynamic_cast<IntegerDescriptor*>(FindDescriptor(param)) != nullptr) {
      numbers.push_back(param);
    }
  }
  return Shuffled(numbers);
}

// Two values for every number that nothing depends on, all the first ones before all the second, so
// that each changes something.
std::vector<Change> Changes() {
  std::vector<Change> first;
  std::vector<Change> second;
  for (const eParam_t param : Numbers()) {
    auto* const number = static_cast<IntegerDescriptor*>(FindDescriptor(param));
    if (!number->Dependents().empty()) continue;
    unsigned int a = number->GetMinValue();
    unsigned int b = number->GetMaxValue();
    if (const auto* const choices = dynamic_cast<EnumDescriptor*>(number)) {
      const auto values = choices->GetEnumValueDescriptors();
      if (values.empty()) continue;
      a = values.begin()->first;
      b = values.rbegin()->first;
    }
    first.push_back({param, a});
    second.push_back({param, b});
  }
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

// Keeps the medians that Google Benchmark arrives at, in the order of the benchmarks.
class MedianReporter : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.aggregate_name == "median") _medians[run.run_name.function_name] = Nanoseconds(run);
    }
  }
  double Get(const char* name) const {
    const auto found = _medians.find(name);
    if (found == _medians.end()) throw std::runtime_error("no result from the benchmark library");
    return found->second;
  }

 private:
  static double Nanoseconds(const Run& run) {
    return run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1e9;
  }
  std::map<std::string, double> _medians;
};

// Times `operation` against one lookup in a map of 200 keys and one semaphore pair.
template <typename Operation>
Measurement AgainstLookup(Operation operation) {
  static const bool initialized = [] {
    char program[] = "bench";
    char time[] = "--benchmark_min_time=0.02";
    char repetitions[] = "--benchmark_repetitions=25";
    char turns[] = "--benchmark_enable_random_interleaving=true";
    char* arguments[] = {program, time, repetitions, turns, nullptr};
    int count = 4;
    benchmark::Initialize(&count, arguments);
    return true;
  }();
  static_cast<void>(initialized);

  std::map<eParam_t, void*> map;
  std::vector<eParam_t> keys;
  for (const eParam_t param : GetParamIDs()) {
    if (keys.size() == kKeys) break;
    keys.push_back(param);
    map.emplace(param, &map);
  }
  keys = Shuffled(keys);
  sem_t semaphore;
  ::sem_init(&semaphore, 0, 1);
  const auto lookup = [&map, &keys, &semaphore, next = std::size_t{0}]() mutable {
    ::sem_wait(&semaphore);
    benchmark::DoNotOptimize(map.find(keys[next])->second);
    ::sem_post(&semaphore);
    if (++next == keys.size()) next = 0;
  };

  benchmark::ClearRegisteredBenchmarks();
  // Copies run: both keep their place in the keys to themselves.
  benchmark::RegisterBenchmark("subject", [operation](benchmark::State& state) {
    Operation own = operation;
    for (auto _ : state) own();
  });
  benchmark::RegisterBenchmark("reference", [lookup](benchmark::State& state) {
    auto own = lookup;
    for (auto _ : state) own();
  });
  MedianReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  ::sem_destroy(&semaphore);
  return {reporter.Get("subject"), reporter.Get("reference")};
}

// What one of many operations takes from the heap on average.
template <typename Operation>
Measurement AllocationsOf(Operation operation) {
  constexpr std::size_t kOperations = 10000;
  for (std::size_t i = 0; i < kOperations; ++i) operation();
  const std::size_t before = CountAllocations();
  for (std::size_t i = 0; i < kOperations; ++i) operation();
  return {static_cast<double>(CountAllocations() - before) / kOperations, 0};
}

template <typename Measure>
Measurement WithGet(Measure measure) {
  Store store;
  return measure([&store, params = Numbers(), next = std::size_t{0}]() mutable {
    benchmark::DoNotOptimize(store->Get(params[next]));
    if (++next == params.size()) next = 0;
  });
}

template <typename Measure>
Measurement WithSet(Measure measure) {
  Store store;
  CountingListener listener;
  store->AddConfigEventListener(&listener);
  std::size_t sets = 0;
  const Measurement result =
      measure([&store, &sets, changes = Changes(), next = std::size_t{0}]() mutable {
        store->Set(changes[next].param, changes[next].value);
        ++sets;
        if (++next == changes.size()) next = 0;
      });
  store->RemoveConfigEventListener(&listener);
  if (listener.heard != sets) throw std::runtime_error("a change was not announced once");
  return result;
}

}  // namespace

Measurement MeasureGet() {
  return WithGet([](auto get) { return AgainstLookup(get); });
}

Measurement MeasureSet() {
  return WithSet([](auto set) { return AgainstLookup(set); });
}

Measurement CountAllocationsOfGet() {
  return WithGet([](auto get) { return AllocationsOf(get); });
}

Measurement CountAllocationsOfSet() {
  return WithSet([](auto set) { return AllocationsOf(set); });
}

}  // namespace bench
