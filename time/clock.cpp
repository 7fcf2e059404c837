#include "time/clock.h"

#include "base/kept_errno.h"
#include "time/kernel_clock.h"

namespace orla {
namespace {

std::uint32_t stamp_of(const KernelTime &now) { return static_cast<std::uint32_t>(now.seconds); }

}  // namespace

Moment clock_moment() {
  const KeptErrno kept;
  std::time_t now = 0;
  const bool past_2038 = std::time(&now) == -1 && errno == EOVERFLOW;
  if (past_2038) return {stamp_of(read_kernel_clock()), std::nullopt};
  return {static_cast<std::uint32_t>(now), now};
}

FineMoment fine_moment_without_c_library(int caller_errno) {
  const KernelTime now = errno == EOVERFLOW ? read_kernel_clock() : KernelTime{0, 0};
  errno = caller_errno;
  return {stamp_of(now), static_cast<std::uint32_t>(now.nanoseconds) / 1000};
}

}  // namespace orla
