#include "uuid/host_provider.h"

#include <endian.h>
#include <net/if.h>
#include <netinet/in.h>
#include <orla/uuid.h>

#include <atomic>
#include <cstring>

#include "base/kept_errno.h"

namespace orla {
namespace {

static_assert(ORLA_UUID_CLASS_IPV4 == AF_INET);

// The system's answer, in one word, so that a plain store publishes it without a lock. Two values
// that are never the address of an interface mark the other states.
constexpr std::uint32_t kNotAsked = 0;            // 0.0.0.0
constexpr std::uint32_t kNoAddress = 0xFFFFFFFF;  // 255.255.255.255
constinit std::atomic<std::uint32_t> answer = kNotAsked;
static_assert(std::atomic<std::uint32_t>::is_always_lock_free);

std::uint32_t ipv4_address(const sockaddr &address) {
  sockaddr_in ipv4;
  std::memcpy(&ipv4, &address, sizeof ipv4);
  // Not ntohl(), which without the optimiser is a call of the exported function.
  return be32toh(ipv4.sin_addr.s_addr);
}

std::uint32_t ask_system() {
  const KeptErrno kept;
  ifaddrs *interfaces = nullptr;
  std::uint32_t address = 0;
  if (getifaddrs(&interfaces) == 0) {
    address = first_host_address(interfaces);
    freeifaddrs(interfaces);
  }
  return address != 0 ? address : kNoAddress;
}

// When threads ask at the same time, the first answer counts for all.
[[gnu::cold]] std::uint32_t first_answer() {
  std::uint32_t earlier = kNotAsked;
  const std::uint32_t own = ask_system();
  return answer.compare_exchange_strong(earlier, own, std::memory_order_relaxed) ? own : earlier;
}

}  // namespace

std::uint32_t first_host_address(const ifaddrs *interfaces) {
  for (; interfaces != nullptr; interfaces = interfaces->ifa_next) {
    const bool usable = (interfaces->ifa_flags & (IFF_UP | IFF_LOOPBACK)) == IFF_UP;
    const sockaddr *address = interfaces->ifa_addr;
    if (!usable || address == nullptr || address->sa_family != AF_INET) continue;
    const std::uint32_t identifier = ipv4_address(*address);
    if (identifier != 0) return identifier;
  }
  return 0;
}

std::uint32_t host_address() {
  std::uint32_t known = answer.load(std::memory_order_relaxed);
  if (known == kNotAsked) known = first_answer();
  return known != kNoAddress ? known : 0;
}

}  // namespace orla
