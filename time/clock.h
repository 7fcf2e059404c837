// The clock as the library reads it, right on 32-bit hosts after 2038-01-19 03:14:07 UTC too.
//
// There the C library's time() and gettimeofday() fail with EOVERFLOW; then, and only then, the low 32
// bits of the kernel's 64-bit clock are taken, and local time is reckoned by an earlier year of the same
// calendar.

#ifndef ORLA_TIME_CLOCK_H
#define ORLA_TIME_CLOCK_H

#include <sys/time.h>

#include <cerrno>
#include <cstdint>
#include <ctime>

namespace orla {

// Seconds since 1970-01-01 00:00:00 UTC, the low 32 bits; 0 when there is no clock.
std::uint32_t clock_seconds();

// A moment: seconds as clock_seconds() gives them, and 0 to 999,999 microseconds.
struct ClockInstant {
  std::uint32_t seconds;
  std::uint32_t microseconds;
};

// What clock_instant() answers when gettimeofday() has failed; puts errno back.
[[gnu::cold]] ClockInstant clock_instant_without_c_library(int caller_errno);

// The present moment; all zero when there is no clock. Leaves errno alone. Inline, because its caller is
// to cost little more than the clock itself.
inline ClockInstant clock_instant() {
  const int caller_errno = errno;
  timeval now = {};
  if (gettimeofday(&now, nullptr) != 0) return clock_instant_without_c_library(caller_errno);
  return {static_cast<std::uint32_t>(now.tv_sec), static_cast<std::uint32_t>(now.tv_usec)};
}

// One reading of the clock.
struct Moment {
  std::uint32_t stamp;  // clock_seconds()
  std::time_t time;     // as the C library tells it
  bool told;            // whether the C library can tell it
};

Moment clock_moment();

// The moment in the local zone: the C library's static record. Null when it cannot be converted.
std::tm *local_fields(const Moment &moment);

// Seconds west of UTC: those of the zone (`timezone`), less one hour while daylight saving is in effect,
// whatever shift the zone's rules name. A negative daylight flag is set to 0 in the record itself. Null
// fields stand for a moment that cannot be converted.
std::int32_t offset_west_of_utc(long zone, std::tm *fields);

}  // namespace orla

#endif
