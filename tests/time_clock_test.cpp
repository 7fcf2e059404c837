// The clock: stamps, offset, local date, the fold past 2038, and hosts whose clock leaves 32 bits.

#include <gtest/gtest.h>
#include <orla/time.h>

#include <cerrno>
#include <climits>
#include <functional>
#include <string>

#include "fakes/clock.h"
#include "kit/environment.h"

namespace {

constexpr std::time_t kWinter = 1170460800;  // 2007-02-03 00:00:00 UTC
constexpr std::time_t kSummer = 1183420800;  // 2007-07-03 00:00:00 UTC

std::string as_text(const std::tm &fields) {
  char text[40];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &fields);
  return text;
}

TEST(Stamp, IsTheClocksTime) {
  const ClockAt clock(kWinter);
  EXPECT_EQ(wek_time_stamp(), kWinter);
}

TEST(Stamp, IsZeroWhenThereIsNoClock) {
  const With clock(fake_time, [](std::time_t *) {
    errno = EFAULT;
    return std::time_t{-1};
  });
  EXPECT_EQ(wek_time_stamp(), 0);
}

TEST(Stamp, GivesTheVariableThatTheClockFilled) {
  const With clock(fake_time, [](std::time_t *out) {
    *out = 17;
    return std::time_t{99};
  });
  EXPECT_EQ(wek_time_stamp(), 17);
}

TEST(Offset, IsTheZonesAndLess3600WhileDaylightSaving) {
  const WithZone zone(kNewYork);
  {
    const ClockAt clock(kWinter);
    EXPECT_EQ(wek_localtime_offset(), 18000);
  }
  const ClockAt clock(kSummer);
  EXPECT_EQ(wek_localtime_offset(), 14400);
}

TEST(Offset, IsNegativeEastOfGreenwich) {
  const WithZone zone(kBerlin);
  const ClockAt clock(kSummer);
  EXPECT_EQ(wek_localtime_offset(), -7200);
}

TEST(Offset, IsZeroInUtc) {
  const WithZone zone("UTC0");
  const ClockAt clock(kSummer);
  EXPECT_EQ(wek_localtime_offset(), 0);
}

TEST(Offset, TakesOneHourForDaylightSavingEvenWhereTheRulesNameHalfAnHour) {
  const WithZone zone("LHST-10:30LHDT-11,M10.1.0,M4.1.0");
  const ClockAt clock(kWinter);  // summer in the south
  EXPECT_EQ(wek_localtime_offset(), -37800 - 3600);
  const std::time_t now = kWinter;
  EXPECT_EQ(std::localtime(&now)->tm_gmtoff, 37800 + 1800);
}

TEST(Offset, FollowsAChangeOfTheZoneAtTheNextCall) {
  const ClockAt clock(kWinter);
  const WithZone zone("AAA1");
  EXPECT_EQ(wek_localtime_offset(), 3600);
  setenv("TZ", "BBB2", 1);
  EXPECT_EQ(wek_localtime_offset(), 7200);
}

TEST(Offset, ReadsTheZoneAgainEvenWithoutALocalTime) {
  const WithZone zone("AAA1");
  const ClockAt clock(kSummer);
  setenv("TZ", "BBB2", 1);
  const With localtime(fake_localtime, [](const std::time_t *) { return nullptr; });
  EXPECT_EQ(wek_localtime_offset(), 7200);
}

TEST(Offset, TakesTheZoneBeforeItConverts) {
  const WithZone zone("AAA1");
  const ClockAt clock(kSummer);
  const With localtime(fake_localtime, [](const std::time_t *when) {
    setenv("TZ", "BBB2", 1);
    return fake_localtime.real(when);
  });
  EXPECT_EQ(wek_localtime_offset(), 3600);
}

