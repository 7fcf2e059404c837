#include "time/clock.h"

#include <orla/time.h>

#include <cerrno>

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

std::uint32_t clock_seconds() {
  std::time_t now;
  return read_c_library_clock(now) ? static_cast<std::uint32_t>(now) : kernel_clock_seconds();
}

std::tm *clock_local() {
  std::time_t now;
  if (read_c_library_clock(now)) return std::localtime(&now);
  const auto stamp = static_cast<std::int32_t>(kernel_clock_seconds());
  return wek_localtime(&stamp);
}

}  // namespace orla
