// orla profile: what the library answers from a profile file, one key written, and what would go wrong.

#include <orla/profile.h>
#include <strings.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>

#include "command.h"
#include "profile_lint.h"

namespace orla_tool {
namespace {

struct ProfileArguments {
  std::string words[4];  // what the command takes, FILE first; fixed, as options point into it
  std::vector<CLI::Option *> options;
  bool default_path = false;
  bool as_int = false;
  std::string fallback;
  CLI::Option *fallback_option = nullptr;
  std::vector<std::string> integer_keys;

  const std::string &file() const { return words[0]; }
  const std::string &section() const { return words[1]; }
  const std::string &key() const { return words[2]; }
  const std::string &value() const { return words[3]; }
  bool has_fallback() const { return fallback_option->count() != 0; }
};

struct Word {
  const char *name;
  const char *description;
};

void add_words(CLI::App &command, ProfileArguments &arguments, std::initializer_list<Word> words) {
  std::string *word = arguments.words;
  for (const Word &each : words)
    arguments.options.push_back(command.add_option(each.name, *word++, each.description));
  command.add_flag("--default-path", arguments.default_path,
                   "Instead of FILE: " ORLA_DEFAULT_PROFILE_PATH
                   ", or the file that ORLA_CONFIG names");
}

// With --default-path there is no FILE among the words: they move up by one.
void settle_words(ProfileArguments &arguments) {
  const std::size_t taken = arguments.options.size() - (arguments.default_path ? 1 : 0);
  std::size_t given = 0;
  for (const CLI::Option *option : arguments.options)
    given += option->count();
  if (given < taken) throw CLI::RequiredError(arguments.options.back()->get_name());
  if (given > taken) throw CLI::ExtrasError({arguments.words[given - 1]});
  if (!arguments.default_path) return;
  std::move_backward(arguments.words, arguments.words + taken, arguments.words + taken + 1);
  arguments.words[0] = ORLA_DEFAULT_PROFILE_PATH;
}

// The file that the string reader and the writer open for a path.
std::string file_behind(const std::string &path) {
  const char *named = std::getenv("ORLA_CONFIG");
  return path == ORLA_DEFAULT_PROFILE_PATH && named != nullptr ? named : path;
}

// How a search for a key ends, told from the lines that the library hands out.
struct Search {
  std::string missing;  // why there is no entry; empty when there is one
  std::string line;     // of the entry
  std::size_t number = 0;
};

class Lines {
 public:
  explicit Lines(const std::string &path) : stream_(std::fopen(path.c_str(), "r")) {}
  ~Lines() {
    if (stream_ != nullptr) std::fclose(stream_);
  }
  Lines(const Lines &) = delete;
  Lines &operator=(const Lines &) = delete;

  bool are_open() const { return stream_ != nullptr; }
  bool next(Search &search) {
    char line[ORLA_PROFILE_LINE_SIZE];
    if (orla_i_cfg_read_line(stream_, line) == 0) return false;
    search.line = line;
    ++search.number;
    return true;
  }

