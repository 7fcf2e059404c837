// The library's calendar in closed form: pure functions over numbers, no clock and no zone.
//
// One year in four is a leap year, without exception, so days map to years by division. Days are
// counted from 1970-01-01, which is day 0. Years are shifted to begin in March, which puts the leap
// day last.

#ifndef ORLA_TIME_CALENDAR_H
#define ORLA_TIME_CALENDAR_H

#include <cstdint>

namespace orla {

struct CivilDate {
  std::int32_t year;   // in full, such as 2007
  std::int32_t month;  // 1 to 12
  std::int32_t day;    // 1 to 31
};

inline constexpr std::int32_t kEpochYear = 1970;
inline constexpr std::uint32_t kSecondsPerDay = 86400;

// Days from 1970-01-01 to 1986-12-28, whose date number is 0.
inline constexpr std::uint32_t kDateNumberShift = 6205;

// Quirk: a year is a leap year when 4 divides it, so 1900 and 2100 are. There is no century rule,
// because the date numbers and stamps that programs have stored were computed without one.
constexpr bool is_leap_year(std::int32_t year) { return (year & 3) == 0; }

// Lengths and starts of months are computed without a table, because on 32-bit x86 a shared library
// must first find its own address to reach one, and without a branch, because a branch on the month
// is hard to predict.

// Quirk: the month is not checked; one that is not 1 to 12 has a length of 28 to 31 too.
constexpr std::int32_t month_length(std::int32_t year, std::int32_t month) {
  // Odd months have 31 days; from August on, even ones.
  const std::int32_t days = 30 + ((month ^ month >> 3) & 1);
  const std::int32_t missing_in_february = is_leap_year(year) ? 1 : 2;
  return month == 2 ? days - missing_in_february : days;
}

// Days from 1970-01-01, modulo 2^30. Precondition: the month and the day exist.
constexpr std::uint32_t days_from_civil(CivilDate date) {
  constexpr std::uint32_t kDaysBefore1970 = 719484;  // the sum below for 1970-01-01

  // January and February are months 13 and 14 of a year that began in March.
  const std::uint32_t last_year = date.month < 3 ? 1 : 0;
  const std::uint32_t year = static_cast<std::uint32_t>(date.year) - last_year;
  const std::uint32_t month = static_cast<std::uint32_t>(date.month) + 12 * last_year;  // 3 to 14
  // Four years have 1461 days. The months from March on begin on a line, in 1/32 day.
  return 1461 * year / 4 + (979 * month - 2919) / 32 + static_cast<std::uint32_t>(date.day) -
         kDaysBefore1970;
}

// The reverse for the 65,536 days that a date number can stand for: 1970-01-01 to 2149-06-05.
constexpr CivilDate civil_from_days(std::uint16_t days) {
  constexpr std::uint32_t kDaysFromMarch1968 = 671;
  constexpr std::uint32_t kDaysPerFourYears = 1461;
  constexpr std::uint32_t kMarchToDecember = 306;

  const std::uint32_t quarter_days = 4 * (days + kDaysFromMarch1968) + 3;  // 2687 to 264,827
  const std::uint32_t march_year = quarter_days / kDaysPerFourYears;       // 1 to 181, from 1968
  const std::uint32_t day_of_year = quarter_days % kDaysPerFourYears / 4;  // 0 to 365
  // Five months from March on have 153 days, and so have the next five: a line, in 1/65536 month.
  const std::uint32_t position = 2141 * day_of_year + 197913;  // 197,913 to 979,378
  const std::uint32_t month = position >> 16;                  // 3 to 14
  const std::uint32_t day = (position & 0xFFFF) / 2141;        // 0 to 30
  const bool next_year = day_of_year >= kMarchToDecember;      // January and February
  return {static_cast<std::int32_t>(1968 + march_year + next_year),
          static_cast<std::int32_t>(next_year ? month - 12 : month),
          static_cast<std::int32_t>(day + 1)};
}

constexpr std::uint16_t date_number_from_days(std::uint32_t days) {
  return static_cast<std::uint16_t>(days - kDateNumberShift);
}

constexpr std::uint16_t days_from_date_number(std::uint16_t date) {
  return static_cast<std::uint16_t>(date + kDateNumberShift);
}

// Precondition: the month and the day exist.
constexpr std::uint16_t date_number_from_civil(CivilDate date) {
  if (date.year >= kEpochYear) return date_number_from_days(days_from_civil(date));
  // Quirk: a year before 1970 counts as if it began on 1970-01-01.
  const std::int32_t alike = 1972 + (date.year & 3);  // a leap year when that is one
  return date_number_from_days(days_from_civil({alike, date.month, date.day}) -
                               days_from_civil({alike, 1, 1}));
}

// The UTC day of a stamp, which is read as unsigned.
constexpr std::uint16_t date_number_from_stamp(std::uint32_t stamp) {
  return date_number_from_days(stamp / kSecondsPerDay);
}

constexpr CivilDate civil_from_date_number(std::uint16_t date) {
  return civil_from_days(days_from_date_number(date));
}

// 28 years of this calendar are a whole number of weeks: weekdays and leap years recur.
inline constexpr std::uint32_t kFoldSeconds = 883612800;
inline constexpr std::int32_t kFoldYears = 28;

struct FoldedStamp {
  std::int32_t seconds;  // 0 to 2^31 - 1
  std::int32_t years;    // to be added to the year: 0, 28, 56 or 84
};

// Moves a stamp, which is read as unsigned, into the range that every C library can convert.
constexpr FoldedStamp fold(std::uint32_t stamp) {
  std::int32_t years = 0;
  for (; static_cast<std::int32_t>(stamp) < 0; stamp -= kFoldSeconds)
    years += kFoldYears;
  return {static_cast<std::int32_t>(stamp), years};
}

}  // namespace orla

#endif
