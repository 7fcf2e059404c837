// What the subcommands share. Each adds itself to the program and, when it is chosen, hands its
// report to finish().

#ifndef ORLA_TOOLS_COMMAND_H
#define ORLA_TOOLS_COMMAND_H

#include <functional>
#include <string>

#include "report.h"
#include "terminal.h"

namespace CLI {
class App;
}

namespace orla_tool {

// Exit statuses of the tool.
inline constexpr int kDone = 0;
inline constexpr int kServiceFailed = 1;
inline constexpr int kWrongUse = 2;

// One run of the tool.
struct Run {
  bool json = false;
  std::string field;  // of --field; empty without
  std::string color = "auto";
  int status = kDone;
  Progress progress;

  // Whether the result is for programs: an object, or one value of it.
  bool wants_values() const { return json || !field.empty(); }

  // An empty report that keeps what this run prints.
  Report report() const;

  // Prints what was found; services that failed are in it as missing rows.
  void finish(const Report &report);

  // The same where there are several inputs: the object in one line.
  void finish_line(const Report &report, const std::string &place);

  // Says on standard error what is wrong and what to do, and makes the run end with kServiceFailed.
  void fail(const std::string &message);

  // The same, without an effect on the end of the run. `advice` goes on a line of its own.
  void complain(const std::string &message, const std::string &advice = "");

 private:
  void print_field(const Report &report, const std::string &place);
};

// A subcommand as its help shows it.
struct Command {
  const char *name;
  const char *description;
  const char *notes;     // below its options; may be empty
  const char *examples;  // commands, one a line
};

// Adds what every command has: --json, --field, --color, and the end of its help.
void add_common_options(CLI::App &app, Run &run, const Command &command);

// A subcommand of `parent` that does something. Nothing is done where its report cannot have the
// value that --field names.
CLI::App *add_command(CLI::App &parent, Run &run, const Command &command,
                      std::function<void()> action);

// One that groups others, of which one is to be chosen.
CLI::App *add_group(CLI::App &parent, Run &run, const Command &command);

// Such as "orla profile get".
std::string path_of(const CLI::App &command);

void add_date_command(CLI::App &program, Run &run);
void add_help_command(CLI::App &program, Run &run);
void add_host_command(CLI::App &program, Run &run);
void add_load_command(CLI::App &program, Run &run);
void add_names_command(CLI::App &program, Run &run);
void add_now_command(CLI::App &program, Run &run);
void add_profile_command(CLI::App &program, Run &run);
void add_profile_list_commands(CLI::App &profile, Run &run);
void add_profile_lint_command(CLI::App &profile, Run &run);
void add_tokens_command(CLI::App &program, Run &run);
void add_trace_command(CLI::App &program, Run &run);
void add_uuid_command(CLI::App &program, Run &run);

}  // namespace orla_tool

#endif
