// orla profile lint: what in profile files is not read as it looks, in many files and whole
// directories.

#include <orla/profile.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <memory>

#include "command.h"
#include "inputs.h"
#include "profile_file.h"
#include "profile_lint.h"
#include "standard_output.h"
#include "whole_file.h"

namespace orla_tool {
namespace {

namespace fs = std::filesystem;

struct LintArguments {
  std::vector<std::string> files;
  bool default_path = false;
  LintOptions options;
};

// What has been found so far.
struct Totals {
  std::size_t files = 0;
  std::size_t files_with_findings = 0;
  std::size_t findings = 0;
};

std::string counted(std::size_t number, const char *what) {
  return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

bool is_profile(const fs::path &path) {
  std::string extension = path.extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return extension == ".ini";
}

// Adds the *.ini files in a directory, and to `directories` those in it. Links to directories are
// not followed, so the search ends. False, with a message, when the directory cannot be searched.
bool search(Run &run, const fs::path &directory, std::vector<fs::path> &directories,
            std::vector<std::string> &found) {
  std::error_code error;
  fs::directory_iterator entry(directory, error);
  while (!error && entry != fs::directory_iterator()) {
    std::error_code unknown;  // what cannot be looked at is no directory
    if (fs::is_directory(entry->symlink_status(unknown))) {
      directories.push_back(entry->path());
    } else if (is_profile(entry->path()) && !entry->is_directory(unknown)) {
      found.push_back(entry->path().string());
    }
    entry.increment(error);
  }
  if (error) run.fail(directory.string() + " cannot be searched: " + error.message());
  return !error;
}

// Adds the *.ini files in a directory and in those below it, in the order of their names; a
// directory that cannot be searched does not stop the search of the others.
void add_profiles_in(Run &run, const std::string &directory, std::vector<std::string> &files) {
  std::vector<std::string> found;
  std::vector<fs::path> directories = {directory};
  bool searched = true;
  while (!directories.empty()) {
    const fs::path next = directories.back();
    directories.pop_back();
    searched = search(run, next, directories, found) && searched;
  }
  if (searched && found.empty()) run.fail(directory + " holds no file named *.ini");
  std::sort(found.begin(), found.end());
  files.insert(files.end(), found.begin(), found.end());
}

std::vector<std::string> files_to_check(Run &run, const std::vector<std::string> &arguments) {
  std::vector<std::string> files;
  for (const std::string &argument : arguments) {
    std::error_code error;
    if (fs::is_directory(argument, error)) {
      add_profiles_in(run, argument, files);
    } else {
      files.push_back(resolved_path(argument));
    }
  }
  return files;
}

void print_for_people(const Run &run, const std::string &name,
                      const std::vector<Finding> &findings) {
  const bool coloured = is_coloured(STDOUT_FILENO, run.color);
  for (const Finding &finding : findings) {
    const std::string place = visible(name) + ':' + std::to_string(finding.line) + ':';
    print((coloured ? bold(place) : place) + ' ' + visible(finding.text) + '\n');
  }
}

Report report_of(const Run &run, const std::string &name, const std::vector<Finding> &findings) {
  Json list = Json::array();
  for (const Finding &finding : findings)
    list.push_back({{"line", finding.line}, {"kind", finding.kind}, {"text", finding.text}});
  Report report = run.report();
  report.row("file", "file", name);
  report.row("findings", "findings", list);
  return report;
}

void lint_file(Run &run, const std::string &path, const LintArguments &arguments, bool is_alone,
               Totals &totals) {
  const ProfileFile file(path);
  if (!file.error.empty()) return run.fail(file.error);
  const std::vector<Finding> findings = lint_profile(file.text, arguments.options);
  ++totals.files;
  totals.findings += findings.size();
  if (!findings.empty()) {
    ++totals.files_with_findings;
    run.status = kServiceFailed;
    run.progress.erase();
  }
  if (!run.wants_values()) {
    print_for_people(run, file.name, findings);
    if (is_alone && findings.empty()) print(visible(file.name) + ": nothing found\n");
  } else if (is_alone) {
    run.finish(report_of(run, file.name, findings));
  } else {
    run.finish_line(report_of(run, file.name, findings), file.name + ": ");
  }
}

// Either is needed, and not both.
void check_files(const LintArguments &arguments) {
  if (arguments.default_path && !arguments.files.empty())
    throw CLI::ExcludesError("--default-path", "FILE");
  if (!arguments.default_path && arguments.files.empty()) throw CLI::RequiredError("FILE");
}

void lint(Run &run, LintArguments &arguments) {
  check_files(arguments);
  if (arguments.default_path) arguments.files.assign(1, ORLA_DEFAULT_PROFILE_PATH);
  std::error_code error;
  const bool is_alone = arguments.files.size() == 1 && !fs::is_directory(arguments.files[0], error);
  const std::vector<std::string> files = files_to_check(run, arguments.files);
  run.progress.begin("files", files.size());
  Totals totals;
  for (const std::string &file : files) {
    lint_file(run, file, arguments, is_alone, totals);
    run.progress.step();
  }
  run.progress.erase();
  if (!is_alone && !run.wants_values() && totals.files > 0)
    print(counted(totals.files, "file") + " checked, " + counted(totals.findings, "finding") +
          (totals.findings == 0 ? "" : " in " + counted(totals.files_with_findings, "file")) +
          '\n');
}

std::string check_kind(const std::string &kind) {
  const std::vector<std::string> &kinds = kinds_of_findings();
  return std::count(kinds.begin(), kinds.end(), kind) != 0
             ? ""
             : in_quotes(kind) + " is not a kind of finding; orla-profile(1) lists them";
}

// An option that may be given several times, one word each.
CLI::Option *add_repeatable(CLI::App &command, const char *name, std::vector<std::string> &words,
                            const char *help, const char *type) {
  return command.add_option(name, words, help)->type_name(type)->allow_extra_args(false);
}

class LintFormatter : public CLI::Formatter {
 public:
  std::string make_option_usage(const CLI::Option * /*option*/) const override {
    return "{FILE... | --default-path}";
  }
};

void add_lint_options(CLI::App &command, LintArguments &arguments) {
  add_texts(command, "FILE", arguments.files, "Profile files and directories; - for standard input")
      ->required(false);
  add_default_path_flag(command, arguments.default_path);
  add_repeatable(command, "--int", arguments.options.integer_keys,
                 "A key whose values should be numbers; may be repeated", "KEY");
  add_repeatable(command, "--ignore", arguments.options.ignored,
                 "A kind of finding, as --json names it, to leave out; may be repeated", "KIND")
      ->check(CLI::Validator(check_kind, ""));
  command.formatter(std::make_shared<LintFormatter>());
}

}  // namespace

void add_profile_lint_command(CLI::App &profile, Run &run) {
  const auto arguments = std::make_shared<LintArguments>();
  CLI::App *command = add_command(
      profile, run,
      {"lint", "Find lines that are not read as they look",
       "A directory stands for the files named *.ini in it and in the directories below.\n"
       "Several files, or a directory, end in a line of totals; with --json each file is one\n"
       "line of JSON. Given the default path as FILE, the file that ORLA_CONFIG names is\n"
       "checked, as it is the one that is read.\n"
       "Exit status 1: something was found, or a file cannot be read.",
       "  orla profile lint app.ini --int Port\n"
       "  orla profile lint --ignore remark --ignore carriage_return app.ini\n"
       "  orla profile lint /etc/app conf.d/extra.ini\n"
       "  git show HEAD:app.ini | orla profile lint -\n"},
      [&run, arguments] { lint(run, *arguments); });
  add_lint_options(*command, *arguments);
}

}  // namespace orla_tool
