// The built-in host-identifier provider: an IPv4 address of this host.

#ifndef ORLA_UUID_HOST_PROVIDER_H
#define ORLA_UUID_HOST_PROVIDER_H

#include <ifaddrs.h>

#include <cstdint>

namespace orla {

// The first IPv4 address of an interface that is up and not a loopback, most significant byte first
// in the number; 0 where there is none. Entries without an address are skipped.
std::uint32_t first_host_address(const ifaddrs *interfaces);

// The same for this host, or 0. The system is asked at the first call only. Leaves `errno` alone.
std::uint32_t host_address();

}  // namespace orla

#endif
