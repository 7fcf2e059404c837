// The hyper-threading figure in the kernel log.

#include <orla/inventory.h>

#include <string>

#include "helpers/agree.h"
#include "helpers/input.h"
#include "helpers/kernel.h"
#include "helpers/target.h"
#include "plain/processors.h"

namespace {

constexpr std::size_t kBufferSize = 16392;

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const std::string log = Input(data, size).bytes();
  const Kernel kernel("2.4.18-3smp", "", log);
  agree("figure", ht_os_cpus(), plain::kernel_log_figure(log.substr(0, kBufferSize)));
  return 0;
}
