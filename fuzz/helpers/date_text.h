// Compares the functions that read a date text with the fields that the text should give.

#ifndef ORLA_FUZZ_HELPERS_DATE_TEXT_H
#define ORLA_FUZZ_HELPERS_DATE_TEXT_H

#include <orla/time.h>

#include <cstdint>
#include <optional>

#include "helpers/agree.h"
#include "plain/date.h"

// `expected` is none for a text that must be rejected.
inline void check_date_text(const char *text, const std::optional<plain::DateFields> &expected) {
  plain::DateFields read = {-7, -7, -7};
  agree("k7_parse_date", k7_parse_date(text, &read.year, &read.month, &read.day),
        expected ? 0 : 255);
  if (expected) {
    agree("year", read.year, expected->year);
    agree("month", read.month, expected->month);
    agree("day", read.day, expected->day);
  }
  constexpr std::uint16_t kUntouched = 0x5A5A;
  const auto number = expected ? plain::date_number(*expected) : std::nullopt;
  std::uint16_t date = kUntouched;
  agree("string_to_date", string_to_date(text, &date), number ? 1 : 0);
  agree("date number", date, number.value_or(kUntouched));
  agree("string_to_time", string_to_time(text), plain::stamp(number.value_or(0)));
}

#endif
