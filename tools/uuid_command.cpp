// orla uuid: makes UUIDs and says what is in one.

#include <orla/uuid.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <bitset>
#include <memory>
#include <optional>

#include "command.h"
#include "inputs.h"
#include "numbers.h"
#include "standard_output.h"
#include "uuid_facts.h"

namespace orla_tool {
namespace {

constexpr NumberRange kCounts = {1, UINT32_MAX};
constexpr NumberRange kReservedNumbers = {0, 65535};

// What the commands take; each uses its own part.
struct UuidArguments {
  std::int64_t count = 1;
  bool no_wait = false;
  std::int64_t number = 0;
  std::int64_t modulus = 0;
  std::vector<std::string> texts;
  std::string other;
};

std::string text_of(const k7_uuid__t &uuid) {
  char text[ORLA_UUID_TEXT_SIZE];
  orla_uuid_encode(&uuid, text);
  return text;
}

void append_hexadecimal(std::string &out, std::uint32_t value, int digits) {
  constexpr const char *kDigits = "0123456789abcdef";
  for (int shift = digits * 4; (shift -= 4) >= 0;)
    out += kDigits[(value >> shift) & 0xF];
}

std::string hexadecimal(std::uint32_t value, int digits) {
  std::string text = "0x";
  append_hexadecimal(text, value, digits);
  return text;
}

// None, with a message, where the text is no UUID.
std::optional<k7_uuid__t> read_uuid(Run &run, const Input &input) {
  k7_uuid__t uuid;
  orla_status status = 0;
  orla_uuid_decode(input.text, &uuid, &status);
  if (status == 0) return uuid;
  run.fail(input.place() + in_quotes(input.view()) +
           " is not a UUID: write 12 hexadecimal digits and eight bytes with a dot before each, "
           "such as d0f7b2fc0064.82.0a.00.02.03.00.00.00");
  return {};
}

// UUIDs of the same 4 microseconds are identical, and so may be two that lie 213,568 microseconds
// apart, before and after the start of a second, where time_low starts anew. Either way they share
// time_high, which stays for a quarter of a second: so it is enough to know the time_low of those
// made meanwhile.
class Maker {
 public:
  static void make(k7_uuid__t &uuid) { orla_uuid_gen(&uuid); }

  void make_distinct(k7_uuid__t &uuid) {
    do {
      make(uuid);
    } while (!is_new(uuid));
  }

 private:
  bool is_new(const k7_uuid__t &uuid) {
    if (uuid.time_high != time_high_) seen_.reset();
    time_high_ = uuid.time_high;
    if (seen_[uuid.time_low]) return false;
    seen_[uuid.time_low] = true;
    return true;
  }

