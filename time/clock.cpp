#include "time/clock.h"

#include <orla/time.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>

namespace orla {
namespace {

// As the kernel fills it: 64 bits each, on 32-bit hosts too.
struct KernelTime {
  std::int64_t seconds;
  std::int64_t nanoseconds;
};

#ifdef SYS_clock_gettime64
constexpr long kReadKernelClock = SYS_clock_gettime64;
#else
constexpr long kReadKernelClock = SYS_clock_gettime;
static_assert(sizeof(long) == 8, "the kernel's clock has 64 bits");
#endif

KernelTime kernel_clock() {
  KernelTime now = {0, 0};
  syscall(kReadKernelClock, CLOCK_REALTIME, &now);
  return now;
}

std::uint32_t kernel_clock_seconds() {
  return static_cast<std::uint32_t>(kernel_clock().seconds);
}

// False when the clock is past what the C library can tell; any other failure leaves `now` at 0.
bool read_c_library_clock(std::time_t &now) {
  now = 0;
  return std::time(&now) != -1 || errno != EOVERFLOW;
}

}  // namespace

std::uint32_t clock_seconds() {
  std::time_t now;
  return read_c_library_clock(now) ? static_cast<std::uint32_t>(now) : kernel_clock_seconds();
}

ClockInstant clock_instant() {
  const int error = errno;
  timeval now = {0, 0};
  if (gettimeofday(&now, nullptr) == 0)
    return {static_cast<std::uint32_t>(now.tv_sec), static_cast<std::uint32_t>(now.tv_usec)};
  const KernelTime later = errno == EOVERFLOW ? kernel_clock() : KernelTime{0, 0};
  errno = error;
  return {static_cast<std::uint32_t>(later.seconds),
          static_cast<std::uint32_t>(later.nanoseconds) / 1000};
}

std::tm *clock_local() {
  std::time_t now;
  if (read_c_library_clock(now)) return std::localtime(&now);
  const auto stamp = static_cast<std::int32_t>(kernel_clock_seconds());
  return wek_localtime(&stamp);
}

}  // namespace orla
