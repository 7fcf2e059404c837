// orla profile list and diff: the sections, keys and values of profile files, as readers see them.

#include <orla/profile.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <optional>
#include <set>

#include "command.h"
#include "profile_file.h"
#include "profile_sections.h"
#include "standard_output.h"
#include "whole_file.h"

namespace orla_tool {
namespace {

struct ListArguments {
  std::vector<std::string> words;  // FILE and SECTION
  bool default_path = false;
};

// A section as it is asked for, and what is found in it.
struct Section {
  std::string_view name;
  Line header;
  std::vector<Line> entries;
};

Json object_of(const Section &section) {
  Json entries = Json::array();
  for (const Line &entry : section.entries)
    entries.push_back(
        {{"key", key_of(entry.text)}, {"value", value_of(entry.text)}, {"line", entry.number}});
  return {{"name", section.name}, {"line", section.header.number}, {"entries", entries}};
}

void print_entry(const char *sign, std::string_view key, std::string_view value) {
  std::string text = sign;
  append_visible(text, key);
  text += '=';
  append_visible(text, value);
  print(text + '\n');
}

// As a profile file of its own: an empty line ends each section.
void print_section(const Section &section) {
  print(visible('[' + std::string(section.name) + ']') + '\n');
  for (const Line &entry : section.entries)
    print_entry("", key_of(entry.text), value_of(entry.text));
  print("\n");
}

// Prints each section as soon as its entries are known, as all of them may be more than the file.
void show_sections(Run &run, const ProfileFile &file, ProfileSections &sections,
                   const std::vector<std::string_view> &names) {
  Json list = Json::array();
  for (const std::string_view name : names) {
    const Line header = sections.header(name);
    const Section section = {name, header, sections.entries_below(header)};
    if (run.wants_values()) {
      list.push_back(object_of(section));
    } else {
      print_section(section);
    }
  }
  if (!run.wants_values()) return;
  Report report = run.report();
  report.row("file", "file", file.name);
  report.row("sections", "sections", list);
  run.finish(report);
}

void list_file(Run &run, ListArguments &arguments) {
  std::vector<std::string> &words = arguments.words;
  if (arguments.default_path) words.insert(words.begin(), ORLA_DEFAULT_PROFILE_PATH);
  if (words.empty()) throw CLI::RequiredError("FILE");
  if (words.size() > 2) throw CLI::ExtrasError({words.back()});
  const ProfileFile file(resolved_path(words[0]));
  if (!file.error.empty()) return run.fail(file.error);
  const Keys keys = keys_of({&file.text});
  ProfileSections sections(file.text, keys);
  if (words.size() == 1) return show_sections(run, file, sections, sections.names());
  if (sections.header(words[1]).number == 0)
    return run.fail(file.name + " has no section [" + words[1] + "]");
  show_sections(run, file, sections, {words[1]});
}

// One key that two files give different values for; none where nothing is found.
struct Difference {
  std::string_view section;
  std::string_view key;
  std::optional<std::string_view> old_value;
  std::optional<std::string_view> new_value;
};

std::optional<std::string_view> value_in(const Line &line) {
  if (!has_equals(line.text)) return {};
  return value_of(line.text);
}

// Asks two files for every section and key that stand in either.
class Comparison {
 public:
  Comparison(const ProfileText &old_text, const ProfileText &new_text)
      : keys_(keys_of({&old_text, &new_text})), old_(old_text, keys_), new_(new_text, keys_) {
    std::set<std::string_view, InAnyCase> asked;
    for (const ProfileSections *sections : {&old_, &new_})
      for (const std::string_view name : sections->names())
        if (asked.insert(name).second) compare(name);
  }

  const std::vector<Difference> &differences() const { return found_; }

 private:
  // A key, and what is found for it.
  struct Answer {
    std::uint32_t key;
    Line old_line;
    Line new_line;
  };

  // First what is found in the old file, in its order, then what only the new one has.
  static bool comes_before(const Answer &one, const Answer &other) {
    const bool only_new = one.old_line.number == 0;
    if (only_new != (other.old_line.number == 0)) return !only_new;
    return only_new ? one.new_line.number < other.new_line.number
                    : one.old_line.number < other.old_line.number;
  }

  void compare(std::string_view name) {
    const Line old_header = old_.header(name);
    const Line new_header = new_.header(name);
    std::vector<Answer> answers;
    for (const std::uint32_t key : keys_below(old_header, new_header))
      answers.push_back({key, old_.find(old_header, key), new_.find(new_header, key)});
    std::erase_if(answers, [](const Answer &each) {
      return value_in(each.old_line) == value_in(each.new_line);
    });
    std::stable_sort(answers.begin(), answers.end(), comes_before);
    for (const Answer &each : answers)
      found_.push_back({name, keys_[each.key], value_in(each.old_line), value_in(each.new_line)});
  }

