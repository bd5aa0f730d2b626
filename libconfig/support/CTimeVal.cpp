#include "libconfig/support/CTimeVal.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace {

constexpr int64_t kMicroseconds = 1000000;

int64_t FloorDivide(int64_t a, int64_t b) { return a / b - (a % b < 0 ? 1 : 0); }

}  // namespace

int CTimeVal::timeval_subtract(timeval* result, timeval* x, timeval* y) {
  if (x->tv_usec < y->tv_usec) {
    const auto seconds = (y->tv_usec - x->tv_usec) / kMicroseconds + 1;
    y->tv_usec -= kMicroseconds * seconds;
    y->tv_sec += seconds;
  }
  if (x->tv_usec - y->tv_usec > kMicroseconds) {
    const auto seconds = (x->tv_usec - y->tv_usec) / kMicroseconds;
    y->tv_usec += kMicroseconds * seconds;
    y->tv_sec -= seconds;
  }
  result->tv_sec = x->tv_sec - y->tv_sec;
  result->tv_usec = x->tv_usec - y->tv_usec;
  return x->tv_sec < y->tv_sec ? 1 : 0;
}

int CTimeVal::timeval_subtract(timeval* x, timeval* y) {
  using Range = std::numeric_limits<int>;
  // Seconds beyond this are out of range whatever the microseconds say.
  constexpr int64_t kFarAway = int64_t{1} << 40;
  const int64_t seconds = std::clamp<int64_t>(
      static_cast<int64_t>(x->tv_sec) - static_cast<int64_t>(y->tv_sec), -kFarAway, kFarAway);
  const int64_t milliseconds =
      seconds * 1000 + (static_cast<int64_t>(x->tv_usec) - static_cast<int64_t>(y->tv_usec)) / 1000;
  return static_cast<int>(std::clamp<int64_t>(milliseconds, Range::min(), Range::max()));
}

timeval* CTimeVal::timeval_add_usec(timeval* t, unsigned long usec) {
  const auto whole = static_cast<int64_t>(usec / kMicroseconds);
  const int64_t rest = t->tv_usec + static_cast<int64_t>(usec % kMicroseconds);
  const int64_t carry = std::max<int64_t>(0, whole + FloorDivide(rest - 1, kMicroseconds));
  t->tv_sec += carry;
  t->tv_usec = rest + (whole - carry) * kMicroseconds;
  return t;
}

void CTimeVal::timeval_addto(timeval* t, timeval* add) {
  t->tv_sec += add->tv_sec;
  timeval_add_usec(t, static_cast<unsigned long>(add->tv_usec));
}

void CTimeVal::timeval_add(timeval* result, timeval* a, timeval* b) {
  const auto usec = static_cast<unsigned long>(a->tv_usec + b->tv_usec);
  result->tv_sec = a->tv_sec + b->tv_sec;
  result->tv_usec = 0;
  timeval_add_usec(result, usec);
}

int CTimeVal::timeval_compare(timeval* a, timeval* b) {
  if (a->tv_sec != b->tv_sec) return a->tv_sec > b->tv_sec ? 1 : 0;
  return a->tv_usec >= b->tv_usec ? 1 : 0;
}

void CTimeVal::start() {
  ::gettimeofday(&_start, nullptr);
  _stop = {};
}

void CTimeVal::stop() { ::gettimeofday(&_stop, nullptr); }

int CTimeVal::get_elapsed_ms() {
  timeval now;
  ::gettimeofday(&now, nullptr);
  return timeval_subtract(&now, &_start);
}

int CTimeVal::get_total_ms() {
  if (_stop.tv_sec == 0 && _stop.tv_usec == 0) stop();
  return timeval_subtract(&_stop, &_start);
}

CTimeVal& CTimeVal::operator+=(CTimeVal other) {
  timeval_addto(&_start, &other._start);
  return *this;
}

bool CTimeVal::operator>(CTimeVal other) { return isGT(*this, other); }

bool CTimeVal::operator<=(CTimeVal other) { return !(*this > other); }

bool CTimeVal::isGT(CTimeVal a, CTimeVal b) { return timeval_compare(&a._start, &b._start) != 0; }
