// orla now: the present moment as the library reckons it.

#include <orla/time.h>

#include <CLI/CLI.hpp>

#include "command.h"

namespace orla_tool {
namespace {

void show_now(Run &run) {
  const std::int32_t stamp = wek_time_stamp();
  const std::uint16_t date = wek_date_stamp();
  char date_text[ORLA_DATE_TEXT_SIZE];
  char time_text[ORLA_DATE_TEXT_SIZE];
  date_to_string(date_text, date);
  time_to_string(time_text, stamp);

  Report report;
  report.row("stamp", "stamp", static_cast<std::uint32_t>(stamp), "seconds since 1970, UTC");
  report.row("local_stamp", "local stamp", wek_time_stamp_local(), "the same for local time");
  report.row("offset", "offset", wek_localtime_offset(), "seconds west of UTC");
  report.row("date_number", "date number", date, "local day; 0 is 1986-12-28");
  report.row("date", "date", date_text, "local");
  report.row("time", "time", time_text,
             stamp < 0 ? "UTC; this text reads a stamp past 2038 as one before 1970" : "UTC");
  run.finish(report);
}

}  // namespace

void add_now_command(CLI::App &program, Run &run) {
  add_command(program, run, "now", "Show this moment: stamps, offset, date number, date and time")
      ->callback([&run] { show_now(run); });
}

}  // namespace orla_tool
