// orla tokens: what the library reads between pairs of a delimiter.

#include <orla/token.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "command.h"

namespace orla_tool {
namespace {

struct TokenArguments {
  std::string text;
  std::string delimiter = "\"";
};

std::vector<std::string> read_tokens(const std::string &text, char delimiter) {
  std::vector<std::string> tokens;
  std::vector<char> out(text.size() + 1);
  const char *rest = text.c_str();
  while ((rest = get_first_delimited_token_in_string(rest, delimiter, out.data(),
                                                     static_cast<int>(out.size()))) != nullptr) {
    tokens.emplace_back(out.data());
  }
  return tokens;
}

std::string explain_count(short count, std::size_t found) {
  return static_cast<std::size_t>(count) == found ? "pairs of the delimiter"
                                                  : "counted in 16 bits, which the text exceeds";
}

void show_tokens(Run &run, const TokenArguments &arguments) {
  const char delimiter = arguments.delimiter[0];
  const std::vector<std::string> tokens = read_tokens(arguments.text, delimiter);
  const short count = count_delimited_tokens_in_string(arguments.text.c_str(), delimiter);
  Report report;
  report.row("count", "count", count, explain_count(count, tokens.size()));
  report.numbered("tokens", "token", tokens);
  run.finish(report);
}

std::string check_delimiter(const std::string &delimiter) {
  return delimiter.size() == 1 ? "" : "the delimiter is one byte, such as '|'";
}

}  // namespace

void add_tokens_command(CLI::App &program, Run &run) {
  const auto arguments = std::make_shared<TokenArguments>();
  CLI::App *tokens = add_command(program, run, "tokens", "Read the delimited tokens of a text");
  tokens->add_option("TEXT", arguments->text, R"(Such as '"alpha" "two words"')")->required();
  tokens->add_option("--delimiter", arguments->delimiter, "One byte; a double quote by default")
      ->check(CLI::Validator(check_delimiter, "C"));
  tokens->footer(
      "What stands between a closing delimiter and the next opening one belongs to no token.");
  tokens->callback([&run, arguments] { show_tokens(run, *arguments); });
}

}  // namespace orla_tool
