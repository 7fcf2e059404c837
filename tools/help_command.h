// What help and messages of wrong use say of the subcommands.

#ifndef ORLA_TOOLS_HELP_COMMAND_H
#define ORLA_TOOLS_HELP_COMMAND_H

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace orla_tool {

// The subcommand of a command by its name; null when there is none.
const CLI::App *find_subcommand(const CLI::App &command, const std::string &name);

// For a message: that there is no subcommand or no option of that name, and which was probably
// meant.
std::string no_subcommand(const CLI::App &command, const std::string &name);
std::string no_option(const CLI::App &command, const std::string &name);

}  // namespace orla_tool

#endif
