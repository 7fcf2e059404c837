// UUIDs in tests: all 16 bytes count, and a failure shows them.

#ifndef ORLA_TESTS_KIT_UUID_H
#define ORLA_TESTS_KIT_UUID_H

#include <orla/uuid.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string>

using UuidBytes = std::array<std::uint8_t, 16>;

inline UuidBytes bytes_of(const k7_uuid__t &uuid) {
  UuidBytes bytes;
  static_assert(sizeof bytes == sizeof uuid);
  std::memcpy(bytes.data(), &uuid, sizeof uuid);
  return bytes;
}

inline k7_uuid__t uuid_of(const UuidBytes &bytes) {
  k7_uuid__t uuid;
  std::memcpy(&uuid, bytes.data(), sizeof uuid);
  return uuid;
}

// All bytes the same, which no record made by the library has.
inline k7_uuid__t filled(std::uint8_t byte) {
  UuidBytes bytes;
  bytes.fill(byte);
  return uuid_of(bytes);
}

inline std::string text_of(const k7_uuid__t &uuid) {
  char text[ORLA_UUID_TEXT_SIZE];
  orla_uuid_encode(&uuid, text);
  return text;
}

// 2009-02-13 23:31:30.000400 UTC on 10.0.2.3.
inline constexpr k7_uuid__t kExample = {0xD0F7B2FC, 0x0064, 0, 0x82, {0x0A, 0, 2, 3, 0, 0, 0}};
inline constexpr const char *kExampleText = "d0f7b2fc0064.82.0a.00.02.03.00.00.00";
inline constexpr std::uint32_t kExampleSeconds = 1234567890;
inline constexpr std::uint32_t kExampleMicroseconds = 400;

// A small generator of random numbers, the same on every host (xorshift64*).
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  std::uint32_t next() {
    state_ ^= state_ >> 12;
    state_ ^= state_ << 25;
    state_ ^= state_ >> 27;
    return static_cast<std::uint32_t>(state_ * 0x2545F4914F6CDD1D >> 32);
  }
  std::uint32_t below(std::uint32_t bound) { return next() % bound; }
  std::uint8_t byte() { return static_cast<std::uint8_t>(next()); }

 private:
  std::uint64_t state_;
};

inline k7_uuid__t random_uuid(Random &random) {
  UuidBytes bytes;
  for (std::uint8_t &byte : bytes)
    byte = random.byte();
  return uuid_of(bytes);
}

#endif
