#include "libconfig/support/TimeTrace.h"

#include <atomic>
#include <cstring>

#include "libconfig/base/Diagnostics.h"
#include "libconfig/support/CTimeVal.h"

using qel::config::Report;

namespace {

constexpr int kEntries = 102400;

timeval g_times[kEntries];
const char* g_labels[kEntries];
std::atomic<int> g_count{0};

}  // namespace

void save_timeval(const char* label) {
  int entry = g_count.load(std::memory_order_relaxed);
  do {
    if (entry >= kEntries) return;
  } while (!g_count.compare_exchange_weak(entry, entry + 1, std::memory_order_relaxed));
  ::gettimeofday(&g_times[entry], nullptr);
  g_labels[entry] = label;
}

void clear_timevals() {
  std::memset(g_times, 0, sizeof g_times);
  std::memset(g_labels, 0, sizeof g_labels);
  g_count = 0;
}

void print_timeval(timeval* first, timeval* previous, timeval* current, const char* label) {
  Report("timeval: elapsed %ld, delta %ld - %s\n",
         static_cast<long>(CTimeVal::timeval_subtract(current, first)),
         static_cast<long>(CTimeVal::timeval_subtract(current, previous)),
         label != nullptr ? label : "(null)");
}

void print_timevals() {
  Report("=========== Printing timevals ===============\n");
  print_timeval(&g_times[0], &g_times[0], &g_times[0], g_labels[0]);
  const int count = g_count;
  for (int i = 1; i < count; ++i) {
    print_timeval(&g_times[0], &g_times[i - 1], &g_times[i], g_labels[i]);
  }
}
