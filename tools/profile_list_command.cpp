// orla profile list and diff: the sections, keys and values of profile files, as readers see them.

#include <orla/profile.h>

#include <CLI/CLI.hpp>
#include <map>
#include <memory>

#include "command.h"
#include "profile_file.h"
#include "standard_output.h"
#include "whole_file.h"

namespace orla_tool {
namespace {

struct ListArguments {
  std::vector<std::string> words;  // FILE and SECTION
  bool default_path = false;
};

Json object_of(const ProfileSection &section) {
  Json entries = Json::array();
  for (const ProfileEntry &entry : section.entries)
    entries.push_back({{"key", entry.key}, {"value", entry.value}, {"line", entry.line}});
  return {{"name", section.name}, {"line", section.line}, {"entries", entries}};
}

// As a profile file of its own: an empty line ends each section.
std::string text_of(const ProfileSection &section) {
  std::string text = visible('[' + section.name + ']') + '\n';
  for (const ProfileEntry &entry : section.entries)
    text += visible(entry.key + '=' + entry.value) + '\n';
  return text + '\n';
}

void show_sections(Run &run, const ProfileFile &file, const std::vector<ProfileSection> &sections) {
  if (!run.wants_values()) {
    for (const ProfileSection &section : sections)
      print(text_of(section));
    return;
  }
  Json list = Json::array();
  for (const ProfileSection &section : sections)
    list.push_back(object_of(section));
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
  std::vector<ProfileSection> sections = sections_of(file.text);
  if (words.size() == 2) {
    const ProfileSection *section = find_section(sections, words[1]);
    if (section == nullptr) return run.fail(file.name + " has no section [" + words[1] + "]");
    sections = {ProfileSection(*section)};
  }
  show_sections(run, file, sections);
}

// One key that two files hold different values for; null where a file lacks it.
struct Difference {
  std::string section;
  std::string key;
  const ProfileEntry *old_entry;
  const ProfileEntry *new_entry;
};

using Sections = std::vector<ProfileSection>;

// The entries of a section by their keys, in small letters.
using Entries = std::map<std::string, const ProfileEntry *>;
// The same by sections.
using Index = std::map<std::string, Entries>;

Index index_of(const Sections &sections) {
  Index index;
  for (const ProfileSection &section : sections) {
    Entries &entries = index[in_small_letters(section.name)];
    for (const ProfileEntry &entry : section.entries)
      entries.emplace(in_small_letters(entry.key), &entry);
  }
  return index;
}

const ProfileEntry *find_entry(const Index &index, const std::string &section,
                               const std::string &key) {
  const auto entries = index.find(in_small_letters(section));
  if (entries == index.end()) return nullptr;
  const auto entry = entries->second.find(in_small_letters(key));
  return entry == entries->second.end() ? nullptr : entry->second;
}

class Comparison {
 public:
  Comparison(const Sections &old_sections, const Sections &new_sections)
      : old_(index_of(old_sections)), new_(index_of(new_sections)) {
    for (const ProfileSection &section : old_sections)
      compare(section, find_section(new_sections, section.name));
    for (const ProfileSection &section : new_sections)
      if (!old_.contains(in_small_letters(section.name))) add_new_keys(section, section.name);
  }

  const std::vector<Difference> &differences() const { return found_; }

 private:
  // First what was there, then what is new.
  void compare(const ProfileSection &section, const ProfileSection *other) {
    for (const ProfileEntry &entry : section.entries) {
      const ProfileEntry *now = find_entry(new_, section.name, entry.key);
      if (now == nullptr || now->value != entry.value)
        found_.push_back({section.name, entry.key, &entry, now});
    }
    if (other != nullptr) add_new_keys(*other, section.name);
  }

  void add_new_keys(const ProfileSection &section, const std::string &name) {
    for (const ProfileEntry &entry : section.entries)
      if (find_entry(old_, name, entry.key) == nullptr)
        found_.push_back({name, entry.key, nullptr, &entry});
  }

  Index old_;
  Index new_;
  std::vector<Difference> found_;
};

Json object_of(const Difference &difference) {
  Json object = {{"section", difference.section}, {"key", difference.key}};
  if (difference.old_entry != nullptr) object["old"] = difference.old_entry->value;
  if (difference.new_entry != nullptr) object["new"] = difference.new_entry->value;
  return object;
}

void print_entry(char sign, const ProfileEntry *entry) {
  if (entry != nullptr) print(sign + visible(entry->key + '=' + entry->value) + '\n');
}

void print_differences(const std::vector<Difference> &differences) {
  const std::string *section = nullptr;
  for (const Difference &difference : differences) {
    if (section == nullptr || *section != difference.section)
      print(visible('[' + difference.section + ']') + '\n');
    section = &difference.section;
    print_entry('-', difference.old_entry);
    print_entry('+', difference.new_entry);
  }
}

void show_differences(Run &run, const std::vector<std::string> &words) {
  if (words[0] == kStandardInput && words[1] == kStandardInput)
    throw CLI::ValidationError("NEW", "standard input can be one of the two only");
  const ProfileFile old_file(resolved_path(words[0]));
  const ProfileFile new_file(resolved_path(words[1]));
  for (const ProfileFile *file : {&old_file, &new_file})
    if (!file->error.empty()) return run.fail(file->error);
  const Sections old_sections = sections_of(old_file.text);
  const Sections new_sections = sections_of(new_file.text);
  const Comparison comparison(old_sections, new_sections);
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
       "Lists only what the string reader finds: the first entry of a key, nothing after an\n"
       "empty line, and of a value only what follows its last \"=\". Lines that look like\n"
       "comments are left out.",
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
                   "Shows what readers find: after \"-\" what OLD holds, after \"+\" what NEW\n"
                   "holds instead. The order of sections and keys makes no difference.\n"
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
