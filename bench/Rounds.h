// Measuring on a machine that others use too: subject and reference take turns, many times, and the
// medians of both are compared.
#pragma once

#include <algorithm>
#include <chrono>
#include <vector>

#include "bench/Figure.h"

namespace bench {

inline double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

// How long `work` takes, in nanoseconds.
template <typename Work>
double Time(Work work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - begin).count();
}

// Each call of `subject` and `reference` returns one sample. Who goes first changes from round to
// round; the first rounds only warm up.
template <typename Subject, typename Reference>
Measurement TakeTurns(int rounds, Subject subject, Reference reference) {
  const int warmUp = rounds / 10 + 1;
  std::vector<double> subjects;
  std::vector<double> references;
  for (int round = -warmUp; round < rounds; ++round) {
    double a = 0;
    double b = 0;
    if (round % 2 == 0) a = subject();
    b = reference();
    if (round % 2 != 0) a = subject();
    if (round < 0) continue;
    subjects.push_back(a);
    references.push_back(b);
  }
  return {Median(std::move(subjects)), Median(std::move(references))};
}

}  // namespace bench
