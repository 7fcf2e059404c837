// orla date: dates between text, date number, fields and stamp, in the library's calendar.

#include <orla/time.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

#include "command.h"
#include "inputs.h"

namespace orla_tool {
namespace {

const CLI::Validator kYears = CLI::Range(1, 9999).description("");
constexpr const char *kOldModeVariable = "ORLALS_DATE_FORMAT_OLD";

// What the commands take; each uses its own part.
struct DateArguments {
  std::vector<std::string> texts;  // of dates, numbers or stamps
  bool old_mode = false;
  bool standard_mode = false;
  std::int32_t year = 0;
  std::int32_t month = 0;
  std::int32_t day = 0;
};

// A whole number in decimal digits.
struct Whole {
  std::int64_t smallest;
  std::int64_t largest;

  std::optional<std::int64_t> read(std::string_view text) const {
    std::int64_t number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return {};
    if (number < smallest || number > largest) return {};
    return number;
  }

  std::string refusal(std::string_view text) const {
    return quoted(text) + " is not a whole number from " + std::to_string(smallest) + " to " +
           std::to_string(largest);
  }
};

constexpr Whole kDateNumbers = {0, 65535};
constexpr Whole kStamps = {-2147483648, 4294967295};

// Arguments are looked at before work begins, lines of standard input as they come.
CLI::Option *add_numbers(CLI::App &command, const char *name, std::vector<std::string> &texts,
                         const char *help, const Whole &allowed) {
  return add_texts(command, name, texts, help)->check([&allowed](const std::string &text) {
    return text == "-" || allowed.read(text) ? "" : allowed.refusal(text);
  });
}

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

bool report_text(Run &run, const Input &input, Report &report) {
  const bool old_mode = std::getenv(kOldModeVariable) != nullptr;
  const std::string told = input.place() + quoted(input.view());
  std::int32_t year = 0;
  std::int32_t month = 0;
  std::int32_t day = 0;
  if (k7_parse_date(input.text, &year, &month, &day) != 0) {
    run.fail(told + " is not a date in the " +
             (old_mode ? "old input mode: write YYYY/MM/DD, or try --standard"
                       : "standard input mode: write MM/DD/YYYY, or try --old"));
    return false;
  }
  std::uint16_t number = 0;
  if (string_to_date(input.text, &number) == 0) {
    run.fail(told + ": month " + std::to_string(month) + " of " + std::to_string(year + 1900) +
             " has no day " + std::to_string(day));
    return false;
  }
  report.row("mode", "mode", old_mode ? "old" : "standard", "of date input");
  report.row("year", "year", year + 1900);
  report.row("month", "month", month);
  report.row("day", "day", day);
  report.row("number", "number", number, "0 is 1986-12-28");
  // Past 2038 the stamp is shown as the unsigned number that it is read as.
  report.row("stamp", "stamp", static_cast<std::uint32_t>(string_to_time(input.text)),
             explain_stamp(number));
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

void show_numbers(Run &run, const DateArguments &arguments, const Whole &allowed,
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

using Arguments = std::shared_ptr<DateArguments>;

void add_parse(CLI::App &date, Run &run, const Arguments &arguments) {
  CLI::App *parse = add_command(
      date, run, "parse", "Date texts to numbers",
      {"Without a mode the environment decides: ORLALS_DATE_FORMAT_OLD chooses the old one.\n"
       "Of several texts each gets a line: the text, the date number and the stamp.",
       "  orla date parse 12/31/2007\n"
       "  orla date parse --old 2007/12/31 1999/12/31\n"
       "  echo 12/31/2007 | orla date parse - --json\n"});
  add_texts(*parse, "TEXT", arguments->texts,
            "Such as 12/31/2007; - for the lines of standard input");
  CLI::Option *old_mode =
      parse->add_flag("--old", arguments->old_mode, "Old input mode: YYYY/MM/DD");
  parse->add_flag("--standard", arguments->standard_mode, "Standard input mode: MM/DD/YYYY")
      ->excludes(old_mode);
  parse->callback([&run, arguments] { parse_texts(run, *arguments); });
}

void add_show(CLI::App &date, Run &run, const Arguments &arguments) {
  CLI::App *show = add_command(date, run, "show", "Date numbers to texts",
                               {"Of several numbers each gets a line: the number and its date.",
                                "  orla date show 7673\n  seq 0 65535 | orla date show -\n"});
  add_numbers(*show, "NUMBER", arguments->texts, "0 to 65535; - for the lines of standard input",
              kDateNumbers);
  show->callback([&run, arguments] {
    show_numbers(run, *arguments, kDateNumbers, report_number, {"input", "date"});
  });
}

void add_fields(CLI::App &date, Run &run, const Arguments &arguments) {
  CLI::App *fields = add_command(date, run, "fields", "Year, month and day to number",
                                 {"", "  orla date fields 2007 12 31\n"});
  fields->add_option("YEAR", arguments->year, "In full, such as 2007")->required()->check(kYears);
  fields->add_option("MONTH", arguments->month, "1 to 12")->required();
  fields->add_option("DAY", arguments->day, "1 to 31")->required();
  fields->callback([&run, arguments] { number_of_fields(run, *arguments); });
}

void add_lengths(CLI::App &date, Run &run, const Arguments &arguments) {
  CLI::App *lengths = add_command(date, run, "lengths", "Days of a year and of its months",
                                  {"", "  orla date lengths 2100\n  orla date lengths 2100 2\n"});
  lengths->add_option("YEAR", arguments->year, "In full, such as 2007")->required()->check(kYears);
  lengths->add_option("MONTH", arguments->month, "1 to 12")
      ->check(CLI::Range(1, 12).description(""));
  lengths->callback([&run, arguments] { show_lengths(run, *arguments); });
}

void add_stamp(CLI::App &date, Run &run, const Arguments &arguments) {
  CLI::App *stamp =
      add_command(date, run, "stamp", "Stamps to dates, also beyond 2038",
                  {"Of several stamps each gets a line: the stamp, and the UTC date and time.",
                   "  orla date stamp 4294967295\n  orla date stamp -- -1 0 1\n"});
  add_numbers(*stamp, "SECONDS", arguments->texts,
              "Since 1970-01-01 00:00:00 UTC; - for the lines of standard input", kStamps);
  stamp->callback([&run, arguments] {
    show_numbers(run, *arguments, kStamps, report_stamp, {"input", "utc"});
  });
}

}  // namespace

void add_date_command(CLI::App &program, Run &run) {
  CLI::App *date =
      add_group(program, run, "date", "Turn dates between text, number, fields and stamp",
                {"", "  orla date parse 12/31/2007\n  orla date stamp 4294967295\n"});
  const auto arguments = std::make_shared<DateArguments>();
  add_parse(*date, run, arguments);
  add_show(*date, run, arguments);
  add_fields(*date, run, arguments);
  add_lengths(*date, run, arguments);
  add_stamp(*date, run, arguments);
}

}  // namespace orla_tool
