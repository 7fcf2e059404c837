// Byte order. The four converters have the platform's names. Quirk: those of 16 bits return 32,
// unlike what the platform's headers declare. No header that declares them may be included here,
// not even through another header.

#include <orla/byteorder.h>

#include <cstdint>

extern "C" {
ORLA_EXPORT std::uint32_t htonl(std::uint32_t host) noexcept;
ORLA_EXPORT std::uint32_t htons(std::uint16_t host) noexcept;
ORLA_EXPORT std::uint32_t ntohl(std::uint32_t network) noexcept;
ORLA_EXPORT std::uint32_t ntohs(std::uint16_t network) noexcept;
}

namespace {

std::uint32_t reverse(std::uint32_t value) {
  char *bytes = reinterpret_cast<char *>(&value);
  swap(&bytes[0], &bytes[3]);
  swap(&bytes[1], &bytes[2]);
  return value;
}

std::uint32_t reverse(std::uint16_t value) {
  char *bytes = reinterpret_cast<char *>(&value);
  swap(&bytes[0], &bytes[1]);
  return value;
}

}  // namespace

void swap(char *a, char *b) noexcept {
  const char kept = *a;
  *a = *b;
  *b = kept;
}

// Quirk: all four always reverse the bytes, whatever the byte order of the host.

std::uint32_t htonl(std::uint32_t host) noexcept { return reverse(host); }

std::uint32_t htons(std::uint16_t host) noexcept { return reverse(host); }

std::uint32_t ntohl(std::uint32_t network) noexcept { return reverse(network); }

std::uint32_t ntohs(std::uint16_t network) noexcept { return reverse(network); }
