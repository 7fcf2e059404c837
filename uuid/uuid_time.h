// From the time of day to the two time fields of a UUID, in integers.
//
// The fields were first defined by a computation in double precision: seconds since 1980 times
// 1000000 over 4, plus the tick within the second, over 65535, truncated. Integers give the same
// values for every input, because no sum in that computation reaches 2^53 and no quotient is close
// enough to the next integer to be rounded to it.

#ifndef ORLA_UUID_UUID_TIME_H
#define ORLA_UUID_UUID_TIME_H

#include <cstdint>

namespace orla {

inline constexpr std::uint32_t kSecondsFrom1970To1980 = 315532800;
inline constexpr std::uint32_t kMicrosecondsPerTick = 4;
inline constexpr std::int32_t kTicksPerSecond = 250000;

struct UuidTime {
  std::uint32_t high;
  std::uint16_t low;
};

// The low 32 bits of ticks / 65535. Quirk: 65535 and not 65536; callers rely on it.
//
// Like casting out nines: h * 65536 + l is h * 65535 + (h + l), so the quotient is h and the rest
// is h + l. After two such steps the rest fits 32 bits; a 64-bit division is a slow call on 32-bit
// hosts. Precondition: ticks is below 2^50.
constexpr std::uint32_t quotient_by_65535(std::uint64_t ticks) {
  const std::uint64_t high = ticks >> 16;                                   // below 2^34
  const std::uint64_t rest = high + (ticks & 0xFFFF);                       // below 2^34 + 2^16
  const auto rest_high = static_cast<std::uint32_t>(rest >> 16);            // at most 2^18
  const auto last = rest_high + static_cast<std::uint32_t>(rest & 0xFFFF);  // below 2^18 + 2^16
  // Here one more step is exact: the rest is below 2 * 65535, so it holds 65535 at most once.
  return static_cast<std::uint32_t>(high) + rest_high + ((last + 1 + (last >> 16)) >> 16);
}

// `seconds` since 1970-01-01 00:00:00 UTC, modulo 2^32; `microseconds` 0 to 999999.
constexpr UuidTime uuid_time(std::uint32_t seconds, std::uint32_t microseconds) {
  // Seconds since 1980 as a signed number of 32 bits: before 1980 and from 2048-01-19 on it is
  // negative.
  const auto since_1980 = static_cast<std::int32_t>(seconds - kSecondsFrom1970To1980);
  const std::uint32_t tick = microseconds / kMicrosecondsPerTick;  // 0 to 249,999
  const std::int64_t ticks =  // -2^31 * 250,000 to 2^31 * 250,000 - 1
      static_cast<std::int64_t>(since_1980) * kTicksPerSecond + static_cast<std::int32_t>(tick);
  // The quotient is truncated toward zero, so a negative count is divided by its magnitude.
  std::uint32_t high = 0;
  if (ticks < 0) [[unlikely]] {
    high = 0U - quotient_by_65535(static_cast<std::uint64_t>(-ticks));
  } else {
    high = quotient_by_65535(static_cast<std::uint64_t>(ticks));
  }
  return {high, static_cast<std::uint16_t>(tick)};
}

}  // namespace orla

#endif
