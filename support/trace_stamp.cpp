#include "support/trace_stamp.h"

#include <orla/time.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iterator>

#include "time/calendar.h"
#include "time/clock.h"
#include "time/local_time.h"

namespace orla {
namespace {

constexpr std::size_t kZoneSize = 128;
// Room for the longest text: a process id has at most 20 digits.
constexpr std::size_t kTextSize = sizeof "MM/DD/YYYY hh:mm:ss 18446744073709551615 ";

// A stamp, and the second, the process and the zone that it was made for. Lines of the same three
// share it, because to make one is by far the most expensive part of a line: where TZ is not set,
// the C library asks for the status of the zone's file.
struct Stamp {
  bool reusable;
  std::uint32_t seconds;  // since 1970-01-01 00:00:00 UTC
  pid_t process;
  bool zone_set;         // whether TZ was set,
  char zone[kZoneSize];  // and to what
  char text[kTextSize];
};

Stamp last = {};

bool is_for_zone(const Stamp &stamp, const char *zone) {
  if (zone == nullptr) return !stamp.zone_set;
  return stamp.zone_set && std::strcmp(stamp.zone, zone) == 0;
}

// False when the value of TZ is too long to be compared later.
bool keep_zone(Stamp &stamp, const char *zone) {
  stamp.zone_set = zone != nullptr;
  if (zone == nullptr) return true;
  const std::size_t length = std::strlen(zone);
  if (length >= kZoneSize) return false;
  std::memcpy(stamp.zone, zone, length + 1);
  return true;
}

// Null fields give midnight. Quirk: the place after the process id is reserved for a thread number,
// but nothing is ever written there.
void put_text(char (&text)[kTextSize], std::uint32_t seconds, std::tm *fields, pid_t process) {
  const auto offset = static_cast<std::uint32_t>(offset_west_of_utc(timezone, fields));
  char *rest = text + date_to_string(text, date_number_from_stamp(seconds - offset));
  const std::tm midnight = {};
  const std::tm &time = fields != nullptr ? *fields : midnight;
  const auto room = static_cast<std::size_t>(std::end(text) - rest);
  std::snprintf(rest, room, " %2d:%02d:%02d %lu ", time.tm_hour, time.tm_min, time.tm_sec,
                static_cast<unsigned long>(process));
}

Stamp made_for(const Moment &now, pid_t process, const char *zone) {
  Stamp stamp = {};
  std::tm *fields = local_fields(now);
  put_text(stamp.text, now.stamp, fields, process);
  stamp.seconds = now.stamp;
  stamp.process = process;
  // What could not be converted is tried again with the next line.
  stamp.reusable = keep_zone(stamp, zone) && fields != nullptr;
  return stamp;
}

}  // namespace

const char *trace_stamp() {
  const Moment now = clock_moment();
  const pid_t process = getpid();
  const char *zone = std::getenv("TZ");
  const bool holds = last.reusable && last.seconds == now.stamp && last.process == process &&
                     is_for_zone(last, zone);
  if (!holds) last = made_for(now, process, zone);
  return last.text;
}

}  // namespace orla
