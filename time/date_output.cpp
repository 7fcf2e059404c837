// Dates and times as text, as lines, and the translation of a date format for printf().

#include <orla/time.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <limits>

#include "base/kept_errno.h"
#include "base/percent_text.h"
#include "time/calendar.h"
#include "time/date_format.h"

namespace {

constexpr std::size_t kDateTextLength = 10;

struct TwoDigits {
  char text[2];
};

// "00" to "99".
constexpr std::array<TwoDigits, 100> make_two_digits() {
  std::array<TwoDigits, 100> table = {};
  for (unsigned number = 0; number < table.size(); ++number)
    table[number] = {{static_cast<char>('0' + number / 10), static_cast<char>('0' + number % 10)}};
  return table;
}

constexpr std::array<TwoDigits, 100> kTwoDigits = make_two_digits();

// Precondition: number is 0 to 99.
char *put_two_digits(char *out, std::uint32_t number) {
  std::memcpy(out, kTwoDigits[number].text, 2);
  return out + 2;
}

// Writes "MM/DD/YYYY", unterminated.
void put_date(char *out, std::uint16_t date) {
  const orla::CivilDate civil = orla::civil_from_date_number(date);
  const auto year = static_cast<std::uint32_t>(civil.year);  // 1970 to 2149
  out = put_two_digits(out, static_cast<std::uint32_t>(civil.month));
  *out++ = '/';
  out = put_two_digits(out, static_cast<std::uint32_t>(civil.day));
  *out++ = '/';
  out = put_two_digits(out, year / 100);
  put_two_digits(out, year % 100);
}

std::uint16_t utc_date(std::int32_t stamp) {
  return orla::date_number_from_stamp(static_cast<std::uint32_t>(stamp));
}

// printf() counts no further than an int.
int printf_length(std::size_t size) {
  return static_cast<int>(std::min<std::size_t>(size, std::numeric_limits<int>::max()));
}

// What replaces "%" and `letter` in the printf() format.
const char *numeric_conversion(char letter) {
  switch (letter) {
    case 'm':
      return "%1$2d";
    case 'd':
      return "%2$2d";
    case 'y':
      return "%3$2d";
    case 'Y':
      return "%3$4d";
    case '%':
      return "%";  // Quirk: one, which begins a conversion with the character after it
    default:
      return "";
  }
}

}  // namespace

std::size_t date_to_string(char *text, std::uint16_t date) noexcept {
  put_date(text, date);
  text[kDateTextLength] = '\0';
  return kDateTextLength;
}

std::size_t time_to_string(char *text, std::int32_t stamp) noexcept {
  const orla::KeptErrno kept;
  const std::time_t when = stamp;  // Quirk: read as signed, without the fold
  const std::tm *fields = tav_gmtime(&when);
  return std::strftime(text, ORLA_DATE_TEXT_SIZE, orla::orla_century_fmt(1), fields);
}

int date_to_line(std::uint16_t date, char *line, const char *prefix) noexcept {
  char text[ORLA_DATE_TEXT_SIZE];
  date_to_string(text, date);
  if (prefix == nullptr) return std::sprintf(line, "%s\n", text);
  return std::sprintf(line, "%s%s\n", prefix, text);
}

int time_to_line(std::int32_t stamp, char *line, const char *prefix) noexcept {
  return date_to_line(utc_date(stamp), line, prefix);
}

int print_date_line(std::uint16_t date, const char *prefix) noexcept {
  return fprint_date_line(stdout, date, prefix);
}

int print_time_line(std::int32_t stamp, const char *prefix) noexcept {
  return print_date_line(utc_date(stamp), prefix);
}

int fprint_date_line(std::FILE *stream, std::uint16_t date, const char *prefix) noexcept {
  const int error = errno;
  char line[ORLA_DATE_TEXT_SIZE];
  date_to_line(date, line, nullptr);
  // Quirk: the prefix is a format, so "%%" in it is one percent sign.
  const orla::PercentText text("", prefix != nullptr ? prefix : "", line);
  // Not fwrite(): it counts a line as written once it is in the stream's buffer, even when flushing
  // fails.
  const int printed = std::fprintf(stream, "%.*s", printf_length(text.size()), text.data());
  if (printed >= 0) errno = error;
  return printed;
}

int fprint_time_line(std::FILE *stream, std::int32_t stamp, const char *prefix) noexcept {
  return fprint_date_line(stream, utc_date(stamp), prefix);
}

void k7_date_format(const char *format, char *numeric) noexcept {
  for (; *format != '\0'; ++format) {
    if (*format != '%') {
      *numeric++ = *format;
      continue;
    }
    if (*++format == '\0') break;
    numeric = stpcpy(numeric, numeric_conversion(*format));
  }
  *numeric = '\0';
}
