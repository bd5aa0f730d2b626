// A stopwatch on the wall clock, and arithmetic on timeval. Times are seconds and microseconds. No
// locks: one thread at a time. The wall clock may be set back, and a time is then negative.
//
//   CTimeVal watch;
//   watch.start();
//   const int milliseconds = watch.get_elapsed_ms();
#pragma once

#include <sys/time.h>

#include "libconfig/base/Export.h"

class LIBCONFIG_API CTimeVal {
 public:
  CTimeVal() = default;
  virtual ~CTimeVal() = default;
  CTimeVal(const CTimeVal&) = default;
  CTimeVal& operator=(const CTimeVal&) = default;

  // result = x - y, part by part. Normalises `y` in place. 1 when the difference is negative.
  static int timeval_subtract(timeval* result, timeval* x, timeval* y);
  // x - y in milliseconds, moved into the range of int.
  static int timeval_subtract(timeval* x, timeval* y);
  // Adds and carries into the seconds while the microseconds exceed 1000000: a sum of exactly
  // 1000000 stays as it is.
  static timeval* timeval_add_usec(timeval* t, unsigned long usec);
  static void timeval_addto(timeval* t, timeval* add);
  static void timeval_add(timeval* result, timeval* a, timeval* b);
  // 1 when `a` is not earlier than `b`.
  static int timeval_compare(timeval* a, timeval* b);

  void start();
  void stop();
  int get_elapsed_ms();
  // From start to stop; stops the watch if it is running.
  int get_total_ms();

  // Adds the other's start time to this one's.
  CTimeVal& operator+=(CTimeVal other);
  // By start time. Equal times count as greater, so that <= means strictly earlier.
  bool operator>(CTimeVal other);
  bool operator<=(CTimeVal other);
  static bool isGT(CTimeVal a, CTimeVal b);

 private:
  timeval _start = {};
  timeval _stop = {};  // zero while the watch is running
};
