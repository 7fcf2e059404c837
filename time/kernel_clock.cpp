// Only this unit is compiled with a time_t of 64 bits, which on 32-bit hosts makes it call other
// functions of the C library. Nothing else belongs here.

#include "time/kernel_clock.h"

#include <ctime>

namespace orla {

static_assert(sizeof(time_t) == 8);

KernelTime read_kernel_clock() {
  timespec now = {};
  if (clock_gettime(CLOCK_REALTIME, &now) != 0) return {0, 0};
  return {now.tv_sec, static_cast<std::int32_t>(now.tv_nsec)};
}

}  // namespace orla