 private:
  std::FILE *stream_;
};

bool begins_with(const std::string &line, const std::string &text, std::size_t size) {
  return strncasecmp(line.c_str(), text.c_str(), size) == 0;
}

// The readers answer "not found" and "empty" alike, so the search is made over the lines themselves.
Search search(const std::string &file, const std::string &section, const std::string &key,
              bool whole_header) {
  Search found;
  Lines lines(file);
  if (!lines.are_open()) {
    found.missing =
        file + " does not open: " + std::strerror(errno) + "; check its name and rights";
    return found;
  }
  const std::string header = std::string("[") + section + "]";
  const std::size_t compared = whole_header ? header.size() + 1 : section.size();
  do {
    if (!lines.next(found)) {
      found.missing = file + " has no section " + header;
      return found;
    }
  } while (!begins_with(found.line, header, compared));
  const std::string place = "section " + header + " of " + file + ", line " +
                            std::to_string(found.number) + ", has no key \"" + key + "\"";
  do {
    if (!lines.next(found)) {
      found.missing = place + " up to the end of the file";
      return found;
    }
    if (found.line.empty()) {
      found.missing = place + " before the empty line " + std::to_string(found.number);
      return found;
    }
  } while (!begins_with(found.line, key, key.size()));
  return found;
}

std::string read_string(const ProfileArguments &arguments, const char *fallback) {
  std::string text(4096, '\0');
  for (;;) {
    const unsigned length = orla_cfg_get_private_profile_string(
        arguments.section().c_str(), arguments.key().c_str(), fallback, text.data(),
        static_cast<unsigned>(text.size()), arguments.file().c_str());
    if (length < text.size() - 1) {
      text.resize(length);
      return text;
    }
    text.resize(text.size() * 2);
  }
}

// The value alone, so that a script can take it, or the object.
void show_value(const Run &run, const std::string &file, const ProfileArguments &arguments,
                const Json &value, bool found) {
  if (!run.json) {
    std::cout << (value.is_string() ? value.get<std::string>() : value.dump()) << '\n';
    return;
  }
  Report report;
  report.row("file", "file", file);
  report.row("section", "section", arguments.section());
  report.row("key", "key", arguments.key());
  report.row("value", "value", value);
  report.row("found", "found", found);
  run.finish(report);
}

void get_string(Run &run, const ProfileArguments &arguments) {
  const std::string file = file_behind(arguments.file());
  Search found = search(file, arguments.section(), arguments.key(), false);
  if (found.missing.empty() && found.line.size() < ORLA_PROFILE_LINE_SIZE - 1 &&
      found.line.find('=') == std::string::npos)
    found.missing = file + ", line " + std::to_string(found.number) + ": no \"=\" behind the key";
  if (!found.missing.empty() && !arguments.has_fallback()) {
    run.fail(found.missing);
    return;
  }
  // Without a default to take its place the reader gives a blank value as it is.
  const std::string own = read_string(arguments, nullptr);
  const bool replaced = arguments.has_fallback() && own.find_first_not_of(' ') == std::string::npos;
  const char *fallback = arguments.has_fallback() ? arguments.fallback.c_str() : nullptr;
  show_value(run, file, arguments, read_string(arguments, fallback),
             found.missing.empty() && !replaced);
}

std::optional<int> as_integer(const std::string &text) {
  int number = 0;
  const char *end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end) return {};
  return number;
}

void get_integer(Run &run, const ProfileArguments &arguments) {
  const auto fallback = as_integer(arguments.fallback);
  if (arguments.has_fallback() && !fallback)
    throw CLI::ValidationError("--default", "with --int a whole number is wanted");
  constexpr int kNone = -1;  // the reader's own answers are 0 and more
  const int number = orla_cfg_get_private_profile_int(
      arguments.section().c_str(), arguments.key().c_str(), kNone, arguments.file().c_str());
  if (number != kNone || arguments.has_fallback()) {
    show_value(run, arguments.file(), arguments, number != kNone ? number : *fallback,
               number != kNone);
    return;
  }
  const Search found = search(arguments.file(), arguments.section(), arguments.key(), true);
  run.fail(!found.missing.empty() ? found.missing
                                  : arguments.file() + ", line " + std::to_string(found.number) +
                                        ": no number of 1 to 5 characters behind a \"=\"");
}

// A text that would not come back as itself, or would take other lines with it.
void check_text(const char *name, const std::string &text, const char *forbidden) {
  const std::size_t at = text.find_first_of(forbidden);
  if (at == std::string::npos) return;
  const auto code = static_cast<unsigned char>(text[at]);
  const std::string what = code == '\n'   ? "a line feed"
                           : code == '\r' ? "a carriage return"
                           : code == 0xFF ? "a byte 0xFF"
                                          : std::string("\"") + text[at] + "\"";
  throw CLI::ValidationError(name, what + " in it would damage the file");
}

void set_key(Run &run, const ProfileArguments &arguments) {
  check_text("SECTION", arguments.section(), "\n\r\xFF");
  check_text("KEY", arguments.key(), "\n\r\xFF=");
  check_text("VALUE", arguments.value(), "\n\r\xFF");
  if (arguments.key().empty())
    throw CLI::ValidationError("KEY", "an empty key would replace the section's first line");
  const std::string file = file_behind(arguments.file());
  const Search replaced = search(file, arguments.section(), arguments.key(), true);
  if (orla_cfg_write_private_profile_string(arguments.section().c_str(), arguments.key().c_str(),
                                            arguments.value().c_str(),
                                            arguments.file().c_str()) == 0) {
    run.fail(file + " was not rewritten; check that it and /tmp can be written and have room");
    return;
  }
  Report report;
  report.row("file", "file", file);
  report.row("entry", "entry", arguments.key() + "=" + arguments.value());
  if (replaced.missing.empty())
    report.row("replaced", "in place of", replaced.line, "line " + std::to_string(replaced.number));
  const std::string answer = read_string(arguments, nullptr);
  if (answer != arguments.value())
    report.row("answer", "but read as", run.json ? answer : std::string("\"") + answer + "\"",
               "the value holds a \"=\", or a header or key above hides it: see lint");
  run.finish(report);
}

void show_path(const Run &run) {
  char path[ORLA_PROFILE_PATH_SIZE];
  char from_environment = 0;
  orla_cfg_file(path, &from_environment);
  const char *named = std::getenv("ORLA_CONFIG");
  const bool ignored = named != nullptr && from_environment == 0;
  Report report;
  report.row("path", "path", path,
             from_environment != 0 ? "named by ORLA_CONFIG"
             : ignored             ? "by default: the file that ORLA_CONFIG names does not open"
                                   : "by default: ORLA_CONFIG is not set");
  report.row("from_environment", "from environment", from_environment != 0);
  if (ignored && *named != '\0')
    report.row("variable", "ORLA_CONFIG", named,
               "the string reader and the writer still turn to this file");
  run.finish(report);
}

void lint_file(Run &run, const ProfileArguments &arguments) {
  const std::string file = file_behind(arguments.file());
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream content;
  if (stream.is_open() && stream.peek() != std::ifstream::traits_type::eof())
    content << stream.rdbuf();
  const std::string bytes = content.str();
  if (!stream.is_open() || stream.bad()) {
    run.fail(file + " cannot be read; check its name and rights");
    return;
  }
  const std::vector<Finding> findings = lint_profile(bytes, arguments.integer_keys);
  if (!findings.empty()) run.status = kServiceFailed;
  Json list = Json::array();
  for (const Finding &finding : findings) {
    list.push_back({{"line", finding.line}, {"kind", finding.kind}, {"text", finding.text}});
    if (!run.json) std::cout << file << ':' << finding.line << ": " << finding.text << '\n';
  }
  if (!run.json && findings.empty()) std::cout << file << ": nothing to trip over\n";
  if (!run.json) return;
  Report report;
  report.row("file", "file", file);
  report.row("findings", "findings", list);
  run.finish(report);
}

constexpr Word kFile = {"FILE", "A profile file"};
constexpr Word kSection = {"SECTION", "Without brackets"};
constexpr Word kKey = {"KEY", "Found in the first line that begins with it"};
constexpr Word kValue = {"VALUE", "Written as it is"};

void add_get(CLI::App &profile, Run &run) {
  const auto arguments = std::make_shared<ProfileArguments>();
  CLI::App *get = add_command(profile, run, "get", "Print the value of a key");
  add_words(*get, *arguments, {kFile, kSection, kKey});
  get->add_flag("--int", arguments->as_int,
                "As the integer reader answers; it pays no heed to ORLA_CONFIG");
  arguments->fallback_option =
      get->add_option("--default", arguments->fallback, "Print this when there is no value");
  get->footer("Without --default it is a failure when the key is not found.");
  get->callback([&run, arguments] {
    settle_words(*arguments);
    arguments->as_int ? get_integer(run, *arguments) : get_string(run, *arguments);
  });
}

void add_set(CLI::App &profile, Run &run) {
  const auto arguments = std::make_shared<ProfileArguments>();
  CLI::App *set = add_command(profile, run, "set", "Write one key");
  add_words(*set, *arguments, {kFile, kSection, kKey, kValue});
  set->footer(
      "The file is rewritten in place: carriage returns go, as does a last line without line "
      "feed.");
  set->callback([&run, arguments] {
    settle_words(*arguments);
    set_key(run, *arguments);
  });
}

void add_lint(CLI::App &profile, Run &run) {
  const auto arguments = std::make_shared<ProfileArguments>();
  CLI::App *lint = add_command(profile, run, "lint", "Say what a reader would trip over");
  add_words(*lint, *arguments, {kFile});
  lint->add_option("--int", arguments->integer_keys,
                   "A key whose values should be numbers; may be given again")
      ->allow_extra_args(false);
  lint->footer("Exit status: 0 nothing found, 1 something found or the file cannot be read.");
  lint->callback([&run, arguments] {
    settle_words(*arguments);
    lint_file(run, *arguments);
  });
}

}  // namespace

void add_profile_command(CLI::App &program, Run &run) {
  CLI::App *profile = program.add_subcommand("profile", "Read, write and check profile files");
  profile->require_subcommand(1);
  add_get(*profile, run);
  add_set(*profile, run);
  CLI::App *path = add_command(*profile, run, "path", "Tell which profile is in force");
  path->callback([&run] { show_path(run); });
  add_lint(*profile, run);
}

}  // namespace orla_tool
