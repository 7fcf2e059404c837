#include "clock.h"

#include <cerrno>

constinit Fake<std::time_t(std::time_t *)> fake_time("time");
constinit Fake<int(timeval *, void *)> fake_gettimeofday("gettimeofday");
constinit Fake<std::tm *(const std::time_t *)> fake_localtime("localtime");
constinit Fake<std::tm *(const std::time_t *)> fake_gmtime("gmtime");

// The C library's name for a clock with 64 bits of seconds.
#ifdef __LP64__
#define KERNEL_CLOCK clock_gettime
#define KERNEL_CLOCK_NAME "clock_gettime"
using KernelTimespec = timespec;
#else
#define KERNEL_CLOCK __clock_gettime64
#define KERNEL_CLOCK_NAME "__clock_gettime64"
using KernelTimespec = ClockReading;
#endif

constinit Fake<int(clockid_t, ClockReading *)> fake_kernel_clock(KERNEL_CLOCK_NAME);

ClockAt::ClockAt(std::time_t now)
    : time_(fake_time, [now](std::time_t *out) {
        if (out != nullptr) *out = now;
        return now;
      }) {}

ClockPast2038::ClockPast2038(std::int64_t now, long nanoseconds)
    : time_(fake_time,
            [](std::time_t *) {
              errno = EOVERFLOW;
              return std::time_t{-1};
            }),
      gettimeofday_(fake_gettimeofday,
                    [](timeval *, void *) {
                      errno = EOVERFLOW;
                      return -1;
                    }),
      kernel_(fake_kernel_clock, [now, nanoseconds](clockid_t clock, ClockReading *out) {
        if (clock != CLOCK_REALTIME) return fake_kernel_clock.real(clock, out);
        *out = {now, nanoseconds};
        return 0;
      }) {}

extern "C" {

std::time_t time(std::time_t *out) noexcept { return fake_time(out); }

int gettimeofday(timeval *out, void *zone) noexcept { return fake_gettimeofday(out, zone); }

std::tm *localtime(const std::time_t *when) noexcept { return fake_localtime(when); }

std::tm *gmtime(const std::time_t *when) noexcept { return fake_gmtime(when); }

int KERNEL_CLOCK(clockid_t clock, KernelTimespec *out) noexcept {
  return fake_kernel_clock(clock, reinterpret_cast<ClockReading *>(out));
}
}
