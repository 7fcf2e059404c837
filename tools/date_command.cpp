// orla date: dates between text, date number, fields and stamp, in the library's calendar.

#include <orla/time.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "command.h"

namespace orla_tool {
namespace {

const CLI::Range kYears(1, 9999);
constexpr const char *kOldModeVariable = "ORLALS_DATE_FORMAT_OLD";

// What the commands take; each uses its own part.
struct DateArguments {
  std::string text;
  bool old_mode = false;
  bool standard_mode = false;
  std::uint16_t number = 0;
  std::int32_t year = 0;
  std::int32_t month = 0;
  std::int32_t day = 0;
  std::int64_t stamp = 0;
};

std::string date_text(std::uint16_t number) {
  char text[ORLA_DATE_TEXT_SIZE];
  date_to_string(text, number);
  return text;
}

const char *explain_stamp(std::uint16_t number) {
  if (number == 0) return "0 by design: this date cannot be told from a failure";
  // 02/07/2106, the first day that begins past the last stamp, up to 06/05/2149, the last date.
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

void parse_text(Run &run, const DateArguments &arguments) {
  choose_mode(arguments);
  const bool old_mode = std::getenv(kOldModeVariable) != nullptr;
  const char *text = arguments.text.c_str();
  std::int32_t year = 0;
  std::int32_t month = 0;
  std::int32_t day = 0;
  if (k7_parse_date(text, &year, &month, &day) != 0) {
    run.fail("\"" + arguments.text + "\" is not a date in the " +
             (old_mode ? "old input mode: write YYYY/MM/DD, or try --standard"
                       : "standard input mode: write MM/DD/YYYY, or try --old"));
    return;
  }
  std::uint16_t number = 0;
  if (string_to_date(text, &number) == 0) {
    run.fail("\"" + arguments.text + "\": month " + std::to_string(month) + " of " +
             std::to_string(year + 1900) + " has no day " + std::to_string(day));
    return;
  }
  Report report;
  report.row("mode", "mode", old_mode ? "old" : "standard", "of date input");
  report.row("year", "year", year + 1900);
  report.row("month", "month", month);
  report.row("day", "day", day);
  report.row("number", "number", number, "0 is 1986-12-28");
  // Past 2038 the stamp is shown as the unsigned number that it is read as.
  report.row("stamp", "stamp", static_cast<std::uint32_t>(string_to_time(text)),
             explain_stamp(number));
  run.finish(report);
}

void show_number(Run &run, const DateArguments &arguments) {
  Report report;
  report.row("number", "number", arguments.number, "0 is 1986-12-28");
  report.row("date", "date", date_text(arguments.number));
  run.finish(report);
}

void number_of_fields(Run &run, const DateArguments &arguments) {
  std::uint16_t number = 0;
  if (data_to_date(arguments.year - 1900, arguments.month, arguments.day, &number) == 0) {
    run.fail("there is no day " + std::to_string(arguments.day) + " in month " +
             std::to_string(arguments.month) + " of " + std::to_string(arguments.year) +
             "; months are 1 to 12");
    return;
  }
  const std::string text = date_text(number);
  const bool comes_back = std::atoi(text.c_str() + 6) == arguments.year;
  Report report;
  report.row("number", "number", number, "0 is 1986-12-28");
  report.row(
      "date", "date", text,
      comes_back ? "" : "dates before 1970 and past 06/05/2149 do not come back as themselves");
  run.finish(report);
}

void show_lengths(Run &run, const DateArguments &arguments) {
  Report report;
  report.row("year", "year", days_in_year(arguments.year), "days; every fourth year has 366");
  for (int month = 1; month <= 12; ++month) {
    if (arguments.month != 0 && arguments.month != month) continue;
    const std::string name = std::to_string(month);
    report.row("month_" + name, "month " + name, days_in_month(arguments.year, month), "days");
  }
  run.finish(report);
}

void show_stamp(Run &run, const DateArguments &arguments) {
  const auto stamp = static_cast<std::int32_t>(arguments.stamp);
  char line[ORLA_DATE_TEXT_SIZE];
  char text[ORLA_DATE_TEXT_SIZE];
  time_to_line(stamp, line, nullptr);
  time_to_string(text, stamp);
  Report report;
  report.row("stamp", "stamp", static_cast<std::uint32_t>(stamp), "read as unsigned");
  report.row("signed", "signed", stamp, "the same 32 bits");
  report.row("utc", "UTC", fields_text(*wek_gmtime(&stamp)), "1970 to 2106");
  report.row("local", "local", fields_text(*wek_localtime(&stamp)), "1970 to 2106");
  report.row("date", "date", std::string(line, 10), "UTC day");
  report.row("time", "time", text, stamp < 0 ? "UTC; this text reads the stamp as signed" : "UTC");
  run.finish(report);
}

}  // namespace

void add_date_command(CLI::App &program, Run &run) {
  CLI::App *date =
      program.add_subcommand("date", "Turn dates between text, number, fields and stamp");
  date->require_subcommand(1);
  const auto arguments = std::make_shared<DateArguments>();

  CLI::App *parse = add_command(*date, run, "parse", "Date text to number");
  parse->add_option("TEXT", arguments->text, "Such as 12/31/2007")->required();
  CLI::Option *old_mode =
      parse->add_flag("--old", arguments->old_mode, "Old input mode: YYYY/MM/DD");
  parse->add_flag("--standard", arguments->standard_mode, "Standard input mode: MM/DD/YYYY")
      ->excludes(old_mode);
  parse->footer(
      "Without a mode the environment decides: ORLALS_DATE_FORMAT_OLD chooses the old one.");
  parse->callback([&run, arguments] { parse_text(run, *arguments); });

  CLI::App *show = add_command(*date, run, "show", "Date number to text");
  show->add_option("NUMBER", arguments->number, "0 to 65535")
      ->required()
      ->check(CLI::Range(0, 65535));
  show->callback([&run, arguments] { show_number(run, *arguments); });

  CLI::App *fields = add_command(*date, run, "fields", "Year, month and day to number");
  fields->add_option("YEAR", arguments->year, "In full, such as 2007")->required()->check(kYears);
  fields->add_option("MONTH", arguments->month, "1 to 12")->required();
  fields->add_option("DAY", arguments->day, "1 to 31")->required();
  fields->callback([&run, arguments] { number_of_fields(run, *arguments); });

  CLI::App *lengths = add_command(*date, run, "lengths", "Days of a year and of its months");
  lengths->add_option("YEAR", arguments->year, "In full, such as 2007")->required()->check(kYears);
  lengths->add_option("MONTH", arguments->month, "1 to 12")->check(CLI::Range(1, 12));
  lengths->callback([&run, arguments] { show_lengths(run, *arguments); });

  CLI::App *stamp = add_command(*date, run, "stamp", "Stamp to dates, also beyond 2038");
  stamp->add_option("SECONDS", arguments->stamp, "Since 1970-01-01 00:00:00 UTC")
      ->required()
      ->check(CLI::Range(std::int64_t{-2147483648}, std::int64_t{4294967295}));
  stamp->callback([&run, arguments] { show_stamp(run, *arguments); });
}

}  // namespace orla_tool
