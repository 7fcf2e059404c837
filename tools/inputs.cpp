#include "inputs.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>

#include "standard_output.h"
#include "whole_file.h"

namespace orla_tool {
namespace {

constexpr std::size_t kFirstBufferSize = 65536;

}  // namespace

std::string Input::place() const {
  return line == 0 ? "" : "standard input, line " + std::to_string(line) + ": ";
}

LineReader::LineReader(int descriptor) : descriptor_(descriptor), buffer_(kFirstBufferSize) {}

bool LineReader::next(Input &line) {
  for (;;) {
    const void *feed = std::memchr(buffer_.data() + searched_, '\n', end_ - searched_);
    if (feed != nullptr) {
      hand_out(line,
               static_cast<std::size_t>(static_cast<const char *>(feed) - buffer_.data()) - begin_);
      return true;
    }
    searched_ = end_;
    if (!fill()) break;
  }
  if (begin_ == end_) return false;
  hand_out(line, end_ - begin_);
  return true;
}

// Leaves room for a terminator after what has been read.
bool LineReader::fill() {
  if (is_ended_) return false;
  flush_output();
  std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
  searched_ -= begin_;
  end_ -= begin_;
  begin_ = 0;
  if (end_ + 1 == buffer_.size()) buffer_.resize(buffer_.size() * 2);
  ssize_t length;
  do {
    length = read(descriptor_, buffer_.data() + end_, buffer_.size() - 1 - end_);
  } while (length == -1 && errno == EINTR);
  if (length == -1) error_ = errno;
  is_ended_ = length <= 0;
  if (!is_ended_) end_ += static_cast<std::size_t>(length);
  return !is_ended_;
}

void LineReader::hand_out(Input &line, std::size_t size) {
  char *text = buffer_.data() + begin_;
  begin_ = std::min(begin_ + size + 1, end_);
  searched_ = begin_;
  if (size > 0 && text[size - 1] == '\r') --size;
  text[size] = '\0';
  line = {text, size, ++number_};
}

Inputs::Inputs(Run &run, const std::vector<std::string> &arguments)
    : run_(run), arguments_(arguments), lines_(STDIN_FILENO) {
  run.progress.begin_beside_output("inputs", 0);
}

bool Inputs::next(Input &input) {
  for (; at_ < arguments_.size(); ++at_) {
    const std::string &argument = arguments_[at_];
    if (argument != kStandardInput) {
      input = {argument.c_str(), argument.size(), 0};
      ++at_;
      return true;
    }
    if (next_line(input)) return true;
  }
  return false;
}

bool Inputs::next_line(Input &input) {
  while (lines_.next(input)) {
    run_.progress.step();
    if (std::memchr(input.text, '\0', input.size) == nullptr) return true;
    run_.fail(input.place() + "it holds a zero byte");
  }
  if (lines_.error() != 0)
    run_.fail(std::string("standard input cannot be read: ") + std::strerror(lines_.error()));
  return false;
}

bool is_single(const std::vector<std::string> &arguments) {
  return arguments.size() == 1 && arguments[0] != kStandardInput;
}

void describe_each(Run &run, const std::vector<std::string> &arguments,
                   const Description &description) {
  const bool single = is_single(arguments);
  Report report = single || !run.field.empty() ? run.report()
                  : run.json                   ? Report(Report::Kept::json_line)
                                               : Report(description.columns);
  Inputs inputs(run, arguments);
  Input input;
  while (inputs.next(input)) {
    report.clear();
    if (!single) report.row("input", "input", input.view());
    if (!description.describe(input, report)) continue;
    if (single) {
      run.finish(report);
    } else {
      run.finish_line(report, input.line == 0 ? in_quotes(input.view()) + ": " : input.place());
    }
  }
}

CLI::Option *add_texts(CLI::App &command, const std::string &name, std::vector<std::string> &texts,
                       const std::string &help) {
  CLI::Option *option = command.add_option(
      name,
      [&texts](const CLI::results_t &results) {
        texts = results;
        return true;
      },
      help);
  // It asks for more than there can be and so gets them all; this policy allows that some are
  // missing.
  constexpr int kAny = CLI::detail::expected_max_vector_size;
  return option->expected(kAny, kAny)
      ->allow_extra_args(false)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->type_name("")
      ->required();
}

}  // namespace orla_tool
