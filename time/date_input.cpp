// Dates read from text, in the input mode that is decided once per process.

#include <orla/time.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "base/kept_errno.h"
#include "time/calendar.h"
#include "time/date_format.h"

namespace {

constexpr int kAccepted = 0;
constexpr int kRejected = 255;

// Holds the input mode: -1 until the first parse, then 0 (standard) or 1 (old) for good.
constinit std::atomic<std::int32_t> date_old_fmt = -1;
static_assert(std::atomic<std::int32_t>::is_always_lock_free);

// Sets the input mode. Threads that do this at the same time all find the same mode.
void get_fmt_var() {
  const bool old = std::getenv("ORLALS_DATE_FORMAT_OLD") != nullptr;  // Quirk: with any value
  date_old_fmt.store(old ? 1 : 0, std::memory_order_relaxed);
}

// Quirk: 1900 itself is not lowered, and so means the year 3800.
std::int32_t since_1900(std::int32_t year) { return year > 1900 ? year - 1900 : year; }

bool is_month(std::int32_t month) { return month >= 1 && month <= 12; }
bool is_day(std::int32_t day) { return day >= 1 && day <= 31; }

struct ParsedDate {
  std::int32_t year;  // since 1900
  std::int32_t month;
  std::int32_t day;
};

// Up to 9 for a digit, more for any other character.
std::uint32_t digit(char c) { return static_cast<unsigned char>(c) - std::uint32_t{'0'}; }

// The number that two digits make; -1 where there are none.
std::int32_t two_digits(const char *text) {
  const std::uint32_t tens = digit(text[0]);
  if (tens > 9) return -1;
  const std::uint32_t ones = digit(text[1]);
  if (ones > 9) return -1;
  return static_cast<std::int32_t>(10 * tens + ones);
}

// Reads "MM/DD/YYYY" without strptime(), which would give the same: a month, a slash, a day, a
// slash and a year of 1900 to 3799, with all their digits. It reads no further than the first
// character that does not fit.
[[nodiscard]] bool scan_canonical(const char *text, ParsedDate &date) {
  date.month = two_digits(text);
  if (!is_month(date.month) || text[2] != '/') return false;
  date.day = two_digits(text + 3);
  if (!is_day(date.day) || text[5] != '/') return false;
  const std::int32_t century = two_digits(text + 6);
  // Quirk: strptime() accepts later years, and most of them are lowered by 1900 more than once.
  if (century < 19 || century > 37) return false;
  const std::int32_t year_of_century = two_digits(text + 8);
  if (year_of_century < 0) return false;
  date.year = 100 * century - 1900 + year_of_century;
  return true;
}

// False when the text does not have three numbers; some of them may have been stored.
[[nodiscard]] bool scan_old(const char *text, std::int32_t *year, std::int32_t *month,
                            std::int32_t *day) {
  const orla::KeptErrno kept;
  // Quirk: a number beyond an int is read as the low 32 bits of the nearest long, which are the
  // nearest int where a long has 32 bits.
  if (std::sscanf(text, "%d %d %d", year, month, day) != 3 &&
      std::sscanf(text, "%d/%d/%d", year, month, day) != 3) {
    return false;
  }
  *year = since_1900(*year);
  return true;
}

ParsedDate scan_by_strptime(const char *text) {
  std::tm fields = {};
  orla_strptime(text, orla::orla_century_fmt(0), &fields);
  return {since_1900(fields.tm_year), fields.tm_mon + 1, fields.tm_mday};
}

// Checks what was stored: a caller may pass one variable for several of the numbers.
int judged(const std::int32_t *year, const std::int32_t *month, const std::int32_t *day) {
  return *year >= 0 && is_month(*month) && is_day(*day) ? kAccepted : kRejected;
}

int stored(const ParsedDate &date, std::int32_t *year, std::int32_t *month, std::int32_t *day) {
  *year = date.year;
  *month = date.month;
  *day = date.day;
  return judged(year, month, day);
}

// Any text in either mode, and the first one of the process. Not inlined: otherwise the canonical
// form would save registers for this path, which costs it a seventh of its time.
[[gnu::noinline]] int parse_by_c_library(const char *text, std::int32_t *year, std::int32_t *month,
                                         std::int32_t *day) {
  if (date_old_fmt.load(std::memory_order_relaxed) == -1) get_fmt_var();
  if (date_old_fmt.load(std::memory_order_relaxed) == 0)
    return stored(scan_by_strptime(text), year, month, day);
  return scan_old(text, year, month, day) ? judged(year, month, day) : kRejected;
}

}  // namespace

void orla_strptime(const char *text, const char *format, std::tm *fields) noexcept {
  const orla::KeptErrno kept;
  std::tm read = {};
  read.tm_year = -1;  // so that a text that ends before its year is not taken for 1900
  strptime(text, format, &read);
  fields->tm_year = since_1900(read.tm_year);
  fields->tm_mon = read.tm_mon;
  fields->tm_mday = read.tm_mday;
}

int k7_parse_date(const char *text, std::int32_t *year, std::int32_t *month,
                  std::int32_t *day) noexcept {
  ParsedDate date;
  if (date_old_fmt.load(std::memory_order_relaxed) == 0 && scan_canonical(text, date))
    return stored(date, year, month, day);
  return parse_by_c_library(text, year, month, day);
}

int string_to_date(const char *text, std::uint16_t *date) noexcept {
  std::int32_t year = 1969;
  std::int32_t month = 0;
  std::int32_t day = 1;
  if (k7_parse_date(text, &year, &month, &day) == kRejected) return 0;
  return data_to_date(year, month, day, date);
}

std::int32_t string_to_time(const char *text) noexcept {
  std::uint16_t date = 0;
  if (string_to_date(text, &date) == 0) return 0;
  if (date == 0) return 0;  // Quirk: 12/28/1986 too
  return static_cast<std::int32_t>(orla::days_from_date_number(date) * orla::kSecondsPerDay);
}
