// What goes to standard output: the tool's own text, and, kept out of it, what the library prints
// by itself.

#ifndef ORLA_TOOLS_STANDARD_OUTPUT_H
#define ORLA_TOOLS_STANDARD_OUTPUT_H

#include <string>
#include <string_view>

namespace orla_tool {

// Thrown where standard output takes no more: there is nothing left to work for.
struct OutputFailed {
  int error;  // of errno; 0 when it is not known
};

// To be called first. A standard descriptor that is closed is opened on /dev/null, so that no file
// of the library's takes its place. Standard output gets a large buffer unless it is a terminal. A
// limit of the file size makes writing fail, with a message, instead of ending the process.
void prepare_standard_output();

void print(std::string_view text);
void flush_output();

// Takes what is written to a descriptor, standard output or standard error, for as long as it
// lives.
class Captured {
 public:
  explicit Captured(int descriptor);
  ~Captured();
  Captured(const Captured &) = delete;
  Captured &operator=(const Captured &) = delete;

  // Ends the capture and gives the text. Empty when no temporary file could be made; the text then
  // went to the descriptor.
  std::string text();

 private:
  void restore();

  int descriptor_;
  int original_ = -1;  // a copy of the descriptor; -1 when nothing is captured
  int file_ = -1;
};

}  // namespace orla_tool

#endif
