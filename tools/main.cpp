// orla: shows what the library sees and computes, for the people who run a product that loads it.

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <sstream>

#include "command.h"
#include "completion.h"
#include "help_command.h"
#include "standard_output.h"

namespace {

using orla_tool::Run;

constexpr orla_tool::Command kProgram = {
    "orla", "Shows what the orla library sees of this host and what it computes.",
    "A command that takes TEXT takes several, and \"-\" for the lines of standard input; it then\n"
    "prints one line for each, with --json one line of JSON. \"orla help SUBCOMMAND\" says more.",
    "  orla host\n"
    "  orla now --field date\n"
    "  orla date parse 12/31/2007\n"
    "  orla uuid new -n 3 | orla uuid show -\n"
    "  orla profile get app.ini Main Port --default 7\n"};

// The subcommand that was being read.
const CLI::App &innermost(const CLI::App &program) {
  const CLI::App *app = &program;
  while (!app->get_subcommands().empty())
    app = app->get_subcommands().front();
  return *app;
}

std::string what_is_wrong(const CLI::App &program, const CLI::ParseError &error) {
  std::string text = error.what();
  if (dynamic_cast<const CLI::ArgumentMismatch *>(&error) != nullptr && text.ends_with(" missing"))
    return text.substr(0, text.find(':')) + " needs a value";
  // Something that is missing may have been misspelt.
  const std::vector<std::string> unexpected = program.remaining(true);
  if (unexpected.empty() || unexpected.front() == "--") return text;
  const std::string &word = unexpected.front();
  const CLI::App &app = innermost(program);
  if (word.starts_with('-')) return orla_tool::no_option(app, word);
  if (CLI::detail::to_lower(word) == "help" && &app != &program)
    return orla_tool::help_goes_first(app, word);
  if (app.get_require_subcommand_min() > 0) return orla_tool::no_subcommand(app, word);
  return orla_tool::in_quotes(word) + " was not expected";
}

int parse_failed(CLI::App &program, Run &run, const CLI::ParseError &error) {
  if (error.get_exit_code() == 0) {  // help or version, not a failure
    std::ostringstream text;
    program.exit(error, text, text);
    orla_tool::print(text.str());
    return orla_tool::kDone;
  }
  run.complain(what_is_wrong(program, error),
               "Try \"" + orla_tool::path_of(innermost(program)) + " --help\".");
  return orla_tool::kWrongUse;
}

int run_tool(CLI::App &program, Run &run, int argc, char **argv) {
  try {
    program.parse(argc, argv);
  } catch (const CLI::ParseError &error) {
    run.status = parse_failed(program, run, error);
  }
  run.progress.erase();
  orla_tool::flush_output();
  return run.status;
}

// Whoever closed the pipe needs no more, and no message either.
int output_failed(int error) {
  if (error != EPIPE)
    std::fprintf(stderr, "orla: the result could not be written to standard output: %s\n",
                 error == 0 ? "an earlier write failed" : std::strerror(error));
  return orla_tool::kServiceFailed;
}

void add_commands(CLI::App &program, Run &run) {
  orla_tool::add_host_command(program, run);
  orla_tool::add_now_command(program, run);
  orla_tool::add_date_command(program, run);
  orla_tool::add_uuid_command(program, run);
  orla_tool::add_names_command(program, run);
  orla_tool::add_tokens_command(program, run);
  orla_tool::add_load_command(program, run);
  orla_tool::add_trace_command(program, run);
  orla_tool::add_profile_command(program, run);
  orla_tool::add_help_command(program, run);
}

}  // namespace

int main(int argc, char **argv) try {
  orla_tool::prepare_standard_output();
  Run run;
  CLI::App program(kProgram.description, kProgram.name);
  orla_tool::add_common_options(program, run, kProgram);
  program.set_version_flag("--version", "orla " ORLA_VERSION);
  program.require_subcommand(1);
  add_commands(program, run);
  if (argc > 1 && std::strcmp(argv[1], orla_tool::kCompleteOption) == 0) {
    orla_tool::print_completions(program, {argv + 2, argv + argc});
    orla_tool::flush_output();
    return orla_tool::kDone;
  }
  return run_tool(program, run, argc, argv);
} catch (const orla_tool::OutputFailed &failure) {
  return output_failed(failure.error);
} catch (const std::bad_alloc &) {
  std::fputs("orla: there is not enough memory for this\n", stderr);
  return orla_tool::kServiceFailed;
} catch (const std::exception &error) {
  std::fprintf(stderr, "orla: %s\n", error.what());
  return orla_tool::kServiceFailed;
}
