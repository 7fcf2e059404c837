// The hyper-threading figure in /proc/cpuinfo.

#include <orla/inventory.h>

#include <string>

#include "helpers/agree.h"
#include "helpers/input.h"
#include "helpers/kernel.h"
#include "helpers/target.h"
#include "plain/processors.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const std::string file = Input(data, size).bytes();
  const Kernel kernel("6.1.0-18-amd64", file, "");
  agree("figure", ht_os_cpus(), plain::cpuinfo_figure(file));
  return 0;
}
