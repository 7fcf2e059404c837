// Fakes of the clock.

#ifndef ORLA_TESTS_FAKES_CLOCK_H
#define ORLA_TESTS_FAKES_CLOCK_H

#include <sys/time.h>

#include <cstdint>
#include <ctime>

#include "fake.h"

extern Fake<std::time_t(std::time_t *)> fake_time;
extern Fake<int(timeval *, void *)> fake_gettimeofday;
extern Fake<std::tm *(const std::time_t *)> fake_localtime;
extern Fake<std::tm *(const std::time_t *)> fake_gmtime;

// The kernel's 64-bit clock: what the C library's function for it fills, and that function's
// result.
struct ClockReading {
  std::int64_t seconds;
  long nanoseconds;
};
extern Fake<int(clockid_t, ClockReading *)> fake_kernel_clock;

// time() always gives `now`.
class ClockAt {
 public:
  explicit ClockAt(std::time_t now);

 private:
  With<std::time_t(std::time_t *)> time_;
};

// A 32-bit host after 2038-01-19 03:14:07 UTC: time() and gettimeofday() fail with EOVERFLOW and
// only the kernel's clock gives the moment.
class ClockPast2038 {
 public:
  explicit ClockPast2038(std::int64_t now, long nanoseconds = 0);

 private:
  With<std::time_t(std::time_t *)> time_;
  With<int(timeval *, void *)> gettimeofday_;
  With<int(clockid_t, ClockReading *)> kernel_;
};

#endif
