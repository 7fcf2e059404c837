// Small domains of the calendar, tested completely: every date number, every year, every stamp of
// 32 bits.
//
// The expected values come from a calendar that only knows how one day follows another; it uses no
// code of the library.

#include <gtest/gtest.h>
#include <orla/time.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

#include "kit/environment.h"
#include "plain/date.h"

namespace {

constexpr const char *kOldMode = "ORLALS_DATE_FORMAT_OLD";
constexpr std::uint32_t kDateNumbers = 65536;
constexpr std::uint32_t kDateNumberOfTheEpoch = 59331;
constexpr std::uint64_t kStamps = 1ULL << 32;
constexpr std::uint32_t kSecondsPerDay = 86400;
constexpr std::uint32_t kDaysWithStamps = 49711;  // the last one is broken off at 06:28:15

std::tm midnight_of(const plain::Calendar &calendar) {
  std::tm fields = {};
  fields.tm_year = calendar.year() - 1900;
  fields.tm_mon = calendar.month() - 1;
  fields.tm_mday = calendar.day();
  fields.tm_wday = calendar.weekday();
  fields.tm_yday = calendar.day_of_year();
  return fields;
}

// The nine fields, from seconds to daylight saving, which lie in memory without a gap.
bool same_fields(const std::tm &a, const std::tm &b) {
  constexpr std::size_t kFields = 9 * sizeof(int);
  static_assert(offsetof(std::tm, tm_isdst) == kFields - sizeof(int));
  return std::memcmp(&a, &b, kFields) == 0;
}

std::string shown(const std::tm &fields) {
  char text[128];
  std::snprintf(text, sizeof text, "%d-%02d-%02d %02d:%02d:%02d weekday %d, day %d, dst %d",
                fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday, fields.tm_hour,
                fields.tm_min, fields.tm_sec, fields.tm_wday, fields.tm_yday, fields.tm_isdst);
  return text;
}

bool gmtime_gives(std::uint32_t stamp, const std::tm &expected) {
  const auto signed_stamp = static_cast<std::int32_t>(stamp);
  const std::tm *fields = wek_gmtime(&signed_stamp);
  if (same_fields(*fields, expected)) return true;
  ADD_FAILURE() << stamp << ": " << shown(*fields) << ", not " << shown(expected);
  return false;
}

// Takes every stamp of a day; returns how many there were, 0 as soon as one is wrong.
std::uint32_t take_day(std::uint32_t midnight, std::tm fields) {
  std::uint32_t stamp = midnight;
  for (fields.tm_hour = 0; fields.tm_hour < 24; ++fields.tm_hour) {
    for (fields.tm_min = 0; fields.tm_min < 60; ++fields.tm_min) {
      for (fields.tm_sec = 0; fields.tm_sec < 60; ++fields.tm_sec) {
        if (!gmtime_gives(stamp, fields)) return 0;
        if (++stamp == 0) return static_cast<std::uint32_t>(0 - midnight);
      }
    }
  }
  return kSecondsPerDay;
}

// The 2^32 stamps in parts of the same number of days, so that the parts can run in parallel.
constexpr std::uint32_t kShares = 16;
constexpr std::uint32_t kDaysPerShare = (kDaysWithStamps + kShares - 1) / kShares;

class EveryStamp : public testing::TestWithParam<std::uint32_t> {};
INSTANTIATE_TEST_SUITE_P(Long, EveryStamp, testing::Range(0U, kShares));

TEST_P(EveryStamp, IsBrokenDownAsTheCalendarWalks) {
  const WithZone zone(kNewYork);
  const std::uint32_t first = GetParam() * kDaysPerShare;
  const std::uint32_t last = std::min(first + kDaysPerShare, kDaysWithStamps);
  plain::Calendar calendar;
  for (std::uint32_t day = 0; day < first; ++day)
    calendar.step();
  std::uint64_t taken = 0;
  for (std::uint32_t day = first; day < last; ++day, calendar.step()) {
    const std::uint32_t count = take_day(day * kSecondsPerDay, midnight_of(calendar));
    ASSERT_NE(count, 0U);
    taken += count;
  }
  const std::uint64_t end = std::min<std::uint64_t>(std::uint64_t{last} * kSecondsPerDay, kStamps);
  EXPECT_EQ(taken, end - std::uint64_t{first} * kSecondsPerDay);
}

TEST(EveryDayOfStamps, IsBrokenDownAsTheCalendarWalksAtItsFirstAndItsLastSecond) {
  const WithZone zone(kNewYork);
  plain::Calendar calendar;
  for (std::uint32_t day = 0; day < kDaysWithStamps; ++day, calendar.step()) {
    std::tm fields = midnight_of(calendar);
    ASSERT_TRUE(gmtime_gives(day * kSecondsPerDay, fields));
    if (day == kDaysWithStamps - 1) continue;
    fields.tm_hour = 23;
    fields.tm_min = fields.tm_sec = 59;
    ASSERT_TRUE(gmtime_gives(day * kSecondsPerDay + (kSecondsPerDay - 1), fields));
  }
  EXPECT_EQ(calendar.year(), 2106);
}

TEST(EveryDayOfStamps, HasItsDateInALineAtItsFirstAndItsLastSecond) {
  plain::Calendar calendar;
  for (std::uint32_t day = 0; day < kDaysWithStamps; ++day, calendar.step()) {
    const std::string expected = plain::date_text(calendar) + "\n";
    const std::uint32_t midnight = day * kSecondsPerDay;
    const std::uint32_t last =
        day == kDaysWithStamps - 1 ? 0xFFFFFFFF : midnight + (kSecondsPerDay - 1);
    for (const std::uint32_t stamp : {midnight, last}) {
      char line[64];
      ASSERT_EQ(time_to_line(static_cast<std::int32_t>(stamp), line, nullptr), 11);
      ASSERT_EQ(line, expected) << stamp;
    }
  }
}

// Calls `check(date, calendar)` for every date number, from the epoch's on.
template <typename Check>
void for_every_date_number(Check check) {
  plain::Calendar calendar;
  for (std::uint32_t i = 0; i < kDateNumbers && !testing::Test::HasFailure(); ++i, calendar.step())
    check(static_cast<std::uint16_t>(kDateNumberOfTheEpoch + i), calendar);
  EXPECT_TRUE(testing::Test::HasFailure() || calendar.year() == 2149);
}

TEST(EveryDateNumber, HasTheTextOfItsDay) {
  for_every_date_number([](std::uint16_t date, const plain::Calendar &calendar) {
    char text[ORLA_DATE_TEXT_SIZE];
    EXPECT_EQ(date_to_string(text, date), 10U);
    EXPECT_EQ(text, plain::date_text(calendar)) << date;
  });
}

TEST(EveryDateNumber, ComesOfTheFieldsOfItsDay) {
  for_every_date_number([](std::uint16_t date, const plain::Calendar &calendar) {
    auto got = static_cast<std::uint16_t>(~date);
    EXPECT_EQ(data_to_date(calendar.year() - 1900, calendar.month(), calendar.day(), &got), 1);
    EXPECT_EQ(got, date);
  });
}

void expect_read(const char *text, std::uint16_t date) {
  auto got = static_cast<std::uint16_t>(~date);
  EXPECT_EQ(string_to_date(text, &got), 1) << text;
  EXPECT_EQ(got, date) << text;
}

TEST(EveryDateNumber, ComesBackOutOfItsText) {
  const WithVariable mode(kOldMode, nullptr);
  for_every_date_number([](std::uint16_t date, const plain::Calendar &) {
    char text[ORLA_DATE_TEXT_SIZE];
    date_to_string(text, date);
    expect_read(text, date);
  });
}

TEST(EveryDateNumber, ComesOfItsTextInEitherFormOfTheOldMode) {
  const WithVariable mode(kOldMode, "");
  for_every_date_number([](std::uint16_t date, const plain::Calendar &calendar) {
    for (const char *form : {"%d %d %d", "%d/%d/%d", " %04d %02d\t%02d rest"}) {
      char text[64];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
      std::snprintf(text, sizeof text, form, calendar.year(), calendar.month(), calendar.day());
#pragma GCC diagnostic pop
      expect_read(text, date);
    }
  });
}

TEST(EveryDateNumber, HasMidnightUtcForItsStampButForTheOneThatIsZero) {
  const WithVariable mode(kOldMode, nullptr);
  std::uint32_t midnight = 0;  // Quirk: wraps after 2106
  for_every_date_number([&](std::uint16_t date, const plain::Calendar &) {
    char text[ORLA_DATE_TEXT_SIZE];
    date_to_string(text, date);
    EXPECT_EQ(static_cast<std::uint32_t>(string_to_time(text)), date == 0 ? 0 : midnight) << text;
    midnight += kSecondsPerDay;
  });
}

TEST(EveryMonth, OfAThousandYearsTakesTheDaysThatItHasAndNoOther) {
  for (std::int32_t year = 1900; year < 2900; ++year) {
    for (std::int32_t month = 1; month <= 12; ++month) {
      for (std::int32_t day = -1; day <= 33; ++day) {
        const auto expected = plain::date_number({year - 1900, month, day});
        std::uint16_t date = 4711;
        ASSERT_EQ(data_to_date(year - 1900, month, day, &date), expected ? 1 : 0);
        ASSERT_EQ(date, expected.value_or(4711)) << year << '-' << month << '-' << day;
      }
    }
  }
}

TEST(EveryMonth, OfThe65536YearsAroundZeroHasItsLength) {
  for (std::int32_t year = -32768; year < 32768; ++year) {
    ASSERT_EQ(days_in_year(year), plain::year_length(year)) << year;
    for (std::int32_t month = 1; month <= 12; ++month)
      ASSERT_EQ(days_in_month(year, month), plain::month_length(year, month)) << year << month;
  }
}

// The framework's own comparison would take most of the time here.
TEST(LongEveryYear, Of32BitsHas366DaysOnceInFour) {
  for (int year = INT32_MIN;; year += 4) {
    const bool right = days_in_year(year) == 366 && days_in_year(year + 1) == 365 &&
                       days_in_year(year + 2) == 365 && days_in_year(year + 3) == 365;
    ASSERT_TRUE(right) << year;
    if (year == INT32_MAX - 3) break;
  }
}

int since_1900_as_read(int year) {
  int fields = year - 1900;
  for (int i = 0; i < 2; ++i)
    if (fields > 1900) fields -= 1900;
  return fields;
}

void put_digits(char *out, int digits, int number) {
  for (int i = digits - 1; i >= 0; --i, number /= 10)
    out[i] = static_cast<char>('0' + number % 10);
}

// 100 months, 100 days, 10,000 years.
TEST(LongEveryDateOfTenCharacters, IsAcceptedWhereMonthDayAndCenturyExist) {
  const WithVariable mode(kOldMode, nullptr);
  char text[] = "MM/DD/YYYY";
  for (int year = 0; year < 10000; ++year) {
    put_digits(text + 6, 4, year);
    for (int month = 0; month < 100; ++month) {
      put_digits(text, 2, month);
      for (int day = 0; day < 100; ++day) {
        put_digits(text + 3, 2, day);
        std::int32_t got[3] = {};
        const int result = k7_parse_date(text, &got[0], &got[1], &got[2]);
        const bool exists = year >= 1900 && month >= 1 && month <= 12 && day >= 1 && day <= 31;
        ASSERT_EQ(result, exists ? 0 : 255) << text;
        if (!exists) continue;
        ASSERT_TRUE(got[0] == since_1900_as_read(year) && got[1] == month && got[2] == day) << text;
      }
    }
  }
}

void expect_translated(const std::string &format) {
  char numeric[64];
  std::memset(numeric, 'x', sizeof numeric);
  k7_date_format(format.c_str(), numeric);
  ASSERT_EQ(numeric, plain::date_format(format)) << testing::PrintToString(format);
}

TEST(EveryDateFormat, OfTwoBytesAndEveryPairAfterAPercentSignIsTranslated) {
  for (int first = 1; first < 256; ++first) {
    for (int second = 1; second < 256; ++second) {
      const std::string pair = {static_cast<char>(first), static_cast<char>(second)};
      expect_translated(pair);
      expect_translated("%" + pair);
      expect_translated("%m%" + pair);
    }
  }
}

}  // namespace
