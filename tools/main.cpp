// orla: shows what the library sees and reckons, for the people who run a product that loads it.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <iostream>

#include "command.h"

namespace orla_tool {

void Run::finish(const Report &report) const { report.print(std::cout, json); }

void Run::fail(const std::string &message) {
  std::cerr << "orla: " << message << '\n';
  status = kServiceFailed;
}

CLI::App *add_command(CLI::App &parent, Run &run, const std::string &name,
                      const std::string &description) {
  CLI::App *command = parent.add_subcommand(name, description);
  command->add_flag("--json", run.json, "Print JSON, for programs");
  return command;
}

}  // namespace orla_tool

namespace {

using orla_tool::Run;

int run_tool(CLI::App &program, const Run &run, int argc, char **argv) {
  try {
    program.parse(argc, argv);
  } catch (const CLI::ParseError &error) {
    return program.exit(error) == 0 ? orla_tool::kDone : orla_tool::kWrongUse;
  }
  std::cout.flush();
  if (!std::cout) {
    std::cerr << "orla: the result could not be written to standard output; is the disk full?\n";
    return orla_tool::kServiceFailed;
  }
  return run.status;
}

}  // namespace

int main(int argc, char **argv) try {
  Run run;
  CLI::App program("Shows what the orla library sees of this host and how it reckons.", "orla");
  program.set_version_flag("--version", "orla " ORLA_VERSION);
  program.require_subcommand(1);
  program.footer("Exit status: 0 done, 1 a service failed, 2 wrong use.");
  orla_tool::add_host_command(program, run);
  orla_tool::add_now_command(program, run);
  orla_tool::add_date_command(program, run);
  orla_tool::add_uuid_command(program, run);
  orla_tool::add_names_command(program, run);
  orla_tool::add_tokens_command(program, run);
  orla_tool::add_load_command(program, run);
  orla_tool::add_trace_command(program, run);
  orla_tool::add_profile_command(program, run);
  return run_tool(program, run, argc, argv);
} catch (const std::exception &error) {
  std::fprintf(stderr, "orla: %s\n", error.what());
  return orla_tool::kServiceFailed;
}
