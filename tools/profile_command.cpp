// orla profile: what the library answers from a profile file, one key written, and what would go wrong.

#include <orla/profile.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>

#include "command.h"
#include "profile_search.h"
#include "standard_output.h"
#include "whole_file.h"

namespace orla_tool {
namespace {

struct ProfileArguments {
  std::string words[4];  // what the command takes, FILE first; fixed, as options point into it
  std::vector<CLI::Option *> options;
  bool default_path = false;
  bool as_int = false;
  std::string fallback;
  CLI::Option *fallback_option = nullptr;
  std::string name;  // of the file, in what is said

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
  if (given < taken)
    throw CLI::RequiredError(
        arguments.options[arguments.options.size() - taken + given]->get_name());
  if (given > taken) throw CLI::ExtrasError({arguments.words[given - 1]});
  if (!arguments.default_path) return;
  std::move_backward(arguments.words, arguments.words + taken, arguments.words + taken + 1);
  arguments.words[0] = ORLA_DEFAULT_PROFILE_PATH;
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
void show_value(const Run &run, const ProfileArguments &arguments, const Json &value, bool found) {
  if (!run.json) {
    print((value.is_string() ? value.get<std::string>() : value.dump()) + '\n');
    return;
  }
  Report report;
  report.row("file", "file", arguments.name);
  report.row("section", "section", arguments.section());
  report.row("key", "key", arguments.key());
  report.row("value", "value", value);
  report.row("found", "found", found);
  run.finish(report);
}

void get_string(Run &run, const ProfileArguments &arguments) {
  Search found = search_profile(file_behind(arguments.file()), arguments.name, arguments.section(),
                                arguments.key(), false);
  if (found.missing.empty() && found.line.size() < ORLA_PROFILE_LINE_SIZE - 1 &&
      found.line.find('=') == std::string::npos)
    found.missing =
        arguments.name + ", line " + std::to_string(found.number) + ": no \"=\" behind the key";
  if (!found.missing.empty() && !arguments.has_fallback()) {
    run.fail(found.missing);
    return;
  }
  // Without a default to take its place the reader gives a blank value as it is.
  const std::string own = read_string(arguments, nullptr);
  const bool replaced = arguments.has_fallback() && own.find_first_not_of(' ') == std::string::npos;
  const char *fallback = arguments.has_fallback() ? arguments.fallback.c_str() : nullptr;
  show_value(run, arguments, read_string(arguments, fallback), found.missing.empty() && !replaced);
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
    show_value(run, arguments, number != kNone ? number : *fallback, number != kNone);
    return;
  }
  const Search found =
      search_profile(arguments.file(), arguments.name, arguments.section(), arguments.key(), true);
  run.fail(!found.missing.empty() ? found.missing
                                  : arguments.name + ", line " + std::to_string(found.number) +
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
  if (arguments.file() == kStandardInput)
    throw CLI::ValidationError("FILE", "standard input cannot be rewritten; name a file");
  const std::string file = file_behind(arguments.file());
  const Search replaced = search_profile(file, file, arguments.section(), arguments.key(), true);
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

// Settles under which path the library finds FILE, and how it is called in what is said.
void settle_file(ProfileArguments &arguments) {
  std::string &file = arguments.words[0];
  arguments.name = arguments.as_int ? file : file_behind(file);
  if (file != kStandardInput) return;
  arguments.name = "standard input";
  file = path_of_standard_input();
}

constexpr Word kFile = {"FILE", "A profile file"};
constexpr Word kFileOrInput = {"FILE", "A profile file; - for standard input"};
constexpr Word kSection = {"SECTION", "Without brackets"};
constexpr Word kKey = {"KEY", "Found in the first line that begins with it"};
constexpr Word kValue = {"VALUE", "Written as it is"};

void add_get(CLI::App &profile, Run &run) {
  const auto arguments = std::make_shared<ProfileArguments>();
  CLI::App *get = add_command(
      profile, run, "get", "Print the value of a key",
      {"Without --default it is a failure when the key is not found. Given the default path as "
       "FILE,\n"
       "the library reads the file that ORLA_CONFIG names, where it is set; --json shows which.",
       "  orla profile get app.ini Main Port\n"
       "  orla profile get app.ini Main Port --int --default 7\n"
       "  orla profile get --default-path Main Port\n"});
  add_words(*get, *arguments, {kFileOrInput, kSection, kKey});
  get->add_flag("--int", arguments->as_int,
                "As the integer reader answers; it pays no heed to ORLA_CONFIG");
  arguments->fallback_option =
      get->add_option("--default", arguments->fallback, "Print this when there is no value");
  get->callback([&run, arguments] {
    settle_words(*arguments);
    settle_file(*arguments);
    arguments->as_int ? get_integer(run, *arguments) : get_string(run, *arguments);
  });
}

void add_set(CLI::App &profile, Run &run) {
  const auto arguments = std::make_shared<ProfileArguments>();
  CLI::App *set = add_command(profile, run, "set", "Write one key",
                              {"The file is rewritten in place: carriage returns go, as does a "
                               "last line without line feed.\n"
                               "Given the default path as FILE, the library rewrites the file that "
                               "ORLA_CONFIG names, where it\n"
                               "is set; the output shows which. A VALUE that begins with \"-\" "
                               "goes behind \"--\", where it is\n"
                               "not a number.",
                               "  orla profile set app.ini Main Port 5555\n"
                               "  orla profile set -- app.ini Main Options -v\n"});
  add_words(*set, *arguments, {kFile, kSection, kKey, kValue});
  set->callback([&run, arguments] {
    settle_words(*arguments);
    set_key(run, *arguments);
  });
}

void add_path(CLI::App &profile, Run &run) {
  CLI::App *path =
      add_command(profile, run, "path", "Tell which profile is in force",
                  {"", "  orla profile path\n  ORLA_CONFIG=app.ini orla profile path\n"});
  path->callback([&run] { show_path(run); });
}

}  // namespace

void add_profile_command(CLI::App &program, Run &run) {
  CLI::App *profile =
      add_group(program, run, "profile", "Read, write and check profile files",
                {"", "  orla profile get app.ini Main Port\n  orla profile lint app.ini\n"});
  add_get(*profile, run);
  add_set(*profile, run);
  add_path(*profile, run);
  add_profile_lint_command(*profile, run);
}

}  // namespace orla_tool
