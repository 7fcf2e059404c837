// What the subcommands share. Each adds itself to the program and, when it is chosen, hands its report
// to finish().

#ifndef ORLA_TOOLS_COMMAND_H
#define ORLA_TOOLS_COMMAND_H

#include <string>

#include "report.h"

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
  int status = kDone;

  // Prints what was found; services that failed are in it as missing rows.
  void finish(const Report &report) const;

  // Says on standard error what is wrong and what to do, and makes the run end with kServiceFailed.
  void fail(const std::string &message);
};

// A subcommand of `parent` with the flag --json.
CLI::App *add_command(CLI::App &parent, Run &run, const std::string &name,
                      const std::string &description);

void add_date_command(CLI::App &program, Run &run);
void add_host_command(CLI::App &program, Run &run);
void add_load_command(CLI::App &program, Run &run);
void add_names_command(CLI::App &program, Run &run);
void add_now_command(CLI::App &program, Run &run);
void add_profile_command(CLI::App &program, Run &run);
void add_tokens_command(CLI::App &program, Run &run);
void add_trace_command(CLI::App &program, Run &run);
void add_uuid_command(CLI::App &program, Run &run);

}  // namespace orla_tool

#endif
