// The figure of hyper-threading in the kernel log, position by position.

#include <orla/inventory.h>

#include <string>

#include "kit/agree.h"
#include "kit/input.h"
#include "kit/kernel.h"
#include "kit/target.h"

namespace {

constexpr std::size_t kBufferSize = 16392;

bool is_digit_at(const std::string &log, std::size_t at) {
  return at < log.size() && log[at] >= '0' && log[at] <= '9';
}

int count_plainly(const std::string &log) {
  const std::string map = "cpu_sibling_map[";
  int count = 0;
  for (std::size_t at = 0; at < log.size(); ++at) {
    if (log[at] == '<' && (at == 0 || log[at - 1] == '\n')) {
      ++at;
      while (is_digit_at(log, at))
        ++at;
      if (at < log.size() && log[at] == '>') ++at;
    }
    if (at < log.size() && log.substr(at, map.size()) == map) ++count;
  }
  return count;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const std::string log = Input(data, size).bytes();
  const Kernel kernel("2.4.18-3smp", "", log);
  agree("figure", ht_os_cpus(), count_plainly(log.substr(0, kBufferSize)));
  return 0;
}
