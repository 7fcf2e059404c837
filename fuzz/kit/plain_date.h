// The date numbers said plainly, and what the functions over date text are held against.

#ifndef ORLA_FUZZ_KIT_PLAIN_DATE_H
#define ORLA_FUZZ_KIT_PLAIN_DATE_H

#include <orla/time.h>

#include <cstdint>
#include <optional>

#include "kit/agree.h"

struct DateFields {
  std::int32_t year;  // since 1900
  std::int32_t month;
  std::int32_t day;
};

inline std::optional<DateFields> within_range(const DateFields &fields) {
  if (fields.year < 0 || fields.month < 1 || fields.month > 12 || fields.day < 1 || fields.day > 31)
    return std::nullopt;
  return fields;
}

inline std::int64_t plain_month_length(std::int64_t year, int month) {
  switch (month) {
    case 2:
      return year % 4 == 0 ? 29 : 28;
    case 4:
    case 6:
    case 9:
    case 11:
      return 30;
    default:
      return 31;
  }
}

// Nothing for a day that does not exist in its month.
inline std::optional<std::uint16_t> plain_date_number(const DateFields &fields) {
  const std::int64_t year = std::int64_t{fields.year} + 1900;
  if (fields.day > plain_month_length(year, fields.month)) return std::nullopt;
  std::int64_t days = fields.day - 1;
  std::int64_t past = 1970;
  if (year > past) {  // any four years are 1461 days: too many of them to count one by one
    days += (year - past) / 4 * 1461;
    past += (year - past) / 4 * 4;
  }
  for (; past < year; ++past)
    days += past % 4 == 0 ? 366 : 365;
  for (int month = 1; month < fields.month; ++month)
    days += plain_month_length(year, month);
  return static_cast<std::uint16_t>(days - 6205);
}

inline std::int32_t plain_stamp(std::uint16_t date) {
  if (date == 0) return 0;
  return static_cast<std::int32_t>((date + 6205U) % 65536 * 86400);
}

// `expected` are the fields of a text that is accepted.
inline void check_date_text(const char *text, const std::optional<DateFields> &expected) {
  DateFields read = {-7, -7, -7};
  agree("k7_parse_date", k7_parse_date(text, &read.year, &read.month, &read.day),
        expected ? 0 : 255);
  if (expected) {
    agree("year", read.year, expected->year);
    agree("month", read.month, expected->month);
    agree("day", read.day, expected->day);
  }
  constexpr std::uint16_t kUntouched = 0x5A5A;
  const auto number = expected ? plain_date_number(*expected) : std::nullopt;
  std::uint16_t date = kUntouched;
  agree("string_to_date", string_to_date(text, &date), number ? 1 : 0);
  agree("date number", date, number.value_or(kUntouched));
  agree("string_to_time", string_to_time(text), plain_stamp(number.value_or(0)));
}

#endif