  std::vector<std::uint32_t> keys_below(const Line &old_header, const Line &new_header) {
    const std::vector<std::uint32_t> old_keys = old_.keys_below(old_header);
    const std::vector<std::uint32_t> new_keys = new_.keys_below(new_header);
    std::vector<std::uint32_t> keys;
    std::set_union(old_keys.begin(), old_keys.end(), new_keys.begin(), new_keys.end(),
                   std::back_inserter(keys));
    return keys;
  }

  Keys keys_;
  ProfileSections old_;
  ProfileSections new_;
  std::vector<Difference> found_;
};

Json object_of(const Difference &difference) {
  Json object = {{"section", difference.section}, {"key", difference.key}};
  if (difference.old_value) object["old"] = *difference.old_value;
  if (difference.new_value) object["new"] = *difference.new_value;
  return object;
}

void print_differences(const std::vector<Difference> &differences) {
  const char *section = nullptr;
  for (const Difference &difference : differences) {
    if (section != difference.section.data())
      print(visible('[' + std::string(difference.section) + ']') + '\n');
    section = difference.section.data();
    if (difference.old_value) print_entry("-", difference.key, *difference.old_value);
    if (difference.new_value) print_entry("+", difference.key, *difference.new_value);
  }
}

void show_differences(Run &run, const std::vector<std::string> &words) {
  if (words[0] == kStandardInput && words[1] == kStandardInput)
    throw CLI::ValidationError("NEW", "standard input can be one of the two only");
  const ProfileFile old_file(resolved_path(words[0]));
  const ProfileFile new_file(resolved_path(words[1]));
  for (const ProfileFile *file : {&old_file, &new_file})
    if (!file->error.empty()) return run.fail(file->error);
  const Comparison comparison(old_file.text, new_file.text);
  if (!comparison.differences().empty()) run.status = kServiceFailed;
  if (!run.wants_values()) return print_differences(comparison.differences());
  Json list = Json::array();
  for (const Difference &difference : comparison.differences())
    list.push_back(object_of(difference));
  Report report = run.report();
  report.row("old", "old", old_file.name);
  report.row("new", "new", new_file.name);
  report.row("differences", "differences", list);
  run.finish(report);
}

class ListFormatter : public CLI::Formatter {
 public:
  std::string make_option_usage(const CLI::Option *option) const override {
    return make_option_name(option, true) == "FILE" ? "{FILE | --default-path}" : "[SECTION]";
  }
};

void add_list(CLI::App &profile, Run &run) {
  const auto arguments = std::make_shared<ListArguments>();
  CLI::App *list = add_command(
      profile, run,
      {"list", "List sections, keys and values",
       "Lists the section of each line that begins with \"[\", with the lines that the string\n"
       "reader finds in it by their keys. Where no empty line ends a section, keys of the\n"
       "sections below are found in it, and listed, too. A key is all that stands before the\n"
       "first \"=\", and a value what follows the last. With SECTION the reader is asked for\n"
       "that name, whether it stands in the file or not.",
       "  orla profile list app.ini\n"
       "  orla profile list app.ini Main\n"
       "  orla profile list app.ini --field 'sections[].name'\n"},
      [&run, arguments] { list_file(run, *arguments); });
  const auto add = [arguments](const std::string &word) { arguments->words.push_back(word); };
  list->add_option_function<std::string>("FILE", add, "A profile file; - for standard input")
      ->type_name("");
  list->add_option_function<std::string>("SECTION", add, "This section alone")->type_name("");
  add_default_path_flag(*list, arguments->default_path);
  list->formatter(std::make_shared<ListFormatter>());
}

void add_diff(CLI::App &profile, Run &run) {
  const auto words = std::make_shared<std::vector<std::string>>();
  CLI::App *diff =
      add_command(profile, run,
                  {"diff", "Compare two profile files by section and key",
                   "Asks the string reader for every section and key that stand in either: after\n"
                   "\"-\" comes what it finds in OLD, after \"+\" what it finds in NEW instead.\n"
                   "Exit status 1: the two differ.",
                   "  orla profile diff app.ini.old app.ini\n"
                   "  git show HEAD:app.ini | orla profile diff - app.ini\n"},
                  [&run, words] { show_differences(run, *words); });
  const auto add = [words](const std::string &word) { words->push_back(word); };
  for (const char *name : {"OLD", "NEW"})
    diff->add_option_function<std::string>(name, add, "A profile file; - for standard input")
        ->type_name("")
        ->required();
}

}  // namespace

void add_profile_list_commands(CLI::App &profile, Run &run) {
  add_list(profile, run);
  add_diff(profile, run);
}

}  // namespace orla_tool
