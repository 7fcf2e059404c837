// orla uuid: makes UUIDs and says what is in one.

#include <orla/time.h>
#include <orla/uuid.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>

#include "command.h"

namespace orla_tool {
namespace {

constexpr std::uint32_t kSecondsFrom1970To1980 = 315532800;
constexpr std::int64_t kTicksPerSecond = 250000;
constexpr std::int64_t kTicksPerTimeHigh = 65535;
constexpr std::int64_t kTimeLowRound = 65536;

// What the commands take; each uses its own part.
struct UuidArguments {
  std::uint32_t count = 1;
  std::uint16_t number = 0;
  std::uint32_t modulus = 0;
  std::string text;
  std::string other;
};

std::string text_of(const k7_uuid__t &uuid) {
  char text[ORLA_UUID_TEXT_SIZE];
  orla_uuid_encode(&uuid, text);
  return text;
}

std::string hexadecimal(std::uint32_t value, int digits) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%0*lx", digits, static_cast<unsigned long>(value));
  return text;
}

bool read_uuid(Run &run, const std::string &text, k7_uuid__t &uuid) {
  orla_status status = 0;
  orla_uuid_decode(text.c_str(), &uuid, &status);
  if (status == 0) return true;
  run.fail("\"" + text +
           "\" is not a UUID: write 12 hexadecimal digits and eight bytes with a dot before each, "
           "such as d0f7b2fc0064.82.0a.00.02.03.00.00.00");
  return false;
}

// Two UUIDs of the same 4 microseconds are identical, so each is made anew until it differs.
void make_distinct(k7_uuid__t &uuid) {
  const k7_uuid__t earlier = uuid;
  do {
    orla_uuid_gen(&uuid);
  } while (orla_uuid_equal(&uuid, &earlier) != 0);
}

void make_new(Run &run, const UuidArguments &arguments) {
  k7_uuid__t uuid = k7_uuid__nil;
  std::vector<std::string> texts;
  for (std::uint32_t i = 0; i < arguments.count; ++i) {
    make_distinct(uuid);
    texts.push_back(text_of(uuid));
  }
  Report report;
  report.list("uuids", "", texts);
  run.finish(report);
}

void make_reserved(Run &run, const UuidArguments &arguments) {
  k7_uuid__t uuid;
  orla_reserved_uuid_gen(&uuid, arguments.number);
  Report report;
  report.list("uuids", "", {text_of(uuid)});
  run.finish(report);
}

// A tick of 4 microseconds, by the seconds since 1970 and its place within the second.
struct Instant {
  std::uint32_t seconds;
  std::int64_t tick;

  bool operator<(const Instant &other) const {
    return seconds != other.seconds ? seconds < other.seconds : tick < other.tick;
  }
};

std::string instant_text(const Instant &instant) {
  // Of the Gregorian calendar, not the library's, in which 2100 is a leap year: this is for people.
  using namespace std::chrono;
  const sys_seconds moment{seconds{instant.seconds}};
  const auto day = floor<days>(moment);
  const year_month_day date(day);
  const hh_mm_ss time(moment - day);
  char text[80];
  std::snprintf(text, sizeof text, "%04d-%02u-%02u %02d:%02d:%02d.%06d",
                static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()),
                static_cast<int>(instant.tick * 4));
  return text;
}

// The ticks of one second, counted from 1980 by a signed number of 32 bits, that give both time fields.
void find_in_second(std::int64_t second, const k7_uuid__t &uuid, std::vector<Instant> &found) {
  if (second < INT32_MIN || second > INT32_MAX) return;
  const std::uint32_t since_1970 = static_cast<std::uint32_t>(second) + kSecondsFrom1970To1980;
  if (since_1970 < kSecondsFrom1970To1980) return;  // between 1970 and 1980
  for (std::int64_t tick = uuid.time_low; tick < kTicksPerSecond; tick += kTimeLowRound) {
    const std::int64_t high = (second * kTicksPerSecond + tick) / kTicksPerTimeHigh;
    if (static_cast<std::uint32_t>(high) == uuid.time_high) found.push_back({since_1970, tick});
  }
}

// time_high has lost its upper bits, so it stands for several moments; each lies within 65,535 ticks,
// which are a quarter of a second, of the count that it would be without the loss.
std::vector<Instant> possible_instants(const k7_uuid__t &uuid) {
  std::vector<Instant> found;
  for (std::int64_t round = -2; round <= 1; ++round) {
    const std::int64_t ticks =
        (round * (std::int64_t{1} << 32) + uuid.time_high) * kTicksPerTimeHigh;
    const std::int64_t second = ticks / kTicksPerSecond;
    for (std::int64_t near = second - 1; near <= second + 1; ++near)
      find_in_second(near, uuid, found);
  }
  std::sort(found.begin(), found.end());
  return found;
}

std::string host_bytes(const k7_uuid__t &uuid) {
  char text[32];
  std::snprintf(text, sizeof text, "%02x %02x %02x %02x %02x %02x %02x", uuid.host[0], uuid.host[1],
                uuid.host[2], uuid.host[3], uuid.host[4], uuid.host[5], uuid.host[6]);
  return text;
}

bool is_reserved(const k7_uuid__t &uuid) {
  k7_uuid__t reserved;
  orla_reserved_uuid_inflate(&reserved, uuid.time_high, uuid.time_low, uuid.reserved);
  return orla_uuid_equal(&uuid, &reserved) != 0;
}

