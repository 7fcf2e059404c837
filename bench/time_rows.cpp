// Date text and the calendar, compared with a copy of the text and with the C and C++ libraries.

#include <orla/orla.hpp>

#include <chrono>
#include <cstring>
#include <ctime>

#include "rows.h"
#include "time/calendar.h"

namespace {

const char kText[] = "12/31/2007";
char text[ORLA_DATE_TEXT_SIZE];
std::uint16_t date;

// Goes through all date numbers in mixed order, so that the processor learns no branch.
std::uint16_t next_date() { return date = static_cast<std::uint16_t>(date + 7919); }

void copy_text() {
  bench::keep(kText);
  std::memcpy(text, kText, sizeof kText);
  bench::keep(text);
}

std::tm last_day_of_2007() {
  std::tm fields = {};
  fields.tm_year = 107;
  fields.tm_mon = 11;
  fields.tm_mday = 31;
  return fields;
}

void text_rows() {
  bench::Table to_text("Date number to text");
  to_text.floor("an empty call", bench::empty_call());
  to_text.floor("copy of 11 bytes", bench::repeat(copy_text));
  to_text.ours("date_to_string, split included", bench::repeat([] {
                 date_to_string(text, next_date());
                 bench::keep(text);
               }));
  to_text.peer("strftime, fields given", bench::repeat([fields = last_day_of_2007()] {
                 bench::keep(fields);
                 std::strftime(text, sizeof text, "%m/%d/%Y", &fields);
                 bench::keep(text);
               }));

  bench::Table from_text("Text to date number");
  from_text.floor("an empty call", bench::empty_call());
  from_text.floor("copy of 11 bytes", bench::repeat(copy_text));
  from_text.ours("string_to_date, all the way", bench::repeat([] {
                   bench::keep(kText);
                   string_to_date(kText, &date);
                   bench::keep(date);
                 }));
  from_text.peer("strptime, fields only", bench::repeat([fields = std::tm{}]() mutable {
                   bench::keep(kText);
                   strptime(kText, "%m/%d/%Y", &fields);
                   bench::keep(fields);
                 }));
}

void field_rows() {
  using std::chrono::days;
  using std::chrono::sys_days;
  using std::chrono::year;
  using std::chrono::year_month_day;

  bench::Table to_fields("Fields from a date number");
  to_fields.ours("the split inside date_to_string",
                 bench::repeat([] { bench::keep(orla::civil_from_date_number(next_date())); }));
  to_fields.peer("std::chrono, inline",
                 bench::repeat([] { bench::keep(year_month_day(sys_days(days(next_date())))); }));

  bench::Table from_fields("Date number from fields");
  from_fields.floor("an empty call", bench::empty_call());
  from_fields.ours("data_to_date", bench::repeat([] {
                     int years = 107;
                     bench::keep(years);
                     data_to_date(years, 12, 31, &date);
                     bench::keep(date);
                   }));
  // Fields that the compiler knows nothing of, as a caller's are.
  static int fields[] = {2007, 12, 31};
  from_fields.ours("orla.hpp, inline", bench::repeat([] {
                     bench::keep(fields);
                     const auto number = orla::date::from_fields(fields[0], fields[1], fields[2]);
                     if (number) bench::keep(*number);
                   }));
  from_fields.peer("std::chrono with ok(), inline", bench::repeat([] {
                     bench::keep(fields);
                     const auto given = year(fields[0]) / fields[1] / fields[2];
                     if (given.ok()) bench::keep(sys_days(given).time_since_epoch());
                   }));
  from_fields.peer("std::chrono, unchecked, inline", bench::repeat([] {
                     bench::keep(fields);
                     const auto given = year(fields[0]) / fields[1] / fields[2];
                     bench::keep(sys_days(given).time_since_epoch());
                   }));
}

const bench::Rows rows([] {
  text_rows();
  field_rows();
});

}  // namespace
