// orla now: this moment, as the library computes it.

#include <orla/time.h>

#include <CLI/CLI.hpp>

#include "command.h"

namespace orla_tool {
namespace {

// What the library says of one second.
struct Moment {
  std::int32_t stamp;
  std::uint32_t local_stamp;
  std::int32_t offset;
  std::uint16_t date;
};

// Asks again when a new second has begun meanwhile.
Moment read_moment() {
  Moment now = {};
  do {
    now = {wek_time_stamp(), wek_time_stamp_local(), wek_localtime_offset(), wek_date_stamp()};
  } while (wek_time_stamp() != now.stamp);
  return now;
}

void show_now(Run &run) {
  const Moment now = read_moment();
  char date_text[ORLA_DATE_TEXT_SIZE];
  char time_text[ORLA_DATE_TEXT_SIZE];
  date_to_string(date_text, now.date);
  time_to_string(time_text, now.stamp);

  Report report = run.report();
  report.row("stamp", "stamp", static_cast<std::uint32_t>(now.stamp), "seconds since 1970, UTC");
  report.row("local_stamp", "local stamp", now.local_stamp, "the same for local time");
  report.row("offset", "offset", now.offset, "seconds west of UTC");
  report.row("date_number", "date number", now.date, "local day; 0 is 1986-12-28");
  report.row("date", "date", date_text, "local");
  report.row("time", "time", time_text,
             now.stamp < 0 ? "UTC; this text reads a stamp after 2038 as one before 1970" : "UTC");
  run.finish(report);
}

}  // namespace

void add_now_command(CLI::App &program, Run &run) {
  add_command(program, run,
              {"now", "Show this moment: stamps, offset, date number, date and time", "",
               "  orla now\n  orla now --field stamp\n  TZ=America/New_York orla now --json\n"},
              [&run] { show_now(run); });
}

}  // namespace orla_tool
