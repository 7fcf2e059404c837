// What the library prints by itself, kept out of the tool's own output.

#ifndef ORLA_TOOLS_STANDARD_OUTPUT_H
#define ORLA_TOOLS_STANDARD_OUTPUT_H

#include <string>

namespace orla_tool {

// Takes what is written to a descriptor, standard output or standard error, for as long as it lives.
class Captured {
 public:
  explicit Captured(int descriptor);
  ~Captured();
  Captured(const Captured &) = delete;
  Captured &operator=(const Captured &) = delete;

  // Ends the capture and gives the text. Empty where no temporary file could be had, and then the text
  // went where it would have gone.
  std::string text();

 private:
  void restore();

  int descriptor_;
  int original_ = -1;  // a copy of the descriptor; -1 when nothing is captured
  int file_ = -1;
};

}  // namespace orla_tool

#endif
