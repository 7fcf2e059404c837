#include "completion.h"

#include <orla/profile.h>

#include <CLI/CLI.hpp>

#include "fields.h"
#include "help_command.h"
#include "profile_file.h"
#include "profile_lint.h"
#include "profile_sections.h"
#include "standard_output.h"
#include "terminal.h"
#include "whole_file.h"

namespace orla_tool {
namespace {

void print_candidate(const std::string &word, const std::string &description = "") {
  print(description.empty() ? word + '\n' : word + '\t' + description + '\n');
}

// Where the words before the cursor lead.
struct Place {
  const CLI::App *command;
  std::vector<std::string> values;        // the words that are neither subcommands nor options
  const CLI::Option *awaiting = nullptr;  // an option whose value comes next
  bool only_values = false;               // after "--"
  bool default_path = false;
};

bool takes_value(const CLI::Option &option) { return option.get_items_expected_max() > 0; }

bool looks_like_option(const std::string &word) { return word.size() > 1 && word[0] == '-'; }

void advance(Place &place, const std::string &word) {
  if (place.awaiting != nullptr) {
    place.awaiting = nullptr;
  } else if (place.only_values || !looks_like_option(word)) {
    const CLI::App *subcommand = find_subcommand(*place.command, word);
    if (subcommand != nullptr)
      place.command = subcommand;
    else
      place.values.push_back(word);
  } else if (word == "--") {
    place.only_values = true;
  } else {
    const CLI::Option *option = find_option(*place.command, word);
    if (option != nullptr && takes_value(*option)) place.awaiting = option;
    place.default_path |= word == "--default-path";
  }
}

void print_subcommands(const CLI::App &command) {
  for (const CLI::App *subcommand : command.get_subcommands({}))
    print_candidate(subcommand->get_name(), subcommand->get_description());
}

void print_options(const CLI::App &command) {
  for (const CLI::Option *option : command.get_options()) {
    for (const std::string &name : option->get_lnames())
      print_candidate("--" + name, option->get_description());
    for (const std::string &name : option->get_snames())
      print_candidate("-" + name, option->get_description());
  }
}

void print_words(const std::vector<std::string> &words) {
  for (const std::string &word : words)
    print_candidate(word);
}

// The name in the help of the value that comes next.
std::string wanted_value(const Place &place) {
  std::size_t at = place.values.size() + (place.default_path ? 1 : 0);
  for (const CLI::Option *option : place.command->get_options()) {
    if (!option->get_positional()) continue;
    const auto most = static_cast<std::size_t>(option->get_items_expected_max());
    if (at < most) return option->get_name(true);
    at -= most;
  }
  return "";
}

// A word of a profile file, where somebody can type it.
void print_typable(std::string_view word) {
  if (!word.empty() && visible(word) == word) print_candidate(std::string(word));
}

// The file that the words before have named. Standard input is not read: nobody has typed it yet.
std::string named_file(const Place &place) {
  const std::string file = place.default_path ? ORLA_DEFAULT_PROFILE_PATH : place.values.at(0);
  return file == kStandardInput ? "" : resolved_path(file);
}

void print_sections(const Place &place) {
  const ProfileFile file(named_file(place));
  const Keys none;
  const ProfileSections sections(file.text, none);
  for (const std::string_view name : sections.names())
    print_typable(name);
}

// What looks like a comment is a key to the readers, but not to whoever completes one.
void print_keys(const Place &place) {
  const ProfileFile file(named_file(place));
  const Keys keys = keys_of({&file.text});
  ProfileSections sections(file.text, keys);
  for (const Line &entry : sections.entries_below(sections.header(place.values.back())))
    if (!looks_like_comment(entry.text)) print_typable(key_of(entry.text));
}

// Of `orla help`: the subcommands of what the words before have named.
void print_helped(const Place &place) {
  const CLI::App *command = place.command->get_parent();
  for (const std::string &word : place.values)
    if (command != nullptr) command = find_subcommand(*command, word);
  if (command != nullptr) print_subcommands(*command);
}

void print_values(const Place &place) {
  const std::string wanted = wanted_value(place);
  for (const char *file : {"FILE", "LIBRARY", "OLD", "NEW"})
    if (wanted == file) print_candidate(":files");
  if (wanted == "SECTION") print_sections(place);
  if (wanted == "KEY") print_keys(place);
  if (wanted == "SUBCOMMAND") print_helped(place);
}

void print_option_values(const CLI::App &command, const CLI::Option &option) {
  if (option.check_name("--field")) print_words(fields_of(command));
  if (option.check_name("--color")) print_words({"auto", "always", "never"});
  if (option.check_name("--ignore")) print_words(kinds_of_findings());
}

}  // namespace

void print_completions(const CLI::App &program, const std::vector<std::string> &words) {
  if (words.empty()) return;
  Place place = {&program, {}};
  for (std::size_t i = 0; i + 1 < words.size(); ++i)
    advance(place, words[i]);
  if (place.awaiting != nullptr) return print_option_values(*place.command, *place.awaiting);
  if (!place.only_values && words.back().starts_with('-')) return print_options(*place.command);
  print_subcommands(*place.command);
  print_values(place);
}

}  // namespace orla_tool
