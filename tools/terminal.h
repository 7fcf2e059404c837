// What is only for people who look on: colour, and how far long work has come.

#ifndef ORLA_TOOLS_TERMINAL_H
#define ORLA_TOOLS_TERMINAL_H

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace orla_tool {

// Whether text on this descriptor is coloured. `choice` is "always", "never" or "auto": on a terminal
// that knows colours, unless NO_COLOR is set to anything.
bool is_coloured(int descriptor, const std::string &choice);

// A text in a message: with control characters made visible, as a text from elsewhere must not steer the
// terminal.
std::string visible(std::string_view text);

// In quotes, and only its beginning where it is long.
std::string quoted(std::string_view text);

std::string bold(std::string_view text);
std::string alarming(std::string_view text);

// One line on standard error that says how far the work has come, rewritten in place and erased at the
// end. Only on a terminal, and only for work that takes more than a moment.
class Progress {
 public:
  Progress() = default;
  ~Progress() { erase(); }
  Progress(const Progress &) = delete;
  Progress &operator=(const Progress &) = delete;

  // Counting starts. `total` is 0 where it is not known.
  void begin(const char *what, std::uint64_t total);
  // The same for work that prints as it goes: where it prints to a terminal, that is progress enough.
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
