// Date text and the calendar, beside what the C library offers for the same work.

#include <orla/time.h>

#include <cstring>
#include <ctime>

#include "harness.h"
#include "time/calendar.h"

namespace {

std::uint16_t next(std::uint16_t date) { return static_cast<std::uint16_t>(date + 7919); }

void date_to_text() {
  bench::Table table("Date number to text");
  table.row("strftime, fields given", [](long n) {
    char text[ORLA_DATE_TEXT_SIZE];
    std::tm fields = {};
    fields.tm_year = 107;
    fields.tm_mon = 11;
    fields.tm_mday = 31;
    for (; n > 0; --n) {
      bench::keep(fields);
      std::strftime(text, sizeof text, "%m/%d/%Y", &fields);
      bench::keep(text);
    }
  });
  table.row("date_to_string, split included", [](long n) {
    char text[ORLA_DATE_TEXT_SIZE];
    std::uint16_t date = 0;
    for (; n > 0; --n) {
      date_to_string(text, date);
      bench::keep(text);
      date = next(date);
    }
  });
}

void text_to_date() {
  bench::Table table("Text to date number");
  static const char text[] = "12/31/2007";
  table.row("strptime, fields only", [](long n) {
    std::tm fields = {};
    for (; n > 0; --n) {
      bench::keep(text);
      strptime(text, "%m/%d/%Y", &fields);
      bench::keep(fields);
    }
  });
  table.row("string_to_date, all the way", [](long n) {
    std::uint16_t date = 0;
    for (; n > 0; --n) {
      bench::keep(text);
      string_to_date(text, &date);
      bench::keep(date);
    }
  });
}

void fields() {
  bench::Table table("Fields from a date number, and back");
  table.row("the split", [](long n) {
    std::uint16_t date = 0;
    for (; n > 0; --n) {
      bench::keep(orla::civil_from_date_number(date));
      date = next(date);
    }
  });
  table.row("data_to_date", [](long n) {
    std::uint16_t date = 0;
    int year = 107;
    for (; n > 0; --n) {
      bench::keep(year);
      data_to_date(year, 12, 31, &date);
      bench::keep(date);
    }
  });
}

}  // namespace

int main() {
  date_to_text();
  text_to_date();
  fields();
}
