// Moments as they stand in lines and records.
#pragma once

#include <sys/time.h>

#include <string>

namespace programs {

timeval Now();

// By this machine's clock and time zone: "2025-06-01 14:07:21.250".
std::string LocalTime(timeval when);
// In UTC, for machines: "2025-06-01T12:07:21.250Z".
std::string UniversalTime(timeval when);

}  // namespace programs
