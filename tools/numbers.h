// Whole numbers on the command line: decimal digits everywhere, so that "08" is eight and "010"
// ten.

#ifndef ORLA_TOOLS_NUMBERS_H
#define ORLA_TOOLS_NUMBERS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace orla_tool {

// The numbers that a command takes, with a sign for those below zero.
struct NumberRange {
  std::int64_t smallest;
  std::int64_t largest;

  std::optional<std::int64_t> read(std::string_view text) const;
  std::string refusal(std::string_view text) const;
};

// An option or an argument that is such a number; anything else is wrong use.
CLI::Option *add_number(CLI::App &command, const std::string &name, std::int64_t &number,
                        const std::string &help, const NumberRange &allowed);

// The same, where the message names a narrower range than is taken.
CLI::Option *add_number(CLI::App &command, const std::string &name, std::int64_t &number,
                        const std::string &help, const NumberRange &allowed,
                        const NumberRange &advised);

}  // namespace orla_tool

#endif
