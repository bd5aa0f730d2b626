#include "libconfig/support/TimeTrace.h"

#include <cstring>

#include "libconfig/base/Diagnostics.h"
#include "libconfig/support/CTimeVal.h"

using qel::config::Report;

namespace {

constexpr int kEntries = 102400;

timeval g_times[kEntries];
const char* g_labels[kEntries];
int g_count = 0;

}  // namespace

void save_timeval(const char* label) {
  if (g_count == 0) clear_timevals();
  if (g_count >= kEntries) return;
  ::gettimeofday(&g_times[g_count], nullptr);
  g_labels[g_count] = label;
  ++g_count;
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
         label != nullptr ? label : "");
}

void print_timevals() {
  Report("=========== Printing timevals ===============\n");
  print_timeval(&g_times[0], &g_times[0], &g_times[0], g_labels[0]);
  for (int i = 1; i < g_count; ++i) {
    print_timeval(&g_times[0], &g_times[i - 1], &g_times[i], g_labels[i]);
  }
}
