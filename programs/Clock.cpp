#include "programs/Clock.h"

#include <cstdio>
#include <ctime>

namespace programs {
namespace {

std::string Format(const char* format, const tm& moment, long microseconds) {
  char text[48];
  const std::size_t length = std::strftime(text, sizeof text, format, &moment);
  std::snprintf(text + length, sizeof text - length, ".%03ld", microseconds / 1000);
  return text;
}

}  // namespace

timeval Now() {
  timeval now;
  ::gettimeofday(&now, nullptr);
  return now;
}

std::string LocalTime(timeval when) {
  const time_t seconds = when.tv_sec;
  tm local = {};
  ::localtime_r(&seconds, &local);
  return Format("%Y-%m-%d %H:%M:%S", local, when.tv_usec);
}

std::string UniversalTime(timeval when) {
  const time_t seconds = when.tv_sec;
  tm universal = {};
  ::gmtime_r(&seconds, &universal);
  return Format("%Y-%m-%dT%H:%M:%S", universal, when.tv_usec) + "Z";
}

}  // namespace programs
