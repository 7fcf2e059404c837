// orla tokens: what the library reads between pairs of a delimiter.

#include <orla/token.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "command.h"
#include "inputs.h"

namespace orla_tool {
namespace {

struct TokenArguments {
  std::vector<std::string> texts;
  std::string delimiter = "\"";
};

std::vector<std::string> read_tokens(const Input &input, char delimiter) {
  std::vector<std::string> tokens;
  std::vector<char> out(input.size + 1);
  const char *rest = input.text;
  while ((rest = get_first_delimited_token_in_string(rest, delimiter, out.data(),
                                                     static_cast<int>(out.size()))) != nullptr) {
    tokens.emplace_back(out.data());
  }
  return tokens;
}

std::string explain_count(short count, std::size_t found) {
  return static_cast<std::size_t>(count) == found
             ? "pairs of the delimiter"
             : "wrong: counted in 16 bits, and the text has more delimiters";
}

void report_tokens(Report &report, const Input &input, char delimiter) {
  const std::vector<std::string> tokens = read_tokens(input, delimiter);
  const short count = count_delimited_tokens_in_string(input.text, delimiter);
  report.row("count", "count", count, explain_count(count, tokens.size()));
  report.numbered("tokens", "token", tokens);
}

void show_tokens(Run &run, const TokenArguments &arguments) {
  const char delimiter = arguments.delimiter[0];
  const auto describe = [delimiter](const Input &input, Report &report) {
    report_tokens(report, input, delimiter);
    return true;
  };
  describe_each(run, arguments.texts, {describe, {"count", "tokens"}});
}

std::string check_delimiter(const std::string &delimiter) {
  return delimiter.size() == 1 ? "" : "the delimiter is one byte, such as '|'";
}

}  // namespace

void add_tokens_command(CLI::App &program, Run &run) {
  const auto arguments = std::make_shared<TokenArguments>();
  CLI::App *tokens = add_command(
      program, run,
      {"tokens", "Read the delimited tokens of texts",
       "What stands between a closing delimiter and the next opening one belongs to no token.\n"
       "With several texts, each gets one line: the count, and the tokens as a JSON array.\n"
       "A text that begins with \"-\" goes after \"--\".",
       "  orla tokens '\"alpha\" \"two words\"'\n"
       "  orla tokens --delimiter '|' -- '-|a|b|'\n"
       "  printf '\"a\" \"b\"\\n' | orla tokens -\n"},
      [&run, arguments] { show_tokens(run, *arguments); });
  add_texts(*tokens, "TEXT", arguments->texts,
            "Such as '\"alpha\" \"two words\"'; - for the lines of standard input");
  tokens->add_option("--delimiter", arguments->delimiter, "One byte; a double quote by default")
      ->type_name("C")
      ->check(CLI::Validator(check_delimiter, ""));
}

}  // namespace orla_tool
