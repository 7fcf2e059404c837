// orla date: dates between text, date number, fields and stamp, in the library's calendar.

#include <orla/time.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

#include "command.h"
#include "inputs.h"
#include "numbers.h"
#include "standard_output.h"

namespace orla_tool {
namespace {

constexpr const char *kOldModeVariable = "ORLALS_DATE_FORMAT_OLD";
constexpr const char *kToday = "today";
constexpr const char *kNow = "now";

// What the commands take; each uses its own part.
struct DateArguments {
  std::vector<std::string> texts;  // of dates, numbers or stamps
  bool old_mode = false;
  bool standard_mode = false;
  bool iso = false;
  std::int64_t year = 0;
  std::int64_t month = 0;  // 0: none is given
  std::int64_t day = 0;
};

constexpr NumberRange kYears = {1, 9999};
constexpr NumberRange kMonths = {1, 12};
constexpr NumberRange kDays = {1, 31};
constexpr NumberRange kAnyNumber = {INT32_MIN, INT32_MAX};
constexpr NumberRange kDateNumbers = {0, 65535};
constexpr NumberRange kStamps = {INT32_MIN, UINT32_MAX};

// Arguments are looked at before work begins, lines of standard input as they come.
CLI::Option *add_numbers(CLI::App &command, const char *name, std::vector<std::string> &texts,
                         const char *help, const NumberRange &allowed) {
  return add_texts(command, name, texts, help)->check([allowed](const std::string &text) {
    return text == "-" || allowed.read(text) ? "" : allowed.refusal(text);
  });
}

struct DateFields {
  std::int32_t year;  // in full
  std::int32_t month;
  std::int32_t day;
};

std::string iso_text(const DateFields &fields) {
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d", fields.year, fields.month, fields.day);
  return text;
}

// The digits of a text as a number, if nothing else is in it.
std::optional<std::int32_t> digits(std::string_view text) {
  std::int32_t number = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return {};
    number = number * 10 + (c - '0');
  }
  return number;
}

// A date such as 2007-12-31, whatever the input mode.
std::optional<DateFields> read_iso(std::string_view text) {
  if (text.size() != 10 || text[4] != '-' || text[7] != '-') return {};
  const auto year = digits(text.substr(0, 4));
  const auto month = digits(text.substr(5, 2));
  const auto day = digits(text.substr(8, 2));
  if (!year || !month || !day) return {};
  return DateFields{*year, *month, *day};
}

std::string date_text(std::uint16_t number) {
  char text[ORLA_DATE_TEXT_SIZE];
  date_to_string(text, number);
  return text;
}

// The text is MM/DD/YYYY.
DateFields fields_of(std::uint16_t number) {
  const std::string text = date_text(number);
  return {std::atoi(text.c_str() + 6), std::atoi(text.c_str()), std::atoi(text.c_str() + 3)};
}

const char *explain_stamp(std::uint16_t number) {
  if (number == 0) return "0 by design: a failure gives the same";
  // 02/07/2106, the first day that begins after the last stamp, up to 06/05/2149, the last date.
  if (number >= 43506 && number <= 59330) return "00:00:00 UTC, wrapped: 32 bits end on 02/07/2106";
  return "of 00:00:00 UTC, seconds since 1970";
}

std::string fields_text(const std::tm &fields) {
  char text[80];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", fields.tm_year + 1900,
                fields.tm_mon + 1, fields.tm_mday, fields.tm_hour, fields.tm_min, fields.tm_sec);
  return text;
}

void choose_mode(const DateArguments &arguments) {
  if (arguments.old_mode) setenv(kOldModeVariable, "", 1);
  if (arguments.standard_mode) unsetenv(kOldModeVariable);
}

bool is_old_mode() { return std::getenv(kOldModeVariable) != nullptr; }

// A date that was read, or why it was not.
struct ReadDate {
  DateFields fields = {};
  std::uint16_t number = 0;
  std::uint32_t stamp = 0;
  const char *note = "";  // on the stamp
  std::string refusal;    // what goes after the text in a message
};

