// The library's own converters of byte order. <arpa/inet.h> declares other results for two of them,
// so a file that includes this must not include that.

#ifndef ORLA_TESTS_KIT_CONVERTERS_H
#define ORLA_TESTS_KIT_CONVERTERS_H

#include <cstdint>

extern "C" {
std::uint32_t htonl(std::uint32_t host) noexcept;
std::uint32_t htons(std::uint16_t host) noexcept;
std::uint32_t ntohl(std::uint32_t network) noexcept;
std::uint32_t ntohs(std::uint16_t network) noexcept;
}

#endif
