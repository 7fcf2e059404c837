// The time fields in integers, held against the computation in double precision that first defined them.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

#include "kit/uuid.h"
#include "uuid/uuid_time.h"

namespace {

using orla::uuid_time;

// Each step rounded to double: 32-bit x86 would otherwise carry more digits along.
orla::UuidTime in_double_precision(std::uint32_t seconds, std::uint32_t microseconds) {
  const auto since_1980 = static_cast<std::int32_t>(seconds - 315532800U);
  const auto tick = static_cast<std::int32_t>(microseconds) / 4;
  volatile double ticks = since_1980 * 1000000.0;
  ticks = ticks / 4;
  ticks = ticks + tick;
  volatile double quotient = ticks / 65535.0;
  const auto whole = static_cast<std::int64_t>(std::trunc(quotient));
  return {static_cast<std::uint32_t>(whole), static_cast<std::uint16_t>(tick % 65536)};
}

// The same in the extended precision of x86, where nothing needs to be rounded to double.
orla::UuidTime in_extended_precision(std::uint32_t seconds, std::uint32_t microseconds) {
  const auto since_1980 = static_cast<std::int32_t>(seconds - 315532800U);
  const auto tick = static_cast<std::int32_t>(microseconds) / 4;
  const long double ticks = since_1980 * 1000000.0L / 4 + tick;
  const auto whole = static_cast<std::int64_t>(ticks / 65535.0L);
  return {static_cast<std::uint32_t>(whole), static_cast<std::uint16_t>(tick % 65536)};
}

bool same(orla::UuidTime a, orla::UuidTime b) { return a.high == b.high && a.low == b.low; }

void expect_described(std::uint32_t seconds, std::uint32_t microseconds) {
  const orla::UuidTime got = uuid_time(seconds, microseconds);
  ASSERT_TRUE(same(got, in_double_precision(seconds, microseconds)) &&
              same(got, in_extended_precision(seconds, microseconds)))
      << seconds << " s, " << microseconds << " us: " << got.high << ", " << got.low;
}

struct Row {
  std::uint32_t seconds;
  std::uint32_t microseconds;
  std::uint32_t high;
  std::uint16_t low;
};

constexpr std::uint32_t k1980 = 315532800;
constexpr std::uint32_t kWrap = k1980 + 1125882726;

// Values reckoned by hand.
constexpr Row kRows[] = {
    {1234567890, 400, 0xD0F7B2FC, 0x0064},
    {1234567890, 401, 0xD0F7B2FC, 0x0064},
    {1234567890, 403, 0xD0F7B2FC, 0x0064},
    {1234567890, 404, 0xD0F7B2FC, 0x0065},
    {1234567890, 262144, 0xD0F7B2FD, 0},
    {k1980, 0, 0, 0},
    {k1980, 65534 * 4, 0, 65534},
    {k1980, 65535 * 4, 1, 65535},
    {k1980, 65536 * 4, 1, 0},
    {k1980, 999999, 3, 53391},
    {kWrap, 243359 * 4, 0xFFFFFFFF, 46751},
    {kWrap, 243360 * 4, 0, 46752},
    {k1980 - 1, 999999, 0, 53391},               // one tick before 1980: -1 / 65535
    {k1980 - 1, 184464 * 4, 0xFFFFFFFF, 53392},  // 65,536 ticks before 1980
    {k1980 - 1, 184465 * 4, 0xFFFFFFFF, 53393},  // 65,535 ticks before
    {k1980 - 1, 184466 * 4, 0, 53394},           // 65,534 ticks before
};

TEST(UuidTime, IsAsReckonedByHand) {
  for (const Row &row : kRows) {
    SCOPED_TRACE(testing::Message() << row.seconds << " s, " << row.microseconds << " us");
    const orla::UuidTime time = uuid_time(row.seconds, row.microseconds);
    EXPECT_EQ(time.high, row.high);
    EXPECT_EQ(time.low, row.low);
  }
}

TEST(UuidTime, AdvancesTimeHighEvery65535TicksAndNotEvery65536) {
  for (std::uint32_t step = 1; step <= 3; ++step) {
    EXPECT_EQ(uuid_time(k1980, step * 65535 * 4 - 1).high, step - 1);
    EXPECT_EQ(uuid_time(k1980, step * 65535 * 4).high, step);
  }
}

TEST(UuidTime, RunsTimeLowThreeTimesThrough65536AndThenTo53391InEverySecond) {
  for (std::uint32_t tick = 0; tick < 250000; ++tick)
    ASSERT_EQ(uuid_time(1234567890, tick * 4).low, tick % 65536);
}

TEST(UuidTime, TruncatesMicrosecondsToTicksOfFour) {
  for (std::uint32_t microseconds = 0; microseconds < 1000000; ++microseconds)
    ASSERT_EQ(uuid_time(1234567890, microseconds).low,
              static_cast<std::uint16_t>(microseconds / 4));
}

TEST(UuidTime, IsTheDoubleComputationAtTheEndsOfEveryRangeAndStep) {
  const std::uint32_t seconds[] = {0,
                                   1,
                                   2,
                                   k1980 - 2,
                                   k1980 - 1,
                                   k1980,
                                   k1980 + 1,
                                   kWrap - 1,
                                   kWrap,
                                   kWrap + 1,
                                   0x7FFFFFFE,
                                   0x7FFFFFFF,
                                   0x80000000,
                                   0x80000001,
                                   k1980 + 0x7FFFFFFE,
                                   k1980 + 0x7FFFFFFF,
                                   k1980 + 0x80000000,
                                   k1980 + 0x80000001,
                                   0xFFFFFFFE,
                                   0xFFFFFFFF};
  for (const std::uint32_t second : seconds)
    for (std::uint32_t tick = 0; tick < 250000; ++tick)
      expect_described(second, tick * 4 + (tick & 3));
}

// Where time_high changes the quotient is a whole number, or one tick short of it: if rounding could ever
// show, it would be here.
TEST(UuidTime, IsTheDoubleComputationOnBothSidesOfAMillionChangesOfTimeHigh) {
  Random random(20150905);
  for (int i = 0; i < 1000000; ++i) {
    const std::uint64_t quotient = random.next() + (std::uint64_t{random.below(2)} << 32);
    const std::uint64_t ticks = quotient % 8192250000 * 65535;  // below 2^31 seconds
    for (const std::uint64_t near : {ticks, ticks + 65534}) {
      const auto since_1980 = static_cast<std::uint32_t>(near / 250000);
      const auto microseconds = static_cast<std::uint32_t>(near % 250000 * 4);
      expect_described(k1980 + since_1980, microseconds);
      expect_described(k1980 - since_1980, microseconds);
    }
  }
}

TEST(UuidTime, IsTheDoubleComputationAtTenMillionRandomInstants) {
  Random random(19800101);
  for (int i = 0; i < 10000000; ++i) {
    const std::uint32_t seconds = random.next();
    expect_described(seconds, random.below(1000000));
  }
}

}  // namespace
