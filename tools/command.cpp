#include "command.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>

#include "fields.h"
#include "standard_output.h"

namespace orla_tool {

Report Run::report() const {
  return Report(wants_values() ? Report::Kept::values : Report::Kept::rows);
}

void Run::finish(const Report &report) {
  if (!field.empty()) return print_field(report, "");
  print(json ? report.json() : report.text(is_coloured(STDOUT_FILENO, color)));
}

void Run::finish_line(const Report &report, const std::string &place) {
  if (!field.empty()) return print_field(report, place);
  print(json ? report.json_line() : report.line());
}

void Run::print_field(const Report &report, const std::string &place) {
  const Field found = report.field(field, json);
  if (!found.missing.empty()) return fail(place + found.missing);
  print(found.text);
}

void Run::complain(const std::string &message, const std::string &advice) {
  progress.erase();
  flush_output();
  const bool coloured = is_coloured(STDERR_FILENO, color);
  std::fprintf(stderr, "%s %s\n",
               coloured ? alarming("orla:").c_str() : "orla:", visible(message).c_str());
  if (!advice.empty()) std::fprintf(stderr, "%s\n", visible(advice).c_str());
}

void Run::fail(const std::string &message) {
  complain(message);
  status = kServiceFailed;
}

void add_common_options(CLI::App &app, Run &run, const Command &command) {
  app.add_flag("--json", run.json, "Print JSON, for programs");
  app.add_option("--field", run.field, "Print one value of the JSON alone, for scripts")
      ->type_name("NAME")
      ->check([](const std::string &name) {
        return name.empty() ? "name a value, such as one that --json shows" : "";
      });
  app.add_option("--color", run.color, "auto (the default), always or never")
      ->type_name("WHEN")
      ->check([](const std::string &when) {
        const bool known = when == "auto" || when == "always" || when == "never";
        return known ? "" : in_quotes(when) + " is not auto, always or never";
      });
  const std::string notes = *command.notes == '\0' ? "" : command.notes + std::string("\n\n");
  app.footer(notes + "Examples:\n" + command.examples +
             "\nExit status: 0 done, 1 a service failed, 2 wrong use.");
}

CLI::App *add_group(CLI::App &parent, Run &run, const Command &command) {
  CLI::App *group = parent.add_subcommand(command.name, command.description);
  add_common_options(*group, run, command);
  group->require_subcommand(1);
  return group;
}

CLI::App *add_command(CLI::App &parent, Run &run, const Command &command,
                      std::function<void()> action) {
  CLI::App *added = parent.add_subcommand(command.name, command.description);
  add_common_options(*added, run, command);
  added->callback([&run, added, action = std::move(action)] {
    const std::string reason = why_no_field(*added, run.field);
    if (!run.field.empty() && !reason.empty()) return run.fail(reason);
    action();
  });
  return added;
}

std::string path_of(const CLI::App &command) {
  std::string path = command.get_name();
  for (const CLI::App *above = command.get_parent(); above != nullptr; above = above->get_parent())
    path.insert(0, above->get_name() + ' ');
  return path;
}

}  // namespace orla_tool