  std::uint32_t time_high_ = 0;
  std::bitset<65536> seen_;  // by time_low
};

// Written as they are made, so that any number of them needs no memory.
void make_new(Run &run, const UuidArguments &arguments) {
  const bool is_object = run.json && run.field.empty();
  print(is_object ? "{\n  \"uuids\": [\n" : run.json ? "[" : "");
  run.progress.begin_beside_output("UUIDs", static_cast<std::uint64_t>(arguments.count));
  Maker maker;
  k7_uuid__t uuid;
  char text[ORLA_UUID_TEXT_SIZE];
  for (std::int64_t left = arguments.count; left > 0; --left) {
    arguments.no_wait ? Maker::make(uuid) : maker.make_distinct(uuid);
    const auto length = static_cast<std::size_t>(orla_uuid_encode(&uuid, text));
    print(is_object ? "    \"" : run.json ? "\"" : "");
    print({text, length});
    print(!run.json ? "\n" : left > 1 ? "\"," : "\"");
    print(is_object ? "\n" : "");
    run.progress.step();
  }
  print(is_object ? "  ]\n}\n" : run.json ? "]\n" : "");
}

void make_reserved(Run &run, const UuidArguments &arguments) {
  k7_uuid__t uuid;
  orla_reserved_uuid_gen(&uuid, static_cast<std::uint16_t>(arguments.number));
  Report report = run.report();
  report.list("uuids", "", {text_of(uuid)});
  run.finish(report);
}

std::string host_bytes(const k7_uuid__t &uuid) {
  std::string text;
  for (const std::uint8_t byte : uuid.host) {
    if (!text.empty()) text += ' ';
    append_hexadecimal(text, byte, 2);
  }
  return text;
}

// The class codes are those of the library's own provider; a program's may mean something else by
// 2.
void report_host(Report &report, const k7_uuid__t &uuid) {
  report.row("host", "host", host_bytes(uuid));
  switch (host_kind(uuid)) {
    case HostKind::reserved:
      return report.missing("class_code", "class code",
                            "reserved space: there is no host identifier");
    case HostKind::foreign:
      return report.missing("class_code", "class code",
                            "the family lacks 0x80: not made by the library");
    case HostKind::other:
      return report.row("class_code", "class code", class_code(uuid),
                        "of a provider of the program's own");
    case HostKind::address:
      break;
  }
  report.row("class_code", "class code", class_code(uuid), "IPv4 address");
  std::string address;
  append_address(address, uuid);
  report.row("address", "address", address,
             "of the host; where the host had none, an address in memory");
}

void report_instants(Report &report, const k7_uuid__t &uuid) {
  std::vector<Instant> instants;
  find_instants(uuid, instants);
  if (instants.empty()) {
    report.missing("instants", "instants",
                   "no clock from 1980 to 2106 gives these two time fields");
    return;
  }
  std::vector<std::string> texts(instants.size());
  for (std::size_t i = 0; i < texts.size(); ++i)
    append_instant(texts[i], instants[i]);
  report.list("instants", texts.size() == 1 ? "made at" : "made at one of", texts,
              "UTC, or up to 3 microseconds later");
}

void report_uuid(Report &report, const k7_uuid__t &uuid) {
  report.row("text", "text", text_of(uuid),
             orla_uuid_equal(&uuid, &k7_uuid__nil) != 0 ? "the nil UUID" : "");
  report.row("time_high", "time_high", hexadecimal(uuid.time_high, 8),
             "one more for every 65535 ticks of 4 microseconds, modulo 2^32");
  report.row("time_low", "time_low", hexadecimal(uuid.time_low, 4),
             "tick within the second, modulo 65536");
  report.row("reserved", "reserved", uuid.reserved,
             is_reserved(uuid) ? "number in the reserved space" : "");
  report.row("family", "family", hexadecimal(uuid.family, 2),
             is_reserved(uuid) ? "reserved space" : "");
  report_host(report, uuid);
  report_instants(report, uuid);
}

void append_host(std::string &line, const k7_uuid__t &uuid) {
  constexpr std::size_t kWidth = 15;  // of an address
  const std::size_t begin = line.size();
  switch (host_kind(uuid)) {
    case HostKind::reserved:
      line += "reserved " + std::to_string(uuid.reserved);
      break;
    case HostKind::foreign:
      line += '-';
      break;
    case HostKind::other:
      line += "class " + std::to_string(class_code(uuid));
      break;
    case HostKind::address:
      append_address(line, uuid);
      break;
  }
  line.resize(begin + kWidth, ' ');
}

// One line a UUID, made without a report, for files of millions: text, host, and the instants.
class Table {
 public:
  void print_row(const k7_uuid__t &uuid) {
    char text[ORLA_UUID_TEXT_SIZE];
    line_.assign(text, static_cast<std::size_t>(orla_uuid_encode(&uuid, text)));
    line_ += "  ";
    append_host(line_, uuid);
    append_instants(uuid);
    line_ += '\n';
    print(line_);
  }

 private:
  void append_instants(const k7_uuid__t &uuid) {
    find_instants(uuid, instants_);
    if (instants_.empty()) line_ += "  -";
    for (const Instant &instant : instants_) {
      line_ += &instant == instants_.data() ? "  " : ", ";
      append_instant(line_, instant);
    }
  }