// The class codes are those of the library's own provider; a program's may mean something else by 2.
void report_host(Report &report, const k7_uuid__t &uuid) {
  report.row("host", "host", host_bytes(uuid));
  if (is_reserved(uuid)) {
    report.missing("class_code", "class code", "reserved space: there is no host identifier");
    return;
  }
  if ((uuid.family & 0x80) == 0) {
    report.missing("class_code", "class code", "the family lacks 0x80: not made by the library");
    return;
  }
  const int class_code = uuid.family & 0x7F;
  if (class_code != ORLA_UUID_CLASS_IPV4) {
    report.row("class_code", "class code", class_code, "of a provider of the program's own");
    return;
  }
  report.row("class_code", "class code", class_code, "IPv4 address");
  const std::string address = std::to_string(uuid.host[0]) + "." + std::to_string(uuid.host[1]) +
                              "." + std::to_string(uuid.host[2]) + "." +
                              std::to_string(uuid.host[3]);
  report.row("address", "address", address,
             "of the host; where the host had none, an address in memory");
}

void report_instants(Report &report, const k7_uuid__t &uuid) {
  std::vector<std::string> texts;
  for (const Instant &instant : possible_instants(uuid))
    texts.push_back(instant_text(instant));
  if (texts.empty()) {
    report.missing("instants", "instants",
                   "no clock from 1980 to 2106 gives these two time fields");
    return;
  }
  report.list("instants", texts.size() == 1 ? "made at" : "made at one of", texts,
              "UTC, or up to 3 microseconds later");
}

void show(Run &run, const UuidArguments &arguments) {
  k7_uuid__t uuid;
  if (!read_uuid(run, arguments.text, uuid)) return;
  Report report;
  report.row("text", "text", text_of(uuid),
             orla_uuid_equal(&uuid, &k7_uuid__nil) != 0 ? "the nil UUID" : "");
  report.row("time_high", "time_high", hexadecimal(uuid.time_high, 8),
             "every 65535 ticks of 4 microseconds one more, modulo 2^32");
  report.row("time_low", "time_low", hexadecimal(uuid.time_low, 4),
             "tick within the second, modulo 65536");
  report.row("reserved", "reserved", uuid.reserved,
             is_reserved(uuid) ? "number in the reserved space" : "");
  report.row("family", "family", hexadecimal(uuid.family, 2),
             is_reserved(uuid) ? "reserved space" : "");
  report_host(report, uuid);
  report_instants(report, uuid);
  run.finish(report);
}

void compare(Run &run, const UuidArguments &arguments) {
  k7_uuid__t a;
  k7_uuid__t b;
  if (!read_uuid(run, arguments.text, a) || !read_uuid(run, arguments.other, b)) return;
  const int order = orla_uuid_cmp(&a, &b);
  const int sign = (order > 0) - (order < 0);
  Report report;
  report.row("order", "order", sign,
             sign == 0  ? "the two are the same"
             : sign < 0 ? "the first comes before the second"
                        : "the first comes after the second");
  report.row("equal", "equal", orla_uuid_equal(&a, &b) != 0);
  run.finish(report);
}

void hash(Run &run, const UuidArguments &arguments) {
  k7_uuid__t uuid;
  if (!read_uuid(run, arguments.text, uuid)) return;
  Report report;
  report.row("hash", "hash", orla_uuid_hash(&uuid, arguments.modulus),
             "of 0 to " + std::to_string(std::min(arguments.modulus, 65536U) - 1));
  run.finish(report);
}

constexpr const char *kTextHelp = "Such as d0f7b2fc0064.82.0a.00.02.03.00.00.00";

void add_makers(CLI::App &uuid, Run &run, const std::shared_ptr<UuidArguments> &arguments) {
  CLI::App *make = add_command(uuid, run, "new", "Make UUIDs of this moment, one a line");
  make->add_option("-n,--count", arguments->count, "How many, all distinct (default 1)")
      ->check(CLI::Range(1, 1000000));
  make->callback([&run, arguments] { make_new(run, *arguments); });

  CLI::App *reserved = add_command(uuid, run, "reserved", "Make a UUID of the reserved space");
  reserved->add_option("NUMBER", arguments->number, "0 to 65535")
      ->required()
      ->check(CLI::Range(0, 65535));
  reserved->callback([&run, arguments] { make_reserved(run, *arguments); });
}

}  // namespace

void add_uuid_command(CLI::App &program, Run &run) {
  CLI::App *uuid = program.add_subcommand("uuid", "Make UUIDs, and say what is in one");
  uuid->require_subcommand(1);
  const auto arguments = std::make_shared<UuidArguments>();
  add_makers(*uuid, run, arguments);

  CLI::App *shown = add_command(*uuid, run, "show", "Say what is in a UUID");
  shown->add_option("TEXT", arguments->text, kTextHelp)->required();
  shown->callback([&run, arguments] { show(run, *arguments); });

  CLI::App *compared = add_command(*uuid, run, "compare", "Order two UUIDs");
  compared->add_option("A", arguments->text, kTextHelp)->required();
  compared->add_option("B", arguments->other, kTextHelp)->required();
  compared->callback([&run, arguments] { compare(run, *arguments); });

  CLI::App *hashed = add_command(*uuid, run, "hash", "Hash a UUID into one of MODULUS buckets");
  hashed->add_option("TEXT", arguments->text, kTextHelp)->required();
  hashed->add_option("MODULUS", arguments->modulus, "1 or more")
      ->required()
      ->check(CLI::Range(std::int64_t{1}, std::int64_t{4294967295}));
  hashed->callback([&run, arguments] { hash(run, *arguments); });
}

}  // namespace orla_tool
