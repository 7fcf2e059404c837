// What the subcommands share. Each adds itself to the program and, when it is chosen, hands its report
// to finish().

#ifndef ORLA_TOOLS_COMMAND_H
#define ORLA_TOOLS_COMMAND_H

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
  std::string color = "auto";
  int status = kDone;
  Progress progress;

  // Prints what was found; services that failed are in it as missing rows.
  void finish(const Report &report) const;

  // Says on standard error what is wrong and what to do, and makes the run end with kServiceFailed.
  void fail(const std::string &message);

  // The same, without an end of the run.
  void complain(const std::string &message);
};

// What a subcommand's help shows below its options.
struct Help {
  const char *notes;     // may be empty
  const char *examples;  // commands, one a line
};

// What every help ends with, and the option --color.
void equip(CLI::App &app, Run &run, const Help &help);

// A subcommand of `parent` that does something, with the flag --json.
CLI::App *add_command(CLI::App &parent, Run &run, const std::string &name,
                      const std::string &description, const Help &help);

// One that groups others, of which one is to be chosen.
CLI::App *add_group(CLI::App &parent, Run &run, const std::string &name,
                    const std::string &description, const Help &help);

void add_date_command(CLI::App &program, Run &run);
void add_host_command(CLI::App &program, Run &run);
void add_load_command(CLI::App &program, Run &run);
void add_names_command(CLI::App &program, Run &run);
void add_now_command(CLI::App &program, Run &run);
void add_profile_command(CLI::App &program, Run &run);
void add_profile_lint_command(CLI::App &profile, Run &run);
void add_tokens_command(CLI::App &program, Run &run);
void add_trace_command(CLI::App &program, Run &run);
void add_uuid_command(CLI::App &program, Run &run);

}  // namespace orla_tool

#endif
