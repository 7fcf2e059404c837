// orla: shows what the library sees and reckons, for the people who run a product that loads it.

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <sstream>

#include "command.h"
#include "completion.h"
#include "standard_output.h"

namespace orla_tool {

void Run::finish(const Report &report) const {
  print(json ? report.json() : report.text(is_coloured(STDOUT_FILENO, color)));
}

void Run::complain(const std::string &message) {
  progress.erase();
  flush_output();
  const bool coloured = is_coloured(STDERR_FILENO, color);
  std::fprintf(stderr, "%s %s\n",
               coloured ? alarming("orla:").c_str() : "orla:", visible(message).c_str());
}

void Run::fail(const std::string &message) {
  complain(message);
  status = kServiceFailed;
}

void equip(CLI::App &app, Run &run, const Help &help) {
  app.add_option("--color", run.color, "auto (the default), always or never")
      ->type_name("WHEN")
      ->check([](const std::string &when) {
        const bool known = when == "auto" || when == "always" || when == "never";
        return known ? "" : "\"" + when + "\" is none of auto, always and never";
      });
  const std::string notes = *help.notes == '\0' ? "" : help.notes + std::string("\n\n");
  app.footer(notes + "Examples:\n" + help.examples +
             "\nExit status: 0 done, 1 a service failed, 2 wrong use.");
}

CLI::App *add_group(CLI::App &parent, Run &run, const std::string &name,
                    const std::string &description, const Help &help) {
  CLI::App *group = parent.add_subcommand(name, description);
  equip(*group, run, help);
  group->require_subcommand(1);
  return group;
}

CLI::App *add_command(CLI::App &parent, Run &run, const std::string &name,
                      const std::string &description, const Help &help) {
  CLI::App *command = parent.add_subcommand(name, description);
  equip(*command, run, help);
  command->add_flag("--json", run.json, "Print JSON, for programs");
  return command;
}

}  // namespace orla_tool

namespace {

using orla_tool::Run;

constexpr orla_tool::Help kHelp = {
    "Where a TEXT is asked for, several may be given, and \"-\" for the lines of standard input;\n"
    "then each gets one line, with --json one line of JSON. \"orla SUBCOMMAND --help\" tells more.",
    "  orla host\n"
    "  orla date parse 12/31/2007\n"
    "  orla uuid new -n 3 | orla uuid show -\n"
    "  orla profile get app.ini Main Port --default 7\n"};

// The subcommand that was being read, such as "orla profile get".
std::string innermost(const CLI::App &program) {
  std::string name = program.get_name();
  for (const CLI::App *app = &program; !app->get_subcommands().empty();) {
    app = app->get_subcommands().front();
    name += " " + app->get_name();
  }
  return name;
}

bool has_subcommands(const CLI::App &program) {
  const CLI::App *app = &program;
  while (!app->get_subcommands().empty())
    app = app->get_subcommands().front();
  return app->get_require_subcommand_min() > 0;
}

// What was given and has no meaning here, if anything: first of all an option, as a word behind it may be
// its value.
std::string unexpected(const CLI::App &program) {
  std::string word;
  for (const std::string &each : program.remaining(true)) {
    if (each == "--") continue;
    if (each.starts_with('-')) return each;
    if (word.empty()) word = each;
  }
  return word;
}

std::string what_is_wrong(const CLI::App &program, const CLI::ParseError &error) {
  std::string told = error.what();
  if (dynamic_cast<const CLI::ArgumentMismatch *>(&error) != nullptr && told.ends_with(" missing"))
    return told.substr(0, told.find(':')) + " wants a value";
  // Something that is missing may have been misspelt.
  const std::string word = unexpected(program);
  if (word.empty()) return told;
  if (word.starts_with('-')) return "there is no option " + orla_tool::quoted(word);
  if (has_subcommands(program)) return "there is no subcommand " + orla_tool::quoted(word);
  return orla_tool::quoted(word) + " was not expected";
}

int parse_failed(CLI::App &program, Run &run, const CLI::ParseError &error) {
  if (error.get_exit_code() == 0) {  // help or version, not a failure
    std::ostringstream text;
    program.exit(error, text, text);
    orla_tool::print(text.str());
    return orla_tool::kDone;
  }
  run.complain(what_is_wrong(program, error) + "\nTry \"" + innermost(program) + " --help\".");
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

// Whoever closed the pipe wants no more, and no message either.
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
}

}  // namespace

int main(int argc, char **argv) try {
  orla_tool::prepare_standard_output();
  Run run;
  CLI::App program("Shows what the orla library sees of this host and how it reckons.", "orla");
  orla_tool::equip(program, run, kHelp);
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
} catch (const std::exception &error) {
  std::fprintf(stderr, "orla: %s\n", error.what());
  return orla_tool::kServiceFailed;
}
