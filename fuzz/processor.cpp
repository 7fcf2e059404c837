// What the processor reports about hyper-threading in its `cpuid` leaves.
//
//     the 12 characters of the vendor, then EAX and EBX of leaf 1, four bytes each, lowest first

#include <orla/inventory.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "fakes/host.h"
#include "helpers/agree.h"
#include "helpers/target.h"
#include "plain/processors.h"

namespace {

struct Leaves {
  std::uint32_t vendor[3];  // EBX, EDX, ECX of leaf 0
  std::uint32_t eax;
  std::uint32_t ebx;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  Leaves leaves;
  if (size < sizeof leaves) return 0;
  std::memcpy(&leaves, data, sizeof leaves);
  const With supported(fake_CPUID_is_supported, [] { return 1; });
  const With processor(fake_cpuid, [&](std::uint32_t leaf, std::uint32_t *eax, std::uint32_t *ebx,
                                       std::uint32_t *ecx, std::uint32_t *edx) {
    *eax = leaf == 0 ? 1 : leaves.eax;
    *ebx = leaf == 0 ? leaves.vendor[0] : leaves.ebx;
    *ecx = leaf == 0 ? leaves.vendor[2] : 0;
    *edx = leaf == 0 ? leaves.vendor[1] : 0;
  });
  agree("logical processors per package", HTSupported(),
        plain::logical_processors({reinterpret_cast<const char *>(data), sizeof leaves.vendor},
                                  leaves.eax, leaves.ebx));
  return 0;
}