std::string no_such_day(const DateFields &fields) {
  return "month " + std::to_string(fields.month) + " of " + std::to_string(fields.year) +
         " has no day " + std::to_string(fields.day);
}

// The date number; none where there is no such day.
std::optional<std::uint16_t> number_of(const DateFields &fields) {
  std::uint16_t number = 0;
  if (data_to_date(fields.year - 1900, fields.month, fields.day, &number) == 0) return {};
  return number;
}

// Reads with the library; the stamp is given as the unsigned number that its 32 bits hold.
ReadDate read_library_text(const char *text) {
  ReadDate date;
  if (k7_parse_date(text, &date.fields.year, &date.fields.month, &date.fields.day) != 0) {
    date.refusal = is_old_mode() ? " is not a date in the old input mode: write YYYY/MM/DD, "
                                   "YYYY-MM-DD, today or now, or try --standard"
                                 : " is not a date in the standard input mode: write MM/DD/YYYY, "
                                   "YYYY-MM-DD, today or now, or try --old";
    return date;
  }
  date.fields.year += 1900;
  const auto number = number_of(date.fields);
  if (!number) {
    date.refusal = ": " + no_such_day(date.fields);
    return date;
  }
  date.number = *number;
  date.stamp = static_cast<std::uint32_t>(string_to_time(text));
  date.note = explain_stamp(date.number);
  return date;
}

std::string library_text(const DateFields &fields) {
  char text[40];
  if (is_old_mode())
    std::snprintf(text, sizeof text, "%04d/%02d/%02d", fields.year, fields.month, fields.day);
  else
    std::snprintf(text, sizeof text, "%02d/%02d/%04d", fields.month, fields.day, fields.year);
  return text;
}

ReadDate read_fields(const DateFields &fields) {
  ReadDate date = read_library_text(library_text(fields).c_str());
  // The old mode takes years up to 1900 for years since 1900.
  const bool is_other_year = date.fields.year != fields.year;
  if (!date.refusal.empty())
    date.refusal = ": " + no_such_day(fields);
  else if (is_other_year)
    date.refusal = ": the library reads this year as " + std::to_string(date.fields.year);
  return date;
}

// Today's local date, with the stamp of this very moment.
ReadDate read_now() {
  ReadDate date;
  std::int32_t stamp = 0;
  do {
    stamp = wek_time_stamp();
    date.number = wek_date_stamp();
  } while (wek_time_stamp() != stamp);
  date.fields = fields_of(date.number);
  date.stamp = static_cast<std::uint32_t>(stamp);
  date.note = "of this moment, seconds since 1970";
  return date;
}

ReadDate read_date(const Input &input) {
  if (input.view() == kNow) return read_now();
  if (input.view() == kToday) return read_fields(fields_of(wek_date_stamp()));
  const auto iso = read_iso(input.view());
  return iso ? read_fields(*iso) : read_library_text(input.text);
}

bool report_text(Run &run, const Input &input, Report &report) {
  const ReadDate date = read_date(input);
  if (!date.refusal.empty()) {
    run.fail(input.place() + in_quotes(input.view()) + date.refusal);
    return false;
  }
  report.row("mode", "mode", is_old_mode() ? "old" : "standard", "of date input");
  report.row("year", "year", date.fields.year);
  report.row("month", "month", date.fields.month);
  report.row("day", "day", date.fields.day);
  report.row("number", "number", date.number, "0 is 1986-12-28");
  report.row("stamp", "stamp", date.stamp, date.note);
  return true;
}

void parse_texts(Run &run, const DateArguments &arguments) {
  choose_mode(arguments);
  const auto describe = [&run](const Input &input, Report &report) {
    return report_text(run, input, report);
  };
  describe_each(run, arguments.texts, {describe, {"input", "number", "stamp"}});
}

