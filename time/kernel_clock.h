// The kernel's clock, whose seconds have 64 bits on every host.

#ifndef ORLA_TIME_KERNEL_CLOCK_H
#define ORLA_TIME_KERNEL_CLOCK_H

#include <cstdint>

namespace orla {

struct KernelTime {
  std::int64_t seconds;      // since 1970-01-01 00:00:00 UTC
  std::int32_t nanoseconds;  // 0 to 999,999,999
};

// All zeros when the kernel does not answer.
KernelTime read_kernel_clock();

}  // namespace orla

#endif
