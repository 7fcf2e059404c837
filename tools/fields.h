// The names that --field takes.

#ifndef ORLA_TOOLS_FIELDS_H
#define ORLA_TOOLS_FIELDS_H

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace orla_tool {

// Those of a command, without "[]"; none for one that prints no report.
std::vector<std::string> fields_of(const CLI::App &command);

// Why no report of a command can have a field of this name, for a message; empty when one can.
std::string why_no_field(const CLI::App &command, const std::string &name);

}  // namespace orla_tool

#endif