using ReportNumber = void (*)(std::int64_t number, Report &report);

void show_numbers(Run &run, const DateArguments &arguments, const NumberRange &allowed,
                  ReportNumber report_number, const std::vector<std::string> &columns) {
  const auto describe = [&](const Input &input, Report &report) {
    const auto number = allowed.read(input.view());
    if (number) {
      report_number(*number, report);
    } else {
      run.fail(input.place() + allowed.refusal(input.view()));
    }
    return number.has_value();
  };
  describe_each(run, arguments.texts, {describe, columns});
}

void report_number(std::int64_t number, Report &report) {
  const auto date = static_cast<std::uint16_t>(number);
  report.row("number", "number", date, "0 is 1986-12-28");
  report.row("date", "date", date_text(date));
  report.row("iso", "ISO date", iso_text(fields_of(date)));
}

// With --iso a script gets the bare date.
void show_dates(Run &run, const DateArguments &arguments) {
  if (arguments.iso && !run.wants_values() && is_single(arguments.texts)) run.field = "iso";
  show_numbers(run, arguments, kDateNumbers, report_number,
               {"input", arguments.iso ? "iso" : "date"});
}

void number_of_fields(Run &run, const DateArguments &arguments) {
  const DateFields fields = {static_cast<std::int32_t>(arguments.year),
                             static_cast<std::int32_t>(arguments.month),
                             static_cast<std::int32_t>(arguments.day)};
  const auto number = number_of(fields);
  if (!number)
    return run.fail("there is no such date: " + no_such_day(fields) + "; months are 1 to 12");
  const bool comes_back = fields_of(*number).year == fields.year;
  Report report = run.report();
  report.row("number", "number", *number, "0 is 1986-12-28");
  report.row(
      "date", "date", date_text(*number),
      comes_back ? "" : "dates before 1970 and after 06/05/2149 do not convert back to themselves");
  run.finish(report);
}

void show_lengths(Run &run, const DateArguments &arguments) {
  const auto year = static_cast<std::int32_t>(arguments.year);
  const auto first = static_cast<int>(arguments.month != 0 ? arguments.month : 1);
  const auto last = static_cast<int>(arguments.month != 0 ? arguments.month : 12);
  std::vector<int> months;
  for (int month = first; month <= last; ++month)
    months.push_back(days_in_month(year, month));
  Report report = run.report();
  report.row("year", "year", days_in_year(year), "days; every fourth year has 366");
  report.counts("months", "month", first, months, "days");
  run.finish(report);
}

void report_stamp(std::int64_t number, Report &report) {
  const auto stamp = static_cast<std::int32_t>(number);
  char line[ORLA_DATE_TEXT_SIZE];
  char text[ORLA_DATE_TEXT_SIZE];
  time_to_line(stamp, line, nullptr);
  time_to_string(text, stamp);
  report.row("stamp", "stamp", static_cast<std::uint32_t>(stamp), "read as unsigned");
  report.row("signed", "signed", stamp, "the same 32 bits");
  report.row("utc", "UTC", fields_text(*wek_gmtime(&stamp)), "1970 to 2106");
  report.row("local", "local", fields_text(*wek_localtime(&stamp)), "1970 to 2106");
  report.row("date", "date", std::string(line, 10), "UTC day");
  report.row("time", "time", text, stamp < 0 ? "UTC; this text reads the stamp as signed" : "UTC");
}

using SharedDates = std::shared_ptr<DateArguments>;

