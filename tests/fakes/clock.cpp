#include "clock.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>

constinit Fake<std::time_t(std::time_t *)> fake_time("time");
constinit Fake<int(timeval *, void *)> fake_gettimeofday("gettimeofday");
constinit Fake<std::tm *(const std::time_t *)> fake_localtime("localtime");

namespace {

#ifdef SYS_clock_gettime64
constexpr long kReadKernelClock = SYS_clock_gettime64;
#else
constexpr long kReadKernelClock = SYS_clock_gettime;
#endif

constinit Fake<long(long, long, long, long, long, long, long)> real_syscall("syscall");

}  // namespace

constinit Fake<long(std::int64_t *, std::int64_t *)> fake_kernel_clock(nullptr);

ClockAt::ClockAt(std::time_t now)
    : time_(fake_time, [now](std::time_t *out) {
        if (out != nullptr) *out = now;
        return now;
      }) {}

ClockPast2038::ClockPast2038(std::int64_t now, std::int64_t nanoseconds)
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
      kernel_(fake_kernel_clock, [now, nanoseconds](std::int64_t *seconds, std::int64_t *rest) {
        *seconds = now;
        *rest = nanoseconds;
        return 0L;
      }) {}

extern "C" {

std::time_t time(std::time_t *out) noexcept {
  return fake_time(out);
}

int gettimeofday(timeval *out, void *zone) noexcept {
  return fake_gettimeofday(out, zone);
}

std::tm *localtime(const std::time_t *when) noexcept {
  return fake_localtime(when);
}

long syscall(long number, ...) noexcept {
  long a[6];
  va_list list;
  va_start(list, number);
  for (long &argument : a)
    argument = va_arg(list, long);
  va_end(list);
  if (number == kReadKernelClock && fake_kernel_clock.is_armed()) {
    auto *out = reinterpret_cast<std::int64_t *>(a[1]);
    return fake_kernel_clock(&out[0], &out[1]);
  }
  return real_syscall(number, a[0], a[1], a[2], a[3], a[4], a[5]);
}
}
