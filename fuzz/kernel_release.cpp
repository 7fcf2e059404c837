// Where the figure of hyper-threading stands, by the kernel release.

#include <orla/inventory.h>

#include <cstdlib>
#include <string>

#include "kit/agree.h"
#include "kit/input.h"
#include "kit/kernel.h"
#include "kit/target.h"

namespace {

// What the sources answer, so that the answer tells which one was asked.
constexpr int kUnusable = -1;
constexpr int kCpuinfo = 7;
constexpr int kKernelLog = 1;

constexpr std::size_t kFieldSize = 65;

// Reads the digits at `at` and steps over the character behind them; false when there is none.
bool take_number(const std::string &release, std::size_t &at, long long &number) {
  std::string digits;
  while (at < release.size() && release[at] >= '0' && release[at] <= '9')
    digits += release[at++];
  if (at++ == release.size()) return false;
  number = std::strtoll(digits.c_str(), nullptr, 10);
  return true;
}

int source_plainly(const std::string &release) {
  std::size_t at = 0;
  long long number;
  if (!take_number(release, at, number)) return kUnusable;
  if (number > 2) return kCpuinfo;
  while (at < release.size() && (release[at] < '0' || release[at] > '9'))
    ++at;
  if (!take_number(release, at, number)) return kUnusable;
  if (number > 4) return kCpuinfo;
  if (!take_number(release, at, number)) return kUnusable;
  return number > 18 ? kCpuinfo : kKernelLog;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const std::string release = Input(data, size).text();
  const Kernel kernel(release, "siblings : 7\n", "cpu_sibling_map[");
  agree("source", ht_os_cpus(), source_plainly(release.substr(0, kFieldSize)));
  return 0;
}
