// Stopwatch, arithmetic on times, and the trace of time stamps.

#include <algorithm>
#include <climits>
#include <limits>

#include "libconfig/support/CTimeVal.h"
#include "libconfig/support/TimeTrace.h"
#include "tests/support/TestClock.h"
#include "tests/testing/Names.h"
#include "tests/testing/Threads.h"

namespace {

struct Time : timeval {
  Time(long seconds, long microseconds) : timeval{seconds, microseconds} {}
  explicit Time(const timeval& time) : timeval(time) {}
  bool operator==(const Time& other) const {
    return tv_sec == other.tv_sec && tv_usec == other.tv_usec;
  }
};
std::ostream& operator<<(std::ostream& out, const Time& time) {
  return out << time.tv_sec << " s " << time.tv_usec << " us";
}

Time Added(Time time, unsigned long microseconds) {
  EXPECT_EQ(&time, CTimeVal::timeval_add_usec(&time, microseconds));
  return time;
}

TEST(CTimeVal, CarriesOnlyBeyondAWholeSecond) {
  EXPECT_EQ(Time(5, 1000000), Added({5, 999999}, 1)) << "exactly a second stays where it is";
  EXPECT_EQ(Time(6, 1), Added({5, 999999}, 2));
  EXPECT_EQ(Time(4294, 967295), Added({0, 0}, 4294967295UL));
  Time sum(1, 600000);
  Time more(2, 400000);
  CTimeVal::timeval_addto(&sum, &more);
  EXPECT_EQ(Time(3, 1000000), sum);
  Time result(9, 9);
  Time last(1, 600001);
  CTimeVal::timeval_add(&result, &last, &more);
  EXPECT_EQ(Time(4, 1), result);
}

TEST(CTimeVal, SubtractsWithBorrowAndTellsTheSign) {
  const auto difference = [](Time x, Time y, int negative) {
    Time result(0, 0);
    EXPECT_EQ(negative, CTimeVal::timeval_subtract(&result, &x, &y));
    return result;
  };
  EXPECT_EQ(Time(0, 800000), difference({5, 100000}, {4, 300000}, 0));
  EXPECT_EQ(Time(-1, 999999), difference({5, 0}, {5, 1}, 1));
  EXPECT_EQ(Time(1, 1000000), difference({5, 1000000}, {4, 0}, 0)) << "strictly greater, again";
  Time result(0, 0);
  Time x(5, 0);
  Time y(3, 1);
  CTimeVal::timeval_subtract(&result, &x, &y);
  EXPECT_EQ(Time(4, -999999), y) << "what is taken off is normalised in place";
}

TEST(CTimeVal, CountsMillisecondsWithoutWrapping) {
  const auto milliseconds = [](Time x, Time y) { return CTimeVal::timeval_subtract(&x, &y); };
  EXPECT_EQ(1200, milliseconds({5, 300000}, {4, 100000}));
  EXPECT_EQ(999, milliseconds({5, 999}, {4, 1999}));
  EXPECT_EQ(-1001, milliseconds({4, 0}, {5, 1000}));
  EXPECT_EQ(INT_MAX, milliseconds({5000000, 0}, {0, 0}));
  EXPECT_EQ(INT_MIN, milliseconds({0, 0}, {5000000, 0}));
  constexpr long kFar = std::numeric_limits<long>::max() / 4;
  EXPECT_EQ(INT_MAX, milliseconds({kFar, 0}, {-kFar, 0}));
}

TEST(CTimeVal, ComparesTimes) {
  const auto compare = [](Time a, Time b) { return CTimeVal::timeval_compare(&a, &b); };
  EXPECT_EQ(1, compare({6, 0}, {5, 9}));
  EXPECT_EQ(0, compare({5, 9}, {6, 0}));
}

TEST(CTimeVal, WorksAsAStopwatch) {
  SetClock(1000, 500000);
  CTimeVal watch;
  watch.start();
  AdvanceClock(1234);
  EXPECT_EQ(1234, watch.get_elapsed_ms());
  EXPECT_EQ(1234, watch.get_total_ms()) << "stops a watch that is running";
  AdvanceClock(1000);
  EXPECT_EQ(1234, watch.get_total_ms());
  EXPECT_EQ(2234, watch.get_elapsed_ms());

  CTimeVal late;
  late.start();
  EXPECT_TRUE(late > watch);
  EXPECT_FALSE(watch > late);
  EXPECT_TRUE(watch > watch) << "equal times count as greater";
}

std::string Printed() {
  CaptureStderr();
  print_timevals();
  return GetCapturedStderr();
}

TEST(TimeTrace, PrintsElapsedTimeAndTheTimeSinceTheEntryBefore) {
  const std::string header = "=========== Printing timevals ===============\n";
  clear_timevals();
  EXPECT_EQ(header + "timeval: elapsed 0, delta 0 - (null)\n", Printed());
  SetClock(1000, 0);
  save_timeval("begin");
  AdvanceClock(1500);
  save_timeval("middle");
  AdvanceClock(20);
  save_timeval("100% done");
  EXPECT_EQ(header +
                "timeval: elapsed 0, delta 0 - begin\n"
                "timeval: elapsed 1500, delta 1500 - middle\n"
                "timeval: elapsed 1520, delta 20 - 100% done\n",
            Printed());
}

TEST(TimeTrace, KeepsWhatEveryThreadSavesAndIgnoresWhatDoesNotFit) {
  clear_timevals();
  OnThreads(4, [](int) {
    for (int i = 0; i < 25000; ++i) save_timeval("entry");
  });
  for (int i = 0; i < 2399; ++i) save_timeval("entry");
  save_timeval("last");
  save_timeval("too much");
  const std::string text = Printed();
  EXPECT_EQ(102400 + 1, std::count(text.begin(), text.end(), '\n'));
  EXPECT_EQ(text.size() - 5, text.rfind("last\n"));
  EXPECT_EQ(std::string::npos, text.find("(null)"));
  clear_timevals();
}

}  // namespace