void add_parse(CLI::App &date, Run &run, const SharedDates &arguments) {
  CLI::App *parse = add_command(
      date, run,
      {"parse", "Date texts to numbers",
       "Without a mode the environment decides: ORLALS_DATE_FORMAT_OLD chooses the old one.\n"
       "2007-12-31, \"today\" and \"now\" are read in both modes; the stamp of \"now\" is that\n"
       "of this moment. With several texts, each gets one line: the text, the date number and\n"
       "the stamp.",
       "  orla date parse 12/31/2007\n"
       "  orla date parse 2007-12-31 today\n"
       "  orla date parse now --field stamp\n"
       "  orla date parse --old 2007/12/31 1999/12/31\n"
       "  echo 12/31/2007 | orla date parse - --json\n"},
      [&run, arguments] { parse_texts(run, *arguments); });
  add_texts(*parse, "TEXT", arguments->texts,
            "Such as 12/31/2007 or today; - for the lines of standard input");
  CLI::Option *old_mode =
      parse->add_flag("--old", arguments->old_mode, "Old input mode: YYYY/MM/DD");
  parse->add_flag("--standard", arguments->standard_mode, "Standard input mode: MM/DD/YYYY")
      ->excludes(old_mode);
}

void add_show(CLI::App &date, Run &run, const SharedDates &arguments) {
  CLI::App *show =
      add_command(date, run,
                  {"show", "Date numbers to texts",
                   "With several numbers, each gets one line: the number and its date.",
                   "  orla date show 7673\n  orla date show --iso 7673\n"
                   "  seq 0 65535 | orla date show -\n"},
                  [&run, arguments] { show_dates(run, *arguments); });
  add_numbers(*show, "NUMBER", arguments->texts, "0 to 65535; - for the lines of standard input",
              kDateNumbers);
  show->add_flag("--iso", arguments->iso, "The date alone, as YYYY-MM-DD");
}

void add_fields(CLI::App &date, Run &run, const SharedDates &arguments) {
  CLI::App *fields =
      add_command(date, run,
                  {"fields", "Year, month and day to number", "",
                   "  orla date fields 2007 12 31\n  orla date fields $(date '+%Y %m %d')\n"},
                  [&run, arguments] { number_of_fields(run, *arguments); });
  add_number(*fields, "YEAR", arguments->year, "In full, such as 2007", kYears)->required();
  // The library itself refuses the numbers beyond these ranges, and that is what is shown.
  add_number(*fields, "MONTH", arguments->month, "1 to 12", kAnyNumber, kMonths)->required();
  add_number(*fields, "DAY", arguments->day, "1 to 31", kAnyNumber, kDays)->required();
}

void add_lengths(CLI::App &date, Run &run, const SharedDates &arguments) {
  CLI::App *lengths = add_command(date, run,
                                  {"lengths", "Days of a year and of its months", "",
                                   "  orla date lengths 2100\n  orla date lengths 2100 2\n"},
                                  [&run, arguments] { show_lengths(run, *arguments); });
  add_number(*lengths, "YEAR", arguments->year, "In full, such as 2007", kYears)->required();
  add_number(*lengths, "MONTH", arguments->month, "1 to 12", kMonths);
}

void add_stamp(CLI::App &date, Run &run, const SharedDates &arguments) {
  CLI::App *stamp =
      add_command(date, run,
                  {"stamp", "Stamps to dates, also after 2038",
                   "With several stamps, each gets one line: the stamp, and the UTC date and time.",
                   "  orla date stamp 4294967295\n  orla date stamp -- -1 0 1\n"},
                  [&run, arguments] {
                    show_numbers(run, *arguments, kStamps, report_stamp, {"input", "utc"});
                  });
  add_numbers(*stamp, "SECONDS", arguments->texts,
              "Since 1970-01-01 00:00:00 UTC; - for the lines of standard input", kStamps);
}

}  // namespace

void add_date_command(CLI::App &program, Run &run) {
  CLI::App *date = add_group(program, run,
                             {"date", "Turn dates between text, number, fields and stamp", "",
                              "  orla date parse 12/31/2007\n  orla date stamp 4294967295\n"});
  const auto arguments = std::make_shared<DateArguments>();
  add_parse(*date, run, arguments);
  add_show(*date, run, arguments);
  add_fields(*date, run, arguments);
  add_lengths(*date, run, arguments);
  add_stamp(*date, run, arguments);
}

}  // namespace orla_tool
