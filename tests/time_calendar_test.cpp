// The calendar by examples and limits; time_exhaustive_test.cpp tests its domains completely.

#include <gtest/gtest.h>
#include <orla/time.h>

#include "plain/date.h"

namespace {

TEST(YearLength, TakesCenturiesForLeapYears) {
  EXPECT_EQ(days_in_year(1900), 366);
  EXPECT_EQ(days_in_year(2000), 366);
  EXPECT_EQ(days_in_year(2100), 366);
}

TEST(MonthLength, OfNoMonthIsOneOfTheLengths) {
  for (const std::int32_t month : {INT32_MIN, -16, -1, 0, 13, 14, 15, 16, 17, INT32_MAX}) {
    EXPECT_GE(days_in_month(2007, month), 28) << month;
    EXPECT_LE(days_in_month(2007, month), 31) << month;
  }
}

struct FieldsRow {
  std::int32_t year;  // since 1900
  std::int32_t month;
  std::int32_t day;
  std::uint16_t date;
};

TEST(FieldsToDate, StoresTheDateNumberWhichWrapsIn16Bits) {
  const FieldsRow rows[] = {
      {86, 12, 28, 0},    {86, 12, 27, 65535}, {70, 1, 1, 59331},   {100, 1, 1, 4752},
      {100, 2, 29, 4811}, {200, 2, 28, 41335}, {200, 2, 29, 41336}, {200, 3, 1, 41337},
      {249, 6, 5, 59330}, {249, 6, 6, 59331},
  };
  for (const FieldsRow &row : rows) {
    std::uint16_t date = 1;
    EXPECT_EQ(data_to_date(row.year, row.month, row.day, &date), 1);
    EXPECT_EQ(date, row.date) << row.year << '-' << row.month << '-' << row.day;
  }
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

TEST(FieldsToDate, EqualsThePlainWayForFarYears) {
  for (const std::int32_t year : {3800, 9999, 100001, 1000000, 30000000}) {
    std::uint16_t date = 0;
    ASSERT_EQ(data_to_date(year - 1900, 3, 1, &date), 1);
    EXPECT_EQ(date, plain::date_number({year - 1900, 3, 1})) << year;
  }
}

TEST(DateNumbers, CompareByTheirDifferenceOf16BitsWithin89Years) {
  const auto new_year = [](std::int32_t year) {
    std::uint16_t date = 0;
    EXPECT_EQ(data_to_date(year - 1900, 1, 1, &date), 1);
    return date;
  };
  for (std::int32_t year = 1970; year + 89 <= 2149; ++year) {
    EXPECT_GT(static_cast<std::int16_t>(new_year(year + 89) - new_year(year)), 0) << year;
    EXPECT_LT(static_cast<std::int16_t>(new_year(year) - new_year(year + 89)), 0) << year;
  }
  EXPECT_LT(static_cast<std::int16_t>(new_year(2060) - new_year(1970)), 0);  // 90 are too many
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

}  // namespace
