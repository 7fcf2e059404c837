// For people at a terminal: colour, control characters made visible, and progress.

#ifndef ORLA_TOOLS_TERMINAL_H
#define ORLA_TOOLS_TERMINAL_H

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace orla_tool {

// Whether text on this descriptor is coloured. `choice` is "always", "never" or "auto": on a
// terminal that knows colours, unless NO_COLOR is set to anything.
bool is_coloured(int descriptor, const std::string &choice);

// A text with its control characters (0x00 to 0x1F, 0x7F to 0x9F, in UTF-8 and as single bytes) as
// "\x1b" and the like: a text from elsewhere must not steer the terminal.
std::string visible(std::string_view text);
void append_visible(std::string &out, std::string_view text);

// The same for a text of several lines, which stay lines.
std::string visible_lines(std::string_view text);

// In quotes, and only its beginning where it is long.
std::string in_quotes(std::string_view text);

std::string bold(std::string_view text);
std::string alarming(std::string_view text);

// One line on standard error that says how far the work has come, rewritten in place and erased at
// the end, also where a signal such as that of ^C ends the process. Only on a terminal, cut at its
// width, and only for work that takes more than a moment.
class Progress {
 public:
  Progress() = default;
  ~Progress() { erase(); }
  Progress(const Progress &) = delete;
  Progress &operator=(const Progress &) = delete;

  // Counting starts. `total` is 0 where it is not known.
  void begin(const char *what, std::uint64_t total);
  // The same for work that prints as it goes: where it prints to a terminal, that is progress
  // enough.
  void begin_beside_output(const char *what, std::uint64_t total);

  void step() {
    ++done_;
    if (is_wanted_) draw_in_time();
  }

  // To be called before anything else is written where the line may stand.
  void erase();

 private:
  using Clock = std::chrono::steady_clock;

  void draw_in_time();
  std::string line(Clock::time_point now) const;

  const char *what_ = "";
  std::uint64_t total_ = 0;
  std::uint64_t done_ = 0;
  bool is_wanted_ = false;
  bool is_drawn_ = false;
  Clock::time_point begin_;
  Clock::time_point next_;
};

}  // namespace orla_tool

#endif
