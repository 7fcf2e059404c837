#include "time/clock.h"

#include <orla/time.h>

#include "time/kernel_clock.h"

namespace orla {
namespace {

std::uint32_t kernel_clock_seconds() {
  return static_cast<std::uint32_t>(read_kernel_clock().seconds);
}

// False when the clock is past what the C library can tell; any other failure leaves `now` at 0.
bool read_c_library_clock(std::time_t &now) {
  now = 0;
  return std::time(&now) != -1 || errno != EOVERFLOW;
}

}  // namespace

std::uint32_t clock_seconds() { return clock_moment().stamp; }

ClockInstant clock_instant_without_c_library(int caller_errno) {
  const KernelTime now = errno == EOVERFLOW ? read_kernel_clock() : KernelTime{0, 0};
  errno = caller_errno;
  return {static_cast<std::uint32_t>(now.seconds),
          static_cast<std::uint32_t>(now.nanoseconds) / 1000};
}

Moment clock_moment() {
  std::time_t now;
  if (read_c_library_clock(now)) return {static_cast<std::uint32_t>(now), now, true};
  return {kernel_clock_seconds(), 0, false};
}

std::tm *local_fields(const Moment &moment) {
  if (moment.told) return std::localtime(&moment.time);
  const auto stamp = static_cast<std::int32_t>(moment.stamp);
  return wek_localtime(&stamp);
}

std::int32_t offset_west_of_utc(long zone, std::tm *fields) {
  const auto standard = static_cast<std::int32_t>(zone);
  if (fields == nullptr) return standard;
  if (fields->tm_isdst < 0) fields->tm_isdst = 0;
  return fields->tm_isdst != 0 ? standard - 3600 : standard;
}

}  // namespace orla
