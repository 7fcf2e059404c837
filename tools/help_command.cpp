// orla help: the help of any subcommand, by its name.

#include "help_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <numeric>

#include "command.h"
#include "inputs.h"
#include "standard_output.h"

namespace orla_tool {
namespace {

// How many characters are to be put in, taken out, changed or swapped with their neighbour to turn
// one word into the other.
std::size_t distance(const std::string &a, const std::string &b) {
  std::vector<std::vector<std::size_t>> steps(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  std::iota(steps[0].begin(), steps[0].end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    steps[i][0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t change = a[i - 1] == b[j - 1] ? 0 : 1;
      steps[i][j] =
          std::min({steps[i - 1][j] + 1, steps[i][j - 1] + 1, steps[i - 1][j - 1] + change});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        steps[i][j] = std::min(steps[i][j], steps[i - 2][j - 2] + 1);
    }
  }
  return steps[a.size()][b.size()];
}

constexpr std::size_t kLongestName = 40;  // and more than any has

std::string did_you_mean(const std::string &meant) { return "; did you mean " + meant + "?"; }

// "; did you mean ...?" for the one of `words` that is most like a word, in capitals or not;
// nothing when none is.
std::string suggestion(const std::string &given, const std::vector<std::string> &words) {
  if (given.size() < 2 || given.size() > kLongestName) return "";
  const std::string word = CLI::detail::to_lower(given);
  std::size_t least = std::max<std::size_t>(word.size() / 3, 1) + 1;
  const std::string *best = nullptr;
  for (const std::string &each : words) {
    const std::size_t steps = each.starts_with(word) ? 1 : distance(word, each);
    if (steps >= least) continue;
    least = steps;
    best = &each;
  }
  return best == nullptr ? "" : did_you_mean(in_quotes(*best));
}

// All subcommands, those of groups among them.
std::vector<const CLI::App *> all_subcommands(const CLI::App &program) {
  std::vector<const CLI::App *> all;
  for (const CLI::App *each : program.get_subcommands({})) {
    all.push_back(each);
    const auto below = each->get_subcommands({});
    all.insert(all.end(), below.begin(), below.end());
  }
  return all;
}

// The right word, but in capitals, at another command's place, or without its dashes.
std::string elsewhere(const CLI::App &command, const std::string &given) {
  if (given.size() > kLongestName) return "";
  const std::string word = CLI::detail::to_lower(given);
  const CLI::App *program = &command;
  while (program->get_parent() != nullptr)
    program = program->get_parent();
  std::string meant;
  for (const CLI::App *each : all_subcommands(*program))
    if (each->get_name() == word)
      meant += (meant.empty() ? "" : " or ") + in_quotes(path_of(*each));
  if (meant.empty() && find_option(command, "--" + word) != nullptr)
    meant = in_quotes(path_of(command) + " --" + word);
  return meant.empty() ? "" : did_you_mean(meant);
}

std::vector<std::string> subcommand_names(const CLI::App &command) {
  std::vector<std::string> names;
  for (const CLI::App *each : command.get_subcommands({}))
    names.push_back(each->get_name());
  return names;
}

std::vector<std::string> option_names(const CLI::App &command) {
  std::vector<std::string> names;
  for (const CLI::Option *option : command.get_options())
    for (const std::string &name : option->get_lnames())
      names.push_back("--" + name);
  return names;
}

void show_help(const CLI::App &program, Run &run, const std::vector<std::string> &words) {
  const CLI::App *command = &program;
  std::string before;
  for (const std::string &word : words) {
    before += (before.empty() ? "" : " ") + command->get_name();
    const CLI::App *next = find_subcommand(*command, word);
    if (next == nullptr) {
      run.complain(no_subcommand(*command, word), "Try \"" + before + " --help\".");
      run.status = kWrongUse;
      return;
    }
    command = next;
  }
  // Not CLI::App::help(), which would go on to the subcommand that was chosen: help itself.
  const std::string name = (before.empty() ? "" : before + " ") + command->get_name();
  print(command->get_formatter()->make_help(command, name, CLI::AppFormatMode::Normal));
}

}  // namespace

const CLI::App *find_subcommand(const CLI::App &command, const std::string &name) {
  for (const CLI::App *each : command.get_subcommands({}))
    if (each->get_name() == name) return each;
  return nullptr;
}

const CLI::Option *find_option(const CLI::App &command, const std::string &name) {
  for (const CLI::Option *option : command.get_options())
    if (option->nonpositional() && option->check_name(name)) return option;
  return nullptr;
}

std::string no_subcommand(const CLI::App &command, const std::string &name) {
  const std::string meant = elsewhere(command, name);
  return "there is no subcommand " + in_quotes(name) +
         (!meant.empty() ? meant : suggestion(name, subcommand_names(command)));
}

std::string no_option(const CLI::App &command, const std::string &name) {
  const std::string bare = name.substr(0, name.find('='));
  if (find_option(command, bare) != nullptr)
    return "write " + bare + " after " + in_quotes(command.get_name());
  return "there is no option " + in_quotes(name) +
         (name.starts_with("--") ? suggestion(name, option_names(command)) : "");
}

std::string help_goes_first(const CLI::App &command, const std::string &word) {
  std::string path = path_of(command);
  return in_quotes(word) + " was not expected" +
         did_you_mean(in_quotes(path.insert(path.find(' '), " help")));
}

void add_help_command(CLI::App &program, Run &run) {
  const auto words = std::make_shared<std::vector<std::string>>();
  CLI::App *help = add_command(program, run,
                               {"help", "Show the help of a subcommand", "",
                                "  orla help\n  orla help date\n  orla help date parse\n"},
                               [&program, &run, words] { show_help(program, run, *words); });
  add_texts(*help, "SUBCOMMAND", *words, "Its name, and the name of one below it")->required(false);
}

}  // namespace orla_tool