TEST(Offset, TakesAnyPositiveDaylightFlagForOneHourAndPutsAZeroIntoANegativeOne) {
  const WithZone zone(kNewYork);
  const ClockAt clock(kSummer);
  const struct {
    int flag;
    int offset;
    int flag_after;  // in the shared record
  } rows[] = {{-1, 18000, 0}, {5, 14400, 5}};
  for (const auto &row : rows) {
    std::tm record = {};
    record.tm_isdst = row.flag;
    const With localtime(fake_localtime, [&](const std::time_t *) { return &record; });
    EXPECT_EQ(wek_localtime_offset(), row.offset);
    EXPECT_EQ(record.tm_isdst, row.flag_after);
  }
}

TEST(Offset, ConvertsTheClocksPresentTime) {
  const WithZone zone("UTC0");
  const ClockAt clock(kSummer);
  std::time_t asked = 0;
  const With localtime(fake_localtime, [&](const std::time_t *when) {
    asked = *when;
    return fake_localtime.real(when);
  });
  wek_localtime_offset();
  EXPECT_EQ(asked, kSummer);
}

TEST(LocalStamp, IsTheStampMinusTheOffset) {
  const WithZone zone(kNewYork);
  const ClockAt clock(kSummer);
  EXPECT_EQ(wek_time_stamp_local(), static_cast<std::uint32_t>(kSummer) - 14400);
}

TEST(LocalStamp, WrapsBelowZero) {
  const WithZone zone("AAA1");
  const ClockAt clock(0);
  EXPECT_EQ(wek_time_stamp_local(), 4294963696U);
}

TEST(LocalDate, IsTheLocalDayNotTheUtcDay) {
  const WithZone zone(kNewYork);
  const ClockAt clock(kWinter + 4 * 3600 + 1800);  // 23:30 on 2007-02-02 in New York
  std::uint16_t expected = 0;
  data_to_date(107, 2, 2, &expected);
  EXPECT_EQ(wek_date_stamp(), expected);
}

TEST(LocalDate, ChangesAtLocalMidnight) {
  const WithZone zone(kBerlin);
  std::uint16_t before = 0;
  {
    const ClockAt clock(kWinter - 3601);
    before = wek_date_stamp();
  }
  const ClockAt clock(kWinter - 3600);
  EXPECT_EQ(wek_date_stamp(), before + 1);
}

TEST(LocalDate, ReadsTheLocalStampAsUnsigned) {
  const WithZone zone("UTC0");
  const ClockPast2038 clock(4294967295);
  // 49710 days from 1970-01-01, less 6205.
  EXPECT_EQ(wek_date_stamp(), 43505);
}

struct FoldRow {
  std::uint32_t stamp;
  const char *text;
  int weekday;      // 0 is Sunday
  int day_of_year;  // 0 is 1 January
};

TEST(Fold, ReadsEveryStampAsUnsigned) {
  const FoldRow rows[] = {
      {0, "1970-01-01 00:00:00", 4, 0},
      {2147483647, "2038-01-19 03:14:07", 2, 18},
      {2147483648, "2038-01-19 03:14:08", 2, 18},  // one round
      {3031096447, "2066-01-19 03:14:07", 2, 18},  // the last stamp of one round
      {3031096448, "2066-01-19 03:14:08", 2, 18},  // two rounds
      {3914709248, "2094-01-19 03:14:08", 2, 18},  // three rounds
      {4107542399, "2100-02-28 23:59:59", 0, 58},
      {4107542400, "2100-02-29 00:00:00", 1, 59},  // a day that only this calendar has
      {4107628800, "2100-03-01 00:00:00", 2, 60},
      {4294967295, "2106-02-06 06:28:15", 0, 36},
  };
  for (const FoldRow &row : rows) {
    const auto stamp = static_cast<std::int32_t>(row.stamp);
    const std::tm *fields = wek_gmtime(&stamp);
    EXPECT_EQ(as_text(*fields), row.text) << row.stamp;
    EXPECT_EQ(fields->tm_wday, row.weekday) << row.stamp;
    EXPECT_EQ(fields->tm_yday, row.day_of_year) << row.stamp;
    EXPECT_EQ(static_cast<std::uint32_t>(stamp), row.stamp);  // the caller's value stays
  }
}