  std::string line_;  // both kept for their memory
  std::vector<Instant> instants_;
};

void show_table(Run &run, const UuidArguments &arguments) {
  Table table;
  Inputs inputs(run, arguments.texts);
  Input input;
  while (inputs.next(input))
    if (const auto uuid = read_uuid(run, input)) table.print_row(*uuid);
}

void show(Run &run, const UuidArguments &arguments) {
  if (!run.wants_values() && !is_single(arguments.texts)) return show_table(run, arguments);
  const auto describe = [&run](const Input &input, Report &report) {
    const auto uuid = read_uuid(run, input);
    if (uuid) report_uuid(report, *uuid);
    return uuid.has_value();
  };
  describe_each(run, arguments.texts, {describe, {}});
}

void report_order(Report &report, const k7_uuid__t &a, const k7_uuid__t &b) {
  const int order = orla_uuid_cmp(&a, &b);
  const int sign = (order > 0) - (order < 0);
  report.row("order", "order", sign,
             sign == 0  ? "the two are the same"
             : sign < 0 ? "the first comes before the second"
                        : "the first comes after the second");
  report.row("equal", "equal", orla_uuid_equal(&a, &b) != 0);
}

void compare(Run &run, const UuidArguments &arguments) {
  const auto b = read_uuid(run, {arguments.other.c_str(), arguments.other.size(), 0});
  if (!b) return;
  const auto describe = [&](const Input &input, Report &report) {
    const auto a = read_uuid(run, input);
    if (a) report_order(report, *a, *b);
    return a.has_value();
  };
  describe_each(run, arguments.texts, {describe, {"input", "order"}});
}

void hash(Run &run, const UuidArguments &arguments) {
  const auto describe = [&](const Input &input, Report &report) {
    const auto uuid = read_uuid(run, input);
    if (!uuid) return false;
    const auto modulus = static_cast<std::uint32_t>(arguments.modulus);
    report.row("hash", "hash", orla_uuid_hash(&*uuid, modulus),
               "of 0 to " + std::to_string(std::min(modulus, 65536U) - 1));
    return true;
  };
  describe_each(run, arguments.texts, {describe, {"input", "hash"}});
}

constexpr const char *kTextHelp =
    "Such as d0f7b2fc0064.82.0a.00.02.03.00.00.00; - for the lines of standard input";

using SharedUuids = std::shared_ptr<UuidArguments>;

void add_new(CLI::App &uuid, Run &run, const SharedUuids &arguments) {
  CLI::App *make = add_command(
      uuid, run,
      {"new", "Make UUIDs of this moment, one a line",
       "UUIDs of the same 4 microseconds are identical, so each waits for the next\n"
       "4 microseconds: no more than 250,000 are made in a second. With --no-wait there may be\n"
       "identical ones among them.",
       "  orla uuid new\n  orla uuid new -n 1000 > uuids.txt\n"},
      [&run, arguments] { make_new(run, *arguments); });
  add_number(*make, "-n,--count", arguments->count,
             "How many (default 1); all distinct without --no-wait", kCounts)
      ->type_name("NUMBER");
  make->add_flag("--no-wait", arguments->no_wait, "As fast as they come, identical ones as well");
}

void add_reserved(CLI::App &uuid, Run &run, const SharedUuids &arguments) {
  CLI::App *reserved = add_command(
      uuid, run,
      {"reserved", "Make a UUID of the reserved space", "", "  orla uuid reserved 300\n"},
      [&run, arguments] { make_reserved(run, *arguments); });
  add_number(*reserved, "NUMBER", arguments->number, "0 to 65535", kReservedNumbers)->required();
}

void add_show(CLI::App &uuid, Run &run, const SharedUuids &arguments) {
  CLI::App *shown = add_command(
      uuid, run,
      {"show", "Say what is in UUIDs",
       "With several UUIDs, each gets one line: the text, the host (an IPv4 address, the class\n"
       "of another identifier, or the number in the reserved space) and the instants that it\n"
       "can be of, UTC.",
       "  orla uuid show d0f7b2fc0064.82.0a.00.02.03.00.00.00\n"
       "  orla uuid new -n 5 | orla uuid show -\n"
       "  orla uuid new -n 5 | orla uuid show --field address -\n"},
      [&run, arguments] { show(run, *arguments); });
  add_texts(*shown, "TEXT", arguments->texts, kTextHelp);
}

void add_compare(CLI::App &uuid, Run &run, const SharedUuids &arguments) {
  CLI::App *compared = add_command(
      uuid, run,
      {"compare", "Order two UUIDs, or many against one",
       "-1: A comes before B; 0: they are the same; 1: A comes after B. With \"-\" for A each\n"
       "line of standard input is compared with B, and gets a line: the text and the order.",
       "  orla uuid compare 000000000000.00.00.00.00.00.00.00.00 "
       "d0f7b2fc0064.82.0a.00.02.03.00.00.00\n"
       "  orla uuid new -n 5 | orla uuid compare - d0f7b2fc0064.82.0a.00.02.03.00.00.00\n"},
      [&run, arguments] { compare(run, *arguments); });
  add_texts(*compared, "A", arguments->texts, kTextHelp)->expected(1);
  compared->add_option("B", arguments->other, "The UUID to compare with")->required();
}

void add_hash(CLI::App &uuid, Run &run, const SharedUuids &arguments) {
  CLI::App *hashed =
      add_command(uuid, run,
                  {"hash", "Hash a UUID into one of MODULUS buckets",
                   "With \"-\" each line of standard input gets a line: the text and its bucket.",
                   "  orla uuid hash d0f7b2fc0064.82.0a.00.02.03.00.00.00 101\n"
                   "  orla uuid new -n 5 | orla uuid hash - 101\n"},
                  [&run, arguments] { hash(run, *arguments); });
  add_texts(*hashed, "TEXT", arguments->texts, kTextHelp)->expected(1);
  add_number(*hashed, "MODULUS", arguments->modulus, "1 or more", kCounts)->required();
}

}  // namespace

void add_uuid_command(CLI::App &program, Run &run) {
  CLI::App *uuid = add_group(program, run,
                             {"uuid", "Make UUIDs, and say what is in one", "",
                              "  orla uuid new -n 3\n  orla uuid new | orla uuid show -\n"});
  const auto arguments = std::make_shared<UuidArguments>();
  add_new(*uuid, run, arguments);
  add_reserved(*uuid, run, arguments);
  add_show(*uuid, run, arguments);
  add_compare(*uuid, run, arguments);
  add_hash(*uuid, run, arguments);
}

}  // namespace orla_tool
