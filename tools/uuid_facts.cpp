#include "uuid_facts.h"

#include <algorithm>
#include <chrono>

namespace orla_tool {
namespace {

constexpr std::uint32_t kSecondsFrom1970To1980 = 315532800;
constexpr std::int64_t kTicksPerSecond = 250000;
constexpr std::int64_t kTicksPerTimeHigh = 65535;
constexpr std::int64_t kTimeLowRound = 65536;

// The ticks of one second, counted from 1980 by a signed number of 32 bits, that give both time
// fields.
void find_in_second(std::int64_t second, const k7_uuid__t &uuid, std::vector<Instant> &found) {
  if (second < INT32_MIN || second > INT32_MAX) return;
  const std::uint32_t since_1970 = static_cast<std::uint32_t>(second) + kSecondsFrom1970To1980;
  if (since_1970 < kSecondsFrom1970To1980) return;  // between 1970 and 1980
  for (std::int64_t tick = uuid.time_low; tick < kTicksPerSecond; tick += kTimeLowRound) {
    const std::int64_t high = (second * kTicksPerSecond + tick) / kTicksPerTimeHigh;
    if (static_cast<std::uint32_t>(high) == uuid.time_high) found.push_back({since_1970, tick});
  }
}

void append_digits(std::string &out, unsigned number, int digits) {
  char text[10];
  for (int i = digits; i-- > 0; number /= 10)
    text[i] = static_cast<char>('0' + number % 10);
  out.append(text, static_cast<std::size_t>(digits));
}

void append_date(std::string &out, std::chrono::year_month_day date) {
  append_digits(out, static_cast<unsigned>(static_cast<int>(date.year())), 4);
  out += '-';
  append_digits(out, static_cast<unsigned>(date.month()), 2);
  out += '-';
  append_digits(out, static_cast<unsigned>(date.day()), 2);
}

void append_time(std::string &out, unsigned second_of_day) {
  append_digits(out, second_of_day / 3600, 2);
  out += ':';
  append_digits(out, second_of_day / 60 % 60, 2);
  out += ':';
  append_digits(out, second_of_day % 60, 2);
}

}  // namespace

// time_high has lost its upper bits, so it stands for several instants; each lies within 65,535
// ticks, which are a quarter of a second, of the count that it would be without the loss.
void find_instants(const k7_uuid__t &uuid, std::vector<Instant> &found) {
  found.clear();
  for (std::int64_t round = -2; round <= 1; ++round) {
    const std::int64_t ticks =
        (round * (std::int64_t{1} << 32) + uuid.time_high) * kTicksPerTimeHigh;
    const std::int64_t second = ticks / kTicksPerSecond;
    for (std::int64_t near = second - 1; near <= second + 1; ++near)
      find_in_second(near, uuid, found);
  }
  std::sort(found.begin(), found.end());
}

// Of the Gregorian calendar, not the library's, in which 2100 is a leap year: this is for people.
void append_instant(std::string &out, const Instant &instant) {
  constexpr std::uint32_t kDay = 86400;
  const std::chrono::sys_days day{std::chrono::days{instant.seconds / kDay}};
  append_date(out, day);
  out += ' ';
  append_time(out, instant.seconds % kDay);
  out += '.';
  append_digits(out, static_cast<unsigned>(instant.tick * 4), 6);
}

bool is_reserved(const k7_uuid__t &uuid) {
  k7_uuid__t reserved;
  orla_reserved_uuid_inflate(&reserved, uuid.time_high, uuid.time_low, uuid.reserved);
  return orla_uuid_equal(&uuid, &reserved) != 0;
}

HostKind host_kind(const k7_uuid__t &uuid) {
  if (is_reserved(uuid)) return HostKind::reserved;
  if ((uuid.family & 0x80) == 0) return HostKind::foreign;
  return class_code(uuid) == ORLA_UUID_CLASS_IPV4 ? HostKind::address : HostKind::other;
}

int class_code(const k7_uuid__t &uuid) { return uuid.family & 0x7F; }

void append_address(std::string &out, const k7_uuid__t &uuid) {
  for (int i = 0; i < 4; ++i) {
    if (i > 0) out += '.';
    out += std::to_string(uuid.host[i]);
  }
}

}  // namespace orla_tool
