// orla profile: what the library answers from a profile file, one key written or taken out, and the
// path.

#include <orla/profile.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "command.h"
#include "numbers.h"
#include "profile_edit.h"
#include "profile_file.h"
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

  const std::string &file() const { return words[0]; }
  const std::string &section() const { return words[1]; }
  const std::string &key() const { return words[2]; }
  const std::string &value() const { return words[3]; }
  bool has_fallback() const { return fallback_option->count() != 0; }
};

// Shows in the usage line what the command checks by itself: all words are required, and
// --default-path stands for the first.
class WordsFormatter : public CLI::Formatter {
 public:
  std::string make_option_usage(const CLI::Option *option) const override {
    const std::string name = make_option_name(option, true);
    return name == "FILE" ? "{FILE | --default-path}" : name;
  }
};

struct Word {
  const char *name;
  const char *description;
};

void add_words(CLI::App &command, ProfileArguments &arguments, std::initializer_list<Word> words) {
  std::string *word = arguments.words;
  for (const Word &each : words) {
    CLI::Option *option = command.add_option(each.name, *word++, each.description)->type_name("");
    // settle_words() requires them; FILE has something to stand for it.
    if (option != command.get_option("FILE")) option->option_text("REQUIRED");
    arguments.options.push_back(option);
  }
  add_default_path_flag(command, arguments.default_path);
  command.formatter(std::make_shared<WordsFormatter>());
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

// The value alone, as it is, so that a script can take it; or the object.
void show_value(Run &run, const ProfileArguments &arguments, const std::string &file,
                const Json &value, bool found) {
  if (!run.wants_values()) return print(value_text(value) + '\n');
  Report report = run.report();
  report.row("file", "file", file);
  report.row("section", "section", arguments.section());
  report.row("key", "key", arguments.key());
  report.row("value", "value", value);
  report.row("found", "found", found);
  run.finish(report);
}

std::string in_line(const ProfileFile &file, std::size_t number) {
  return file.name + ", line " + std::to_string(number) + ": ";
}

Search search_for_key(const ProfileArguments &arguments, const ProfileFile &file, HeaderRule rule) {
  return search_profile(file.text, file.name, arguments.section(), arguments.key(), rule);
}

void get_string(Run &run, const ProfileArguments &arguments, const ProfileFile &file) {
  const Search search = search_for_key(arguments, file, HeaderRule::beginning);
  std::string missing = !file.error.empty() ? file.error : search.missing;
  if (missing.empty() && !has_equals(search.line.text))
    missing = in_line(file, search.line.number) + "no \"=\" after the key";
  if (!missing.empty() && !arguments.has_fallback()) return run.fail(missing);
  // Without a default to take its place the reader gives a blank value as it is.
  const std::string own = read_string(arguments, nullptr);
  const bool replaced = arguments.has_fallback() && own.find_first_not_of(' ') == std::string::npos;
  const char *fallback = arguments.has_fallback() ? arguments.fallback.c_str() : nullptr;
  show_value(run, arguments, file.name, read_string(arguments, fallback),
             missing.empty() && !replaced);
}

constexpr NumberRange kIntegers = {INT32_MIN, INT32_MAX};

void get_integer(Run &run, const ProfileArguments &arguments, const ProfileFile &file) {
  const auto fallback = kIntegers.read(arguments.fallback);
  if (arguments.has_fallback() && !fallback)
    throw CLI::ValidationError("--default", "with --int it must be a whole number");
  constexpr int kNone = -1;  // the reader's own answers are 0 and more
  const int number = orla_cfg_get_private_profile_int(
      arguments.section().c_str(), arguments.key().c_str(), kNone, arguments.file().c_str());
  if (number != kNone || arguments.has_fallback())
    return show_value(run, arguments, file.name, number != kNone ? number : *fallback,
                      number != kNone);
  if (!file.error.empty()) return run.fail(file.error);
  const Search search = search_for_key(arguments, file, HeaderRule::whole_line);
  run.fail(!search.missing.empty() ? search.missing
                                   : in_line(file, search.line.number) +
                                         "no number of 1 to 5 characters after a \"=\"");
}

// What cannot be read twice reaches the library as a copy.
void get_value(Run &run, ProfileArguments &arguments) {
  std::string &path = arguments.words[0];
  const std::string read = arguments.as_int ? path : resolved_path(path);
  const std::string reason = can_be_opened_again(read) ? why_no_file(read) : "";
  const ProfileFile file(read);
  if (!reason.empty()) return run.fail(file.error);  // the library would not come back from there
  if (file.error.empty() && !can_be_opened_again(read)) path = path_of_bytes(file.text.bytes());
  if (path.empty())
    return run.fail(file.name + " cannot be copied into memory: " + std::strerror(errno));
  arguments.as_int ? get_integer(run, arguments, file) : get_string(run, arguments, file);
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

void check_target(const ProfileArguments &arguments) {
  if (arguments.key().empty())
    throw CLI::ValidationError("KEY", "an empty key would stand for the section's first line");
  if (arguments.file() == kStandardInput)
    throw CLI::ValidationError("FILE", "standard input cannot be rewritten; name a file");
}

// Why the string reader does not find the entry that was written; empty when it does.
std::string why_not_found(const ProfileArguments &arguments, const ProfileFile &file,
                          const std::string &entry, const std::string &answer) {
  if (!file.error.empty()) return file.error;
  const Search written = search_for_key(arguments, file, HeaderRule::whole_line);
  if (!written.missing.empty() || written.line.text != entry)
    return "it does not hold the entry; was there room for it?";
  const Search found = search_for_key(arguments, file, HeaderRule::beginning);
  if (!found.missing.empty()) return found.missing;
  if (found.line.number != written.line.number)
    return "an earlier header begins like [" + arguments.section() + "], and line " +
           std::to_string(found.line.number) + " is found after it";
  if (answer != arguments.value())
    return "the value is read as " + in_quotes(answer) +
           ": only what follows its last \"=\" counts";
  return "";
}

void report_set(Run &run, const ProfileArguments &arguments, const std::string &file,
                const std::string &entry, const std::string &replaced, const std::string &answer) {
  Report report = run.report();
  report.row("file", "file", file);
  report.row("entry", "entry", entry);
  if (!replaced.empty()) report.row("replaced", "in place of", replaced);
  if (answer != arguments.value()) report.row("answer", "but read as", answer);
  run.finish(report);
}

// The line that an entry for the key takes the place of; empty when there is none.
std::string line_of_key(const ProfileArguments &arguments, const ProfileFile &file) {
  const Search search = search_for_key(arguments, file, HeaderRule::whole_line);
  return std::string(search.line.text);
}

// What came of writing an entry.
struct Written {
  std::string error;      // why it was not, for a message; empty when it was
  std::string replaced;   // the line that it took the place of; empty when there was none
  std::string answer;     // what the string reader now gives for the key
  std::string not_found;  // why a reader does not find the entry; empty when all do
};

// Writes an entry and reads it back, under the lock.
Written write_entry(Run &run, const ProfileArguments &arguments, const std::string &file,
                    const std::string &entry) {
  const ProfileLock lock(run, file);
  if (!lock.error().empty()) return {file + " was not rewritten: " + lock.error(), "", "", ""};
  const ProfileFile before(file);
  if (!before.error.empty() && access(file.c_str(), F_OK) == 0) return {before.error, "", "", ""};
  if (orla_cfg_write_private_profile_string(arguments.section().c_str(), arguments.key().c_str(),
                                            arguments.value().c_str(),
                                            arguments.file().c_str()) == 0)
    return {file + " was not rewritten: " +
                why_not_rewritten(file, before.text.bytes().size() + entry.size()),
            "", "", ""};
  const std::string answer = read_string(arguments, nullptr);
  return {"", line_of_key(arguments, before), answer,
          why_not_found(arguments, ProfileFile(file), entry, answer)};
}

void set_key(Run &run, const ProfileArguments &arguments) {
  check_text("SECTION", arguments.section(), "\n\r\xFF");
  check_text("KEY", arguments.key(), "\n\r\xFF=");
  check_text("VALUE", arguments.value(), "\n\r\xFF");
  check_target(arguments);
  const std::string file = resolved_path(arguments.file());
  const std::string entry = arguments.key() + "=" + arguments.value();
  const Written written = write_entry(run, arguments, file, entry);
  if (!written.error.empty()) return run.fail(written.error);
  report_set(run, arguments, file, entry, written.replaced, written.answer);
  if (!written.not_found.empty())
    run.fail("a reader of " + file + " does not find what was written: " + written.not_found);
}

// The lines of a section whose key is this very one.
std::vector<Line> lines_of_key(const ProfileArguments &arguments, const ProfileText &text) {
  std::vector<Line> lines;
  const Line header = find_header(text, arguments.section(), HeaderRule::whole_line);
  if (header.number == 0) return lines;
  for (LineWalk walk = text.lines_after(header); walk.next();) {
    const std::string_view line = walk.line().text;
    if (line.empty() || is_header(line)) break;
    if (is_same(has_equals(line) ? bare_key_of(line) : line, arguments.key()))
      lines.push_back(walk.line());
  }
  return lines;
}

std::string bytes_without(const ProfileText &text, const std::vector<Line> &lines) {
  std::string bytes;
  auto left_out = lines.begin();
  std::size_t number = 0;
  for (LineWalk walk = text.raw_lines(); walk.next();) {
    ++number;
    if (left_out != lines.end() && left_out->number == number) {
      ++left_out;
    } else {
      bytes.append(walk.whole()) += '\n';
    }
  }
  return bytes.append(text.rest());
}

// What the readers still find for a key; empty when that is nothing.
std::string still_found(const ProfileArguments &arguments, const ProfileFile &file) {
  for (const HeaderRule rule : {HeaderRule::whole_line, HeaderRule::beginning}) {
    const Search search = search_for_key(arguments, file, rule);
    if (file.error.empty() && search.missing.empty())
      return "line " + std::to_string(search.line.number) + ", " + in_quotes(search.line.text) +
             ", is what readers find for this key";
  }
  return "";
}

std::string why_not_there(const ProfileArguments &arguments, const ProfileFile &file) {
  const std::string found = still_found(arguments, file);
  return !found.empty()
             ? "no line of section [" + arguments.section() + "] is to be taken out: " + found
             : search_for_key(arguments, file, HeaderRule::whole_line).missing;
}

void unset_key(Run &run, const ProfileArguments &arguments) {
  check_target(arguments);
  const std::string file = resolved_path(arguments.file());
  std::vector<std::string> removed;
  std::string found;
  {
    const ProfileLock lock(run, file);
    if (!lock.error().empty()) return run.fail(file + " was not rewritten: " + lock.error());
    const ProfileFile before(file);
    if (!before.error.empty()) return run.fail(before.error);
    const std::vector<Line> lines = lines_of_key(arguments, before.text);
    if (lines.empty()) return run.fail(why_not_there(arguments, before));
    for (const Line &line : lines)
      removed.emplace_back(line.text);
    const std::string error = replace_bytes(file, bytes_without(before.text, lines));
    if (!error.empty()) return run.fail(file + " was not rewritten: " + error);
    found = still_found(arguments, ProfileFile(file));
  }
  Report report = run.report();
  report.row("file", "file", file);
  report.list("removed", "removed", removed);
  run.finish(report);
  if (!found.empty()) run.fail(file + ": " + found);
}

void show_path(Run &run) {
  char path[ORLA_PROFILE_PATH_SIZE];
  char from_environment = 0;
  orla_cfg_file(path, &from_environment);
  const char *named = std::getenv("ORLA_CONFIG");
  const bool ignored = named != nullptr && from_environment == 0;
  Report report = run.report();
  report.row("path", "path", path,
             from_environment != 0 ? "named by ORLA_CONFIG"
             : ignored             ? "by default: the file that ORLA_CONFIG names does not open"
                                   : "by default: ORLA_CONFIG is not set");
  report.row("from_environment", "from environment", from_environment != 0);
  if (ignored && *named != '\0')
    report.row("variable", "ORLA_CONFIG", named,
               "the string reader and the writer use this file all the same");
  run.finish(report);
}

constexpr Word kFile = {"FILE", "A profile file"};
constexpr Word kFileOrInput = {"FILE", "A profile file; - for standard input"};
constexpr Word kSection = {"SECTION", "Without brackets"};
constexpr Word kKey = {"KEY", "Found in the first line that begins with it"};
constexpr Word kWholeKey = {"KEY", "All of what stands before the \"=\""};
constexpr Word kValue = {"VALUE", "Written as it is"};

using Action = void (*)(Run &run, ProfileArguments &arguments);

// A command over a file, a section and a key.
CLI::App *add_key_command(CLI::App &profile, Run &run, const Command &command,
                          const std::shared_ptr<ProfileArguments> &arguments,
                          std::initializer_list<Word> words, Action action) {
  CLI::App *added = add_command(profile, run, command, [&run, arguments, action] {
    settle_words(*arguments);
    action(run, *arguments);
  });
  add_words(*added, *arguments, words);
  return added;
}

void add_get(CLI::App &profile, Run &run) {
  const auto arguments = std::make_shared<ProfileArguments>();
  CLI::App *get = add_key_command(
      profile, run,
      {"get", "Print the value of a key",
       "Without --default it is a failure when the key is not found. Given the default path as\n"
       "FILE, the library reads the file that ORLA_CONFIG names, where it is set; --json shows\n"
       "which.",
       "  orla profile get app.ini Main Port\n"
       "  orla profile get app.ini Main Port --int --default 7\n"
       "  orla profile get --default-path Main Port\n"},
      arguments, {kFileOrInput, kSection, kKey}, get_value);
  get->add_flag("--int", arguments->as_int,
                "As the integer reader answers, which does not look at ORLA_CONFIG");
  arguments->fallback_option =
      get->add_option("--default", arguments->fallback, "Print this when there is no value")
          ->type_name("VALUE");
}

void add_set(CLI::App &profile, Run &run) {
  add_key_command(
      profile, run,
      {"set", "Write one key",
       "The file is locked and rewritten in place: carriage returns, and a last line without a\n"
       "line feed, are dropped. The key is then read back; exit status 1 also where a reader\n"
       "does not find what was written. Given the default path as FILE, the library rewrites\n"
       "the file that ORLA_CONFIG names, where it is set; the output shows which. A VALUE that\n"
       "begins with \"-\" goes after \"--\", where it is not a number.",
       "  orla profile set app.ini Main Port 5555\n"
       "  orla profile set -- app.ini Main Options -v\n"},
      std::make_shared<ProfileArguments>(), {kFile, kSection, kKey, kValue},
      [](Run &each, ProfileArguments &arguments) { set_key(each, arguments); });
}

void add_unset(CLI::App &profile, Run &run) {
  add_key_command(
      profile, run,
      {"unset", "Take one key out",
       "Takes out the lines of the section whose key is KEY, and leaves all other bytes of the\n"
       "file as they are. A line that only begins with KEY stays, as it is another key's; exit\n"
       "status 1 where readers find such a line for KEY, or where there is no line to take out.",
       "  orla profile unset app.ini Main Port\n"},
      std::make_shared<ProfileArguments>(), {kFile, kSection, kWholeKey},
      [](Run &each, ProfileArguments &arguments) { unset_key(each, arguments); });
}

void add_path(CLI::App &profile, Run &run) {
  add_command(profile, run,
              {"path", "Show the path of the default profile", "",
               "  orla profile path\n  ORLA_CONFIG=app.ini orla profile path\n"},
              [&run] { show_path(run); });
}

}  // namespace

void add_profile_command(CLI::App &program, Run &run) {
  CLI::App *profile =
      add_group(program, run,
                {"profile", "Read, write and check profile files", "",
                 "  orla profile get app.ini Main Port\n  orla profile lint app.ini\n"});
  add_get(*profile, run);
  add_set(*profile, run);
  add_unset(*profile, run);
  add_profile_list_commands(*profile, run);
  add_path(*profile, run);
  add_profile_lint_command(*profile, run);
}

}  // namespace orla_tool
