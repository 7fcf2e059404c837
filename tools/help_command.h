// What help and messages of wrong use say of the subcommands.

#ifndef ORLA_TOOLS_HELP_COMMAND_H
#define ORLA_TOOLS_HELP_COMMAND_H

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace orla_tool {

// The subcommand of a command by its name; null when there is none.
const CLI::App *find_subcommand(const CLI::App &command, const std::string &name);

// The option of a command by its name, such as "--json"; null when there is none.
const CLI::Option *find_option(const CLI::App &command, const std::string &name);

// For a message: that there is no subcommand or no option of that name, and which was probably
// meant. An option that the command does have was given before the command's own name.
std::string no_subcommand(const CLI::App &command, const std::string &name);
std::string no_option(const CLI::App &command, const std::string &name);

// For a message, where "help" stands after the name of a command.
std::string help_goes_first(const CLI::App &command, const std::string &word);

}  // namespace orla_tool

#endif
