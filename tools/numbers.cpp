#include "numbers.h"

#include <CLI/CLI.hpp>
#include <charconv>

#include "terminal.h"

namespace orla_tool {

std::optional<std::int64_t> NumberRange::read(std::string_view text) const {
  std::int64_t number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return {};
  if (number < smallest || number > largest) return {};
  return number;
}

std::string NumberRange::refusal(std::string_view text) const {
  return in_quotes(text) + " is not a whole number from " + std::to_string(smallest) + " to " +
         std::to_string(largest);
}

CLI::Option *add_number(CLI::App &command, const std::string &name, std::int64_t &number,
                        const std::string &help, const NumberRange &allowed) {
  return add_number(command, name, number, help, allowed, allowed);
}

CLI::Option *add_number(CLI::App &command, const std::string &name, std::int64_t &number,
                        const std::string &help, const NumberRange &allowed,
                        const NumberRange &advised) {
  const auto keep = [&number, allowed](const std::string &text) {
    number = allowed.read(text).value_or(0);
  };
  return command.add_option_function<std::string>(name, keep, help)
      ->type_name("")
      ->check([allowed, advised](const std::string &text) {
        return allowed.read(text) ? "" : advised.refusal(text);
      });
}

}  // namespace orla_tool
