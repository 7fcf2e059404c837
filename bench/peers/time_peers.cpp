// Dates of fmt, NSPR, Abseil and Howard Hinnant's date.

#include <absl/time/time.h>
#include <date/date.h>
#include <fmt/chrono.h>
#include <fmt/compile.h>
#include <nspr.h>

#include <ctime>

#include "rows.h"

namespace {

const char kText[] = "12/31/2007";
std::uint16_t day_number;

std::uint16_t next_day() { return day_number = static_cast<std::uint16_t>(day_number + 7919); }

void text_forms() {
  bench::Table to_text("Date number to text");
  std::tm fields = {};
  fields.tm_year = 107;
  fields.tm_mon = 11;
  fields.tm_mday = 31;
  to_text.peer("fmt, fields given", bench::repeat([fields] {
                 char text[32];
                 bench::keep(fields);
                 *fmt::format_to(text, FMT_COMPILE("{:%m/%d/%Y}"), fields) = '\0';
                 bench::keep(text);
               }));

  bench::Table from_text("Text to date number");
  from_text.peer("NSPR, to a time", bench::repeat([] {
                   PRTime time;
                   bench::keep(kText);
                   PR_ParseTimeString(kText, PR_TRUE, &time);
                   bench::keep(time);
                 }));
  from_text.peer("Abseil, to a time", bench::repeat([] {
                   absl::Time time;
                   bench::keep(kText);
                   absl::ParseTime("%m/%d/%Y", kText, &time, nullptr);
                   bench::keep(time);
                 }));
}

void fields() {
  bench::Table to_fields("Fields from a date number");
  to_fields.peer("Hinnant's date, inline", bench::repeat([] {
                   bench::keep(date::year_month_day(date::sys_days(date::days(next_day()))));
                 }));
  bench::Table from_fields("Date number from fields");
  from_fields.peer("Hinnant's date, inline", bench::repeat([] {
                     int years = 2007;
                     bench::keep(years);
                     bench::keep(date::sys_days(date::year(years) / 12 / 31).time_since_epoch());
                   }));
}

const bench::Rows rows([] {
  text_forms();
  fields();
});

}  // namespace
