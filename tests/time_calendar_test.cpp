// The calendar: lengths, fields to date number, and the closed form against plain loops.

#include <gtest/gtest.h>
#include <orla/time.h>

#include "time/calendar.h"

namespace {

// The plain way, a year and a month at a time.
std::uint16_t date_number_by_loops(std::int32_t year, std::int32_t month, std::int32_t day) {
  std::uint32_t days = static_cast<std::uint32_t>(day) - 1;
  for (std::int32_t y = 1970; y < year; ++y)
    days += static_cast<std::uint32_t>(days_in_year(y));
  for (std::int32_t m = 1; m < month; ++m) {
    days += static_cast<std::uint32_t>(days_in_month(year, m));
  }
  return static_cast<std::uint16_t>(days - 6205);
}

orla::CivilDate civil_by_loops(std::uint16_t date) {
  std::int32_t rest = static_cast<std::uint16_t>(date + 6205);
  std::int32_t year = 1970;
  for (; rest >= days_in_year(year); ++year)
    rest -= days_in_year(year);
  std::int32_t month = 1;
  for (; rest >= days_in_month(year, month); ++month)
    rest -= days_in_month(year, month);
  return {year, month, rest + 1};
}

TEST(YearLength, Has366DaysExactlyWhenDivisibleByFour) {
  for (std::int32_t year = -400; year <= 4000; ++year) {
    EXPECT_EQ(days_in_year(year), year % 4 == 0 ? 366 : 365) << year;
  }
}

TEST(YearLength, TakesCenturiesForLeapYears) {
  EXPECT_EQ(days_in_year(1900), 366);
  EXPECT_EQ(days_in_year(2000), 366);
  EXPECT_EQ(days_in_year(2100), 366);
}

TEST(MonthLength, FollowsTheTable) {
  const std::int32_t lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  for (std::int32_t month = 1; month <= 12; ++month) {
    EXPECT_EQ(days_in_month(2007, month), lengths[month - 1]) << month;
    EXPECT_EQ(days_in_month(2008, month), lengths[month - 1] + (month == 2)) << month;
  }
}

TEST(MonthLength, OfNoMonthIsOneOfTheLengths) {
  for (const std::int32_t month : {INT32_MIN, -16, -1, 0, 13, 14, 15, 16, 17, INT32_MAX}) {
    EXPECT_GE(days_in_month(2007, month), 28) << month;
    EXPECT_LE(days_in_month(2007, month), 31) << month;
  }
}

TEST(MonthLength, GivesFebruaryOf1900And2100TwentyNineDays) {
  EXPECT_EQ(days_in_month(1900, 2), 29);
  EXPECT_EQ(days_in_month(2100, 2), 29);
}

struct FieldsRow {
  std::int32_t year;  // since 1900
  std::int32_t month;
  std::int32_t day;
  std::uint16_t date;
};

TEST(FieldsToDate, StoresTheDateNumber) {
  const FieldsRow rows[] = {
      {86, 12, 28, 0},     {86, 12, 27, 65535}, {70, 1, 1, 59331},
      {100, 1, 1, 4752},   {100, 2, 29, 4811},  {200, 2, 28, 41335},
      {200, 2, 29, 41336}, {200, 3, 1, 41337},  {249, 6, 5, 59330},
  };
  for (const FieldsRow &row : rows) {
    std::uint16_t date = 1;
    EXPECT_EQ(data_to_date(row.year, row.month, row.day, &date), 1);
    EXPECT_EQ(date, row.date) << row.year << '-' << row.month << '-' << row.day;
  }
}

// 2100 is a leap year here, so the day behind the last distinct date is 1970-01-01 again.
TEST(FieldsToDate, WrapsBehind21490605OntoTheEpoch) {
  std::uint16_t date = 0;
  EXPECT_EQ(data_to_date(249, 6, 6, &date), 1);
  EXPECT_EQ(date, 59331);
}

TEST(FieldsToDate, RejectsMonthsAndDaysThatDoNotExist) {
  const FieldsRow rows[] = {
      {107, 0, 1, 0},         {107, 13, 1, 0}, {107, -1, 1, 0},        {107, 1, 0, 0},
      {107, 1, -1, 0},        {107, 4, 31, 0}, {107, 1, 32, 0},        {107, 2, 29, 0},
      {100, 2, 30, 0},        {107, 0, 0, 0},  {107, INT32_MIN, 1, 0}, {107, INT32_MAX, 1, 0},
      {107, 1, INT32_MAX, 0},
  };
  for (const FieldsRow &row : rows) {
    std::uint16_t date = 4711;
    EXPECT_EQ(data_to_date(row.year, row.month, row.day, &date), 0);
    EXPECT_EQ(date, 4711) << row.year << '-' << row.month << '-' << row.day;
  }
}

TEST(FieldsToDate, AcceptsTheTwentyNinthOfFebruaryOf2000And2100) {
  std::uint16_t date;
  EXPECT_EQ(data_to_date(100, 2, 29, &date), 1);
  EXPECT_EQ(data_to_date(200, 2, 29, &date), 1);
}

TEST(FieldsToDate, CountsAYearBefore1970AsIfItBeganOnTheEpoch) {
  std::uint16_t date = 0;
  for (const std::int32_t year : {0, 5, 69, -1900, -5000, INT32_MIN + 1900}) {
    EXPECT_EQ(data_to_date(year, 1, 1, &date), 1);
    EXPECT_EQ(date, 59331) << year;
  }
  // March of a leap year before 1970 is one day further on.
  EXPECT_EQ(data_to_date(69, 3, 1, &date), 1);
  EXPECT_EQ(date, 59331 + 59);
  EXPECT_EQ(data_to_date(68, 3, 1, &date), 1);
  EXPECT_EQ(date, 59331 + 60);
}

TEST(FieldsToDate, EqualsTheLoopsForAllValidFieldsFrom1895To2300) {
  for (std::int32_t year = 1895; year <= 2300; ++year) {
    for (std::int32_t month = 1; month <= 12; ++month) {
      for (std::int32_t day = 1; day <= days_in_month(year, month); ++day) {
        std::uint16_t date = 0;
        ASSERT_EQ(data_to_date(year - 1900, month, day, &date), 1);
        ASSERT_EQ(date, date_number_by_loops(year, month, day))
            << year << '-' << month << '-' << day;
      }
    }
  }
}

TEST(FieldsToDate, EqualsTheLoopsForFarYears) {
  for (const std::int32_t year : {3800, 9999, 100001, 1000000, 30000000}) {
    std::uint16_t date = 0;
    ASSERT_EQ(data_to_date(year - 1900, 3, 1, &date), 1);
    EXPECT_EQ(date, date_number_by_loops(year, 3, 1)) << year;
  }
}

TEST(FieldsToDate, TakesTheLargestYearsWithoutOverflow) {
  std::uint16_t date = 0;
  EXPECT_EQ(data_to_date(INT32_MAX - 1900, 1, 1, &date), 1);
  // 2147481677 years from 1970 on, of which 536870419 before it are leap years, modulo 65,536 days.
  EXPECT_EQ(date, static_cast<std::uint16_t>(365ULL * 2147481677ULL + 536870419ULL - 6205ULL));
  // Past that the full year leaves 32 bits and counts as one before 1970.
  EXPECT_EQ(data_to_date(INT32_MAX, 1, 1, &date), 1);
  EXPECT_EQ(date, 59331);
}

TEST(DateSplit, GivesTheKnownDates) {
  struct {
    std::uint16_t date;
    orla::CivilDate civil;
  } const rows[] = {
      {0, {1986, 12, 28}},  {65535, {1986, 12, 27}}, {59331, {1970, 1, 1}},
      {4752, {2000, 1, 1}}, {41336, {2100, 2, 29}},  {59330, {2149, 6, 5}},
  };
  for (const auto &row : rows) {
    const orla::CivilDate civil = orla::civil_from_date_number(row.date);
    EXPECT_EQ(civil.year, row.civil.year) << row.date;
    EXPECT_EQ(civil.month, row.civil.month) << row.date;
    EXPECT_EQ(civil.day, row.civil.day) << row.date;
  }
}

TEST(DateSplit, EqualsTheLoopsForEveryDateNumberAndComesBack) {
  for (std::uint32_t number = 0; number <= 65535; ++number) {
    const auto date = static_cast<std::uint16_t>(number);
    const orla::CivilDate closed = orla::civil_from_date_number(date);
    const orla::CivilDate looped = civil_by_loops(date);
    ASSERT_EQ(closed.year, looped.year) << number;
    ASSERT_EQ(closed.month, looped.month) << number;
    ASSERT_EQ(closed.day, looped.day) << number;
    std::uint16_t back = 0;
    ASSERT_EQ(data_to_date(closed.year - 1900, closed.month, closed.day, &back), 1);
    ASSERT_EQ(back, date);
  }
}

}  // namespace