TEST(Fold, AppliesTheZoneRulesOfTheFoldedYear) {
  const WithZone zone(kNewYork);
  const auto summer = static_cast<std::int32_t>(2224886400U);  // 2040-07-03 00:00:00 UTC
  const std::tm *fields = wek_localtime(&summer);
  EXPECT_EQ(as_text(*fields), "2040-07-02 20:00:00");
  EXPECT_EQ(fields->tm_isdst, 1);
}

TEST(Fold, ConvertsLocallyBelow2038AsTheSystemDoes) {
  const WithZone zone(kNewYork);
  const auto stamp = static_cast<std::int32_t>(kWinter);
  EXPECT_EQ(as_text(*wek_localtime(&stamp)), "2007-02-02 19:00:00");
}

TEST(Fold, ReturnsTheSystemsStaticRecord) {
  const std::int32_t stamp = 86400;
  const std::time_t when = 0;
  const std::tm *folded = wek_gmtime(&stamp);
  EXPECT_EQ(folded, std::gmtime(&when));
  EXPECT_EQ(folded, wek_localtime(&stamp));
}

TEST(PassThrough, ConvertsTheSame32BitsToDatesFrom1901To1969) {
  const struct {
    std::int32_t stamp;
    const char *text;
  } rows[] = {
      {INT32_MIN, "1901-12-13 20:45:52"},
      {static_cast<std::int32_t>(3031096448U), "1929-12-13 20:45:52"},
      {-1, "1969-12-31 23:59:59"},
  };
  for (const auto &row : rows) {
    const std::time_t when = row.stamp;
    EXPECT_EQ(as_text(*tav_gmtime(&when)), row.text);
  }
}

TEST(PassThrough, ReturnsWhatTheSystemReturns) {
  const WithZone zone(kNewYork);
  const std::time_t when = kSummer;
  EXPECT_EQ(tav_gmtime(&when), std::gmtime(&when));
  EXPECT_EQ(tav_localtime(&when), std::localtime(&when));
  EXPECT_EQ(as_text(*tav_localtime(&when)), "2007-07-02 20:00:00");
  EXPECT_STREQ(tav_ctime(&when), "Mon Jul  2 20:00:00 2007\n");
  std::tm fields = *std::localtime(&when);
  EXPECT_EQ(tav_mktime(&fields), kSummer);
  fields.tm_isdst = 0;  // the flag goes through as well: an hour later
  EXPECT_EQ(tav_mktime(&fields), kSummer + 3600);
}

TEST(PassThrough, LeavesTheSystemsErrorInErrno) {
  std::tm fields = {};
  fields.tm_year = INT_MAX;
  fields.tm_mon = INT_MAX;
  errno = 0;
  EXPECT_EQ(tav_mktime(&fields), -1);
  EXPECT_EQ(errno, EOVERFLOW);
}

TEST(PassThrough, HandsItsArgumentOnUnchanged) {
  const std::time_t when = 5;
  std::tm record = {};
  const std::time_t *asked = nullptr;
  const With localtime(fake_localtime, [&](const std::time_t *argument) {
    asked = argument;
    return &record;
  });
  EXPECT_EQ(tav_localtime(&when), &record);
  EXPECT_EQ(asked, &when);
}

TEST(RestoreTZ, LeavesTheZoneAlone) {
  const WithZone zone(kNewYork);
  RestoreTZ();
  EXPECT_STREQ(std::getenv("TZ"), kNewYork);
}

// 2040-07-03 00:00:00 UTC, where 32 bits of signed seconds have ended.
constexpr std::int64_t kSummer2040 = 2224886400;

TEST(ClockPast2038, GivesTheLow32BitsOfTheKernelsClock) {
  const ClockPast2038 clock(kSummer2040);
  EXPECT_EQ(static_cast<std::uint32_t>(wek_time_stamp()), kSummer2040);
}

