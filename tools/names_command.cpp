// orla names: user, group and node as the library names them.

#include <orla/names.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <iostream>

#include "command.h"
#include "standard_output.h"

namespace orla_tool {
namespace {

// A companion that lacks the provider makes the library print that; it belongs on standard error.
std::string node_name() {
  char name[ORLA_NODE_NAME_SIZE];
  Captured output(STDOUT_FILENO);
  orla_get_node_name(name);
  std::cerr << visible_lines(output.text());
  return name;
}

void show_names(Run &run) {
  char user[ORLA_NAME_SIZE];
  char group[ORLA_NAME_SIZE];
  orla_get_user_name(user);
  orla_get_group_name(group);
  const std::string node = node_name();

  Report report = run.report();
  report.row("user", "user", user, "real user id " + std::to_string(getuid()));
  report.row("group", "group", group, "real group id " + std::to_string(getgid()));
  if (node.empty()) {
    report.missing("node", "node",
                   "liborlanode.so is missing or gives no name: install it beside liborla or in a "
                   "directory of LD_LIBRARY_PATH");
    run.status = kServiceFailed;
  } else {
    report.row("node", "node", node, "by the provider in liborlanode.so");
  }
  run.finish(report);
}

}  // namespace

void add_names_command(CLI::App &program, Run &run) {
  add_command(program, run,
              {"names", "Show the names of user, group and node",
               "\"unknown\" stands for an id without an entry; names are cut at 31 characters.",
               "  orla names\n  orla names --field user\n"},
              [&run] { show_names(run); });
}

}  // namespace orla_tool
