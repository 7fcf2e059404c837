// The time fields in integers, compared with the computation in double precision that first defined
// them.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

#include "kit/uuid.h"
#include "uuid/uuid_time.h"

namespace {

using orla::uuid_time;

// Each step rounded to double: 32-bit x86 would otherwise keep more digits.
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

bool same(orla::UuidTime a, orla::UuidTime b) { return a.high == b.high && a.low == b.low; }

void expect_described(std::uint32_t seconds, std::uint32_t microseconds) {
  const orla::UuidTime got = uuid_time(seconds, microseconds);
  ASSERT_TRUE(same(got, in_double_precision(seconds, microseconds)))
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

// Values computed by hand.
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

TEST(UuidTime, IsAsComputedByHand) {
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

struct Turn {
  std::uint32_t seconds;
  std::uint32_t microseconds;
  std::uint32_t high_before;  // one tick before
  std::uint32_t high;
};

constexpr Turn kTurns[] = {
    {1441415526, 973440, 0xFFFFFFFF, 0},      // 2015-09-05 01:12:06.973440 UTC
    {2463016448, 0, 0xE849E849, 0x17B617B7},  // 2048-01-19 03:14:08 UTC
    {3484617368, 764424, 0xFFFFFFFF, 0},      // 2080-06-03 05:16:08.764424 UTC
};

// Ticks since 1970.
std::uint64_t ticks_of(const Turn &turn) {
  return std::uint64_t{turn.seconds} * 250000 + turn.microseconds / 4;
}

orla::UuidTime at_tick(std::uint64_t tick) {
  return uuid_time(static_cast<std::uint32_t>(tick / 250000),
                   static_cast<std::uint32_t>(tick % 250000 * 4));
}

bool is_before(orla::UuidTime a, orla::UuidTime b) {
  return a.high != b.high ? a.high < b.high : a.low < b.low;
}

TEST(UuidTime, GoesBackAtThreeMoments) {
  for (const Turn &turn : kTurns) {
    EXPECT_EQ(at_tick(ticks_of(turn) - 1).high, turn.high_before);
    EXPECT_EQ(at_tick(ticks_of(turn)).high, turn.high);
    // A day before and a day after.
    const std::uint64_t day = std::uint64_t{86400} * 250000;
    EXPECT_TRUE(is_before(at_tick(ticks_of(turn) + day), at_tick(ticks_of(turn) - day)));
  }
}

TEST(UuidTime, IsInTheOrderOfTimeBetweenThoseMomentsForTicksThatAre65535Apart) {
  const std::uint64_t ends[] = {std::uint64_t{k1980} * 250000, ticks_of(kTurns[0]),
                                ticks_of(kTurns[1]), ticks_of(kTurns[2]),
                                std::uint64_t{0xFFFFFFFF} * 250000};
  Random random(2048);
  for (int range = 0; range < 4; ++range) {
    const std::uint64_t width = ends[range + 1] - ends[range] - 65535;
    for (int i = 0; i < 250000; ++i) {
      const std::uint64_t any = std::uint64_t{random.next()} << 32 | random.next();
      const std::uint64_t earlier = ends[range] + any % width;
      const std::uint64_t most = ends[range + 1] - 1 - earlier;
      const std::uint64_t apart = i % 2 == 0 ? 65535 : 65535 + any / 7 % (most - 65534);
      ASSERT_TRUE(is_before(at_tick(earlier), at_tick(earlier + apart))) << earlier << ' ' << apart;
    }
  }
}

TEST(UuidTime, MayBeOutOfTheOrderOfTimeForTicksThatAreCloser) {
  // 60,000 ticks apart, before and after the start of a second: time_high is the same.
  const std::uint64_t second = std::uint64_t{1234567890} * 250000;
  int backward = 0;
  for (std::uint64_t tick = second; tick < second + 250000; ++tick)
    backward += is_before(at_tick(tick + 60000), at_tick(tick));
  EXPECT_GT(backward, 0);
}

// The chance that two of `calls` calls at unrelated moments of one second make the same record.
double likelihood_of_equals(int calls) {
  double all_distinct = 1;
  for (int earlier = 0; earlier < calls; ++earlier)
    all_distinct *= 1 - earlier / 250000.0;
  return 1 - all_distinct;
}

TEST(UuidTime, IsTheSameForTwoOf100CallsInOneSecondOf50AndOf589InOneOfTwo) {
  EXPECT_NEAR(likelihood_of_equals(2), 1 / 250000.0, 1e-12);
  EXPECT_NEAR(likelihood_of_equals(100), 0.02, 0.0005);
  EXPECT_LT(likelihood_of_equals(588), 0.5);
  EXPECT_GT(likelihood_of_equals(589), 0.5);
}

TEST(UuidTime, ComesAgain53392TicksLaterInAnotherSecondAndAtNoOtherDistance) {
  std::vector<std::pair<std::uint64_t, std::uint64_t>> times;  // time and tick
  const std::uint64_t begin = std::uint64_t{1234567890} * 250000;
  for (std::uint64_t tick = begin; tick < begin + std::uint64_t{8} * 250000; ++tick) {
    const orla::UuidTime time = at_tick(tick);
    times.emplace_back(std::uint64_t{time.high} << 16 | time.low, tick);
  }
  std::sort(times.begin(), times.end());
  int equal = 0;
  for (std::size_t i = 1; i < times.size(); ++i) {
    if (times[i].first != times[i - 1].first) continue;
    ++equal;
    ASSERT_EQ(times[i].second - times[i - 1].second, 53392U);
    ASSERT_NE(times[i].second / 250000, times[i - 1].second / 250000);
  }
  EXPECT_GT(equal, 0);
  static_assert(53392 * 4 == 213568, "microseconds");
}

// What the seconds leave over 65535 ticks comes round after 13,107 seconds: one in 32 of these.
TEST(UuidTime, OfOneTickIn25IsThatOfAnEarlierTick) {
  int seconds = 0;
  int equal = 0;
  for (std::uint64_t second = 1234567890; second < 1234567890 + 13107; second += 32, ++seconds) {
    for (std::uint64_t tick = second * 250000; tick < second * 250000 + 53392; ++tick)
      equal += same(at_tick(tick), at_tick(tick - 53392));
  }
  EXPECT_NEAR(seconds * 250000.0 / equal, 25.27, 0.1);
}

TEST(UuidTime, StartsTimeLowAgainEachSecondAndTruncatesMicrosecondsToTicksOfFour) {
  for (std::uint32_t microseconds = 0; microseconds < 1000000; ++microseconds)
    ASSERT_EQ(uuid_time(1234567890, microseconds).low,
              static_cast<std::uint16_t>(microseconds / 4));
}

TEST(UuidTime, IsTheDoubleComputationAtTheEndsOfEveryRangeAndStep) {
  for (const std::uint32_t middle : {0U, k1980, kWrap, 0x80000000U, k1980 + 0x80000000U})
    for (std::uint32_t second = middle - 2; second != middle + 2; ++second)
      for (std::uint32_t tick = 0; tick < 250000; ++tick)
        expect_described(second, tick * 4 + (tick & 3));
}

// Where time_high changes the quotient is a whole number, or one tick short of it: if rounding
// could ever show, it would be here.
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

}  // namespace
