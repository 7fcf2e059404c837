// The clock as the library reads it, right on 32-bit hosts after 2038-01-19 03:14:07 UTC too.
//
// There the C library's time() and gettimeofday() fail with EOVERFLOW; only then the low 32 bits of
// the kernel's 64-bit clock are used.

#ifndef ORLA_TIME_CLOCK_H
#define ORLA_TIME_CLOCK_H

#include <sys/time.h>

#include <cerrno>
#include <cstdint>
#include <ctime>
#include <optional>

namespace orla {

// A moment: one reading of the clock.
struct Moment {
  std::uint32_t stamp;              // seconds since 1970-01-01 00:00:00 UTC, their low 32 bits
  std::optional<std::time_t> time;  // the same as the C library gives it; none where it cannot
};

// The present moment; the stamp is 0 when there is no clock. Leaves errno alone.
Moment clock_moment();

// A moment to the microsecond.
struct FineMoment {
  std::uint32_t stamp;         // as that of a Moment
  std::uint32_t microseconds;  // 0 to 999,999
};

// The result of fine_clock_moment() when gettimeofday() has failed; puts errno back.
[[gnu::cold]] FineMoment fine_moment_without_c_library(int caller_errno);

// The present moment; all zero when there is no clock. Leaves errno alone. Inline, so that a caller
// pays little more than the clock itself costs.
inline FineMoment fine_clock_moment() {
  const int caller_errno = errno;
  timeval now = {};
  if (gettimeofday(&now, nullptr) != 0) return fine_moment_without_c_library(caller_errno);
  return {static_cast<std::uint32_t>(now.tv_sec), static_cast<std::uint32_t>(now.tv_usec)};
}

}  // namespace orla

#endif