TEST(ClockPast2038, IsAskedOnlyWhenTheClockOverflows) {
  int asked = 0;
  const With kernel(fake_kernel_clock, [&](clockid_t, ClockReading *) {
    ++asked;
    return 0;
  });
  {
    const ClockAt clock(kWinter);
    wek_time_stamp();
    wek_localtime_offset();
  }
  const With clock(fake_time, [](std::time_t *) {
    errno = EINVAL;
    return std::time_t{-1};
  });
  wek_time_stamp();
  wek_localtime_offset();
  EXPECT_EQ(asked, 0);
}

TEST(ClockPast2038, IsZeroWhenTheKernelDoesNotAnswerEither) {
  const ClockPast2038 clock(kSummer2040);
  const With kernel(fake_kernel_clock, [](clockid_t, ClockReading *) {
    errno = ENOSYS;
    return -1;
  });
  EXPECT_EQ(wek_time_stamp(), 0);
}

TEST(ClockPast2038, ComputesDaylightSavingByTheFoldedYear) {
  const WithZone zone(kNewYork);
  {
    const ClockPast2038 clock(kSummer2040);
    EXPECT_EQ(wek_localtime_offset(), 14400);
    EXPECT_EQ(wek_time_stamp_local(), kSummer2040 - 14400);
  }
  const ClockPast2038 clock(kSummer2040 + 183LL * 86400);
  EXPECT_EQ(wek_localtime_offset(), 18000);
}

TEST(ClockPast2038, GivesThePlainZoneWithoutALocalTime) {
  const WithZone zone(kNewYork);
  const ClockPast2038 clock(kSummer2040);
  const With localtime(fake_localtime, [](const std::time_t *) { return nullptr; });
  EXPECT_EQ(wek_localtime_offset(), 18000);
}

// The record is shared: the next reader finds the real year.
TEST(ClockPast2038, LeavesTheYearInTheSharedRecord) {
  const WithZone zone(kNewYork);
  const ClockPast2038 clock(kSummer2040);
  std::tm record = {};
  record.tm_year = 112;
  const With localtime(fake_localtime, [&](const std::time_t *) { return &record; });
  wek_localtime_offset();
  EXPECT_EQ(record.tm_year, 140);
}

TEST(ClockPast2038, GivesTheLocalDate) {
  const WithZone zone(kNewYork);
  const ClockPast2038 clock(kSummer2040);
  std::uint16_t expected = 0;
  data_to_date(140, 7, 2, &expected);
  EXPECT_EQ(wek_date_stamp(), expected);
}

TEST(ClockPast2038, StandsAtTheLastStamp) {
  const ClockPast2038 clock(4294967295);
  EXPECT_EQ(wek_time_stamp(), -1);
}

// The C library sets it even when it succeeds, for example when the zone's file is missing.
TEST(TimeErrno, IsLeftAlone) {
  const WithZone zone(kNewYork);
  const With time(fake_time, [](std::time_t *) {
    errno = EINVAL;
    return std::time_t{-1};
  });
  const With localtime(fake_localtime, [](const std::time_t *when) {
    std::tm *fields = fake_localtime.real(when);
    errno = EACCES;
    return fields;
  });
  const With gmtime(fake_gmtime, [](const std::time_t *when) {
    std::tm *fields = fake_gmtime.real(when);
    errno = EACCES;
    return fields;
  });
  const std::int32_t stamp = -1;
  const std::function<void()> calls[] = {[] { wek_time_stamp(); },
                                         [] { wek_time_stamp_local(); },
                                         [] { wek_date_stamp(); },
                                         [&] { wek_gmtime(&stamp); },
                                         [&] { wek_localtime(&stamp); },
                                         [] {
                                           setenv("TZ", ":/no/such/zone", 1);
                                           wek_localtime_offset();
                                         }};
  for (const auto &call : calls) {
    errno = ERANGE;
    call();
    EXPECT_EQ(errno, ERANGE) << &call - calls;
  }
}

TEST(TimeErrno, IsLeftAlonePast2038) {
  const ClockPast2038 clock(kSummer2040);
  errno = ERANGE;
  wek_time_stamp();
  EXPECT_EQ(errno, ERANGE);
}

}  // namespace
