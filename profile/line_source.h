// The lines of a profile file, read in blocks: what the readers and the writer see of the file.
//
// Carriage returns, and everything from a byte 0xFF on, are removed when a block is read, so
// lines() gives whole lines, each with its line feed. It needs memory for a block or for the
// longest line. Quirk: a last line without a line feed is never seen.

#ifndef ORLA_PROFILE_LINE_SOURCE_H
#define ORLA_PROFILE_LINE_SOURCE_H

#include <cstddef>
#include <optional>
#include <string_view>

#include "profile/block.h"

namespace orla {

class LineSource {
 public:
  // Reads from `descriptor`, which stays the caller's.
  explicit LineSource(int descriptor) : descriptor_(descriptor) {}
  LineSource(const LineSource &) = delete;
  LineSource &operator=(const LineSource &) = delete;

  // The next lines, at least one, each with its line feed; empty at the end of the file. The same
  // lines are returned until they are consumed. They are valid until the next call of lines() or
  // next_line().
  [[nodiscard]] std::string_view lines() {
    if (next_ == lines_end_ && !fill()) return {};
    return {next_, static_cast<std::size_t>(lines_end_ - next_)};
  }

  // Moves on past the first `size` characters of lines().
  void consume(std::size_t size) { next_ += size; }

  // Takes the next line, without its line feed; none at the end of the file.
  [[nodiscard]] std::optional<std::string_view> next_line();

  // Whether the text ended early: a read failed, or there was no memory for a long line.
  [[nodiscard]] bool failed() const { return failed_; }

 private:
  [[nodiscard]] bool fill();
  [[nodiscard]] bool make_room();
  [[nodiscard]] bool start_again();
  [[nodiscard]] bool grow(std::size_t size);
  [[nodiscard]] std::size_t read_block();
  void take_in(std::size_t size);

  int descriptor_;
  bool started_ = false;
  bool ended_ = false;
  bool failed_ = false;
  bool read_was_full_ = false;
  Block block_;
  char *next_ = block_.begin();       // first character not yet consumed
  char *lines_end_ = block_.begin();  // after the last line feed read
  char *end_ = block_.begin();        // after the last character read
};

}  // namespace orla

#endif
