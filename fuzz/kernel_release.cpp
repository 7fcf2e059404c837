// Where the kernel keeps its hyper-threading figure, by its release.

#include <orla/inventory.h>

#include <string>

#include "helpers/agree.h"
#include "helpers/input.h"
#include "helpers/kernel.h"
#include "helpers/target.h"
#include "plain/processors.h"

namespace {

constexpr std::size_t kFieldSize = 65;

// The figure that each source gives here, so that the result shows which one was used.
int answer_of(plain::Source source) {
  switch (source) {
    case plain::Source::cpuinfo:
      return 7;
    case plain::Source::kernel_log:
      return 1;
    default:
      return -1;
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const std::string release = Input(data, size).text();
  const Kernel kernel(release, "siblings : 7\n", "cpu_sibling_map[");
  agree("source", ht_os_cpus(), answer_of(plain::figure_source(release.substr(0, kFieldSize))));
  return 0;
}
