// The calendar and date text in a slow and plain version, which the library is compared with.

#ifndef ORLA_TESTS_PLAIN_DATE_H
#define ORLA_TESTS_PLAIN_DATE_H

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <optional>
#include <string>

namespace plain {

constexpr int month_length(std::int64_t year, int month) {
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

constexpr int year_length(std::int64_t year) { return year % 4 == 0 ? 366 : 365; }

// Walks from 1970-01-01, a Thursday, a day at a time.
class Calendar {
 public:
  int year() const { return year_; }
  int month() const { return month_; }  // 1 to 12
  int day() const { return day_; }
  int weekday() const { return weekday_; }  // 0 is Sunday
  int day_of_year() const { return day_of_year_; }

  void step() {
    weekday_ = weekday_ == 6 ? 0 : weekday_ + 1;
    ++day_of_year_;
    if (day_ < month_length(year_, month_)) {
      ++day_;
      return;
    }
    day_ = 1;
    if (month_ < 12) {
      ++month_;
      return;
    }
    month_ = 1;
    day_of_year_ = 0;
    ++year_;
  }

 private:
  int year_ = 1970;
  int month_ = 1;
  int day_ = 1;
  int weekday_ = 4;
  int day_of_year_ = 0;
};

inline std::string date_text(const Calendar &calendar) {
  char text[64];
  std::snprintf(text, sizeof text, "%02d/%02d/%04d", calendar.month(), calendar.day(),
                calendar.year());
  return text;
}

struct DateFields {
  std::int32_t year;  // since 1900
  std::int32_t month;
  std::int32_t day;
};

// None for a month or a day that does not exist.
inline std::optional<std::uint16_t> date_number(const DateFields &fields) {
  const std::int64_t year = std::int64_t{fields.year} + 1900;
  if (fields.month < 1 || fields.month > 12) return std::nullopt;
  if (fields.day < 1 || fields.day > month_length(year, fields.month)) return std::nullopt;
  std::int64_t days = fields.day - 1;
  std::int64_t past = 1970;
  if (year > past) {  // any four years are 1461 days: too many of them to count one by one
    days += (year - past) / 4 * 1461;
    past += (year - past) / 4 * 4;
  }
  for (; past < year; ++past)
    days += year_length(past);
  for (int month = 1; month < fields.month; ++month)
    days += month_length(year, month);
  return static_cast<std::uint16_t>(days - 6205);
}

// Midnight UTC of a date, as its text gives it.
inline std::int32_t stamp(std::uint16_t date) {
  if (date == 0) return 0;
  return static_cast<std::int32_t>((date + 6205U) % 65536 * 86400);
}

inline std::int32_t lowered(std::int32_t year) { return year > 1900 ? year - 1900 : year; }

inline std::optional<DateFields> within_range(const DateFields &fields) {
  if (fields.year < 0 || fields.month < 1 || fields.month > 12 || fields.day < 1 || fields.day > 31)
    return std::nullopt;
  return fields;
}

// What the standard input mode reads, before it looks at the range.
inline std::tm strptime_fields(const char *text) {
  std::tm fields = {};
  fields.tm_year = -1;
  strptime(text, "%m/%d/%Y", &fields);
  fields.tm_year = lowered(fields.tm_year);
  return fields;
}

// None for a text that is rejected.
inline std::optional<DateFields> standard_date(const char *text) {
  const std::tm fields = strptime_fields(text);
  return within_range({lowered(fields.tm_year), fields.tm_mon + 1, fields.tm_mday});
}

inline std::optional<DateFields> old_date(const char *text) {
  DateFields read;
  if (std::sscanf(text, "%d %d %d", &read.year, &read.month, &read.day) != 3 &&
      std::sscanf(text, "%d/%d/%d", &read.year, &read.month, &read.day) != 3) {
    return std::nullopt;
  }
  read.year = lowered(read.year);
  return within_range(read);
}

// The translation of a date format, character by character.
inline std::string date_format(const std::string &format) {
  std::string numeric;
  for (std::size_t i = 0; i < format.size(); ++i) {
    if (format[i] != '%') {
      numeric += format[i];
      continue;
    }
    if (++i == format.size()) break;
    if (format[i] == 'm') numeric += "%1$2d";
    if (format[i] == 'd') numeric += "%2$2d";
    if (format[i] == 'y') numeric += "%3$2d";
    if (format[i] == 'Y') numeric += "%3$4d";
    if (format[i] == '%') numeric += "%";
  }
  return numeric;
}

}  // namespace plain

#endif
