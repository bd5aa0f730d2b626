// A trace of time stamps to drop at interesting points of a program and print afterwards:
//
//   save_timeval("request read");
//   save_timeval("answer sent");
//   print_timevals();
//
// Saving reads the clock and stores two words, nothing more, on any thread. Print and clear while
// no thread saves. The trace holds 102400 entries and ignores what comes after.
#pragma once

#include <sys/time.h>

#include "libconfig/base/Export.h"

// `label` is kept as a pointer: REQUIRES that it outlives the trace, as a literal does.
LIBCONFIG_API void save_timeval(const char* label);
LIBCONFIG_API void clear_timevals();

// Print to standard error, in milliseconds since the first entry and since the one before.
LIBCONFIG_API void print_timeval(timeval* first, timeval* previous, timeval* current,
                                 const char* label);
LIBCONFIG_API void print_timevals();
