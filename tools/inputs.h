// The texts that a command works on: its arguments, one of which may be "-" for the lines of
// standard input.

#ifndef ORLA_TOOLS_INPUTS_H
#define ORLA_TOOLS_INPUTS_H

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "command.h"

namespace CLI {
class Option;
}

namespace orla_tool {

struct Input {
  const char *text = "";  // terminated, without another zero byte; good until the next input
  std::size_t size = 0;
  std::size_t line = 0;  // of standard input, from 1; 0 for an argument

  std::string_view view() const { return {text, size}; }
  // For the beginning of a message: "standard input, line 3: ", or nothing for an argument.
  std::string place() const;
};

// The lines that a descriptor gives, without a copy of each. What has been printed is flushed
// before the reader waits for more.
class LineReader {
 public:
  explicit LineReader(int descriptor);

  // Without its line feed and a carriage return before it. A last line needs no line feed.
  bool next(Input &line);
  int error() const { return error_; }  // errno where reading failed, else 0

 private:
  bool fill();
  void hand_out(Input &line, std::size_t size);

  int descriptor_;
  std::vector<char> buffer_;
  std::size_t begin_ = 0;     // of what has not been handed out
  std::size_t searched_ = 0;  // up to here it holds no line feed
  std::size_t end_ = 0;
  std::size_t number_ = 0;
  bool is_ended_ = false;
  int error_ = 0;
};

class Inputs {
 public:
  Inputs(Run &run, const std::vector<std::string> &arguments);

  // False at the end. A line that holds a zero byte, and input that cannot be read on, make a
  // message.
  bool next(Input &input);

 private:
  bool next_line(Input &input);

  Run &run_;
  const std::vector<std::string> &arguments_;
  std::size_t at_ = 0;
  LineReader lines_;
};

// Whether there is one text, which gets a report to itself. Several, and standard input, get one
// line each.
bool is_single(const std::vector<std::string> &arguments);

// What a command says of a text: the rows of its report, and which of them, by key, make up the
// line where there are several texts; the text itself is "input". `describe` answers false when it
// has said what is wrong with the text.
struct Description {
  std::function<bool(const Input &, Report &)> describe;
  std::vector<std::string> columns;
};

void describe_each(Run &run, const std::vector<std::string> &arguments,
                   const Description &description);

// Any number of texts as they stand. (An option for a vector would read a text in brackets as a
// list.)
CLI::Option *add_texts(CLI::App &command, const std::string &name, std::vector<std::string> &texts,
                       const std::string &help);

}  // namespace orla_tool

#endif
