// The lines of a profile file, read in blocks: what the readers and the writer see of the file.
//
// Carriage returns and whatever stands from a byte 0xFF on are taken out as a block arrives, so the text
// handed out holds nothing but whole lines, each with its line feed. The memory needed is a block, or the
// longest line.

#ifndef ORLA_PROFILE_LINE_SOURCE_H
#define ORLA_PROFILE_LINE_SOURCE_H

#include <cstddef>
#include <string_view>

namespace orla {

class LineSource {
 public:
  // Reads from `descriptor`, which stays the caller's.
  explicit LineSource(int descriptor) : descriptor_(descriptor) {}
  ~LineSource();
  LineSource(const LineSource &) = delete;
  LineSource &operator=(const LineSource &) = delete;

  // The lines at hand, each with its line feed, at least one; empty at the end of the file. They are
  // handed out again until they are consumed, and hold until the next call of lines() or next_line().
  std::string_view lines() {
    if (next_ == lines_end_ && !fill()) return {};
    return {next_, static_cast<std::size_t>(lines_end_ - next_)};
  }

  // Moves on past the first `size` characters of lines().
  void consume(std::size_t size) { next_ += size; }

  // Takes the next line, without its line feed; false at the end of the file.
  bool next_line(std::string_view &line);

  // Whether the end came early: the file could not be read on, or a line exceeds the memory.
  bool failed() const { return failed_; }

 private:
  // The first read goes into the object, which is enough for most files; a file that fills it is read
  // on in blocks from the heap.
  static constexpr std::size_t kFirstBlock = 4096;
  static constexpr std::size_t kBlock = 65536;

  bool fill();
  bool make_room();
  bool move_to_heap(std::size_t capacity);
  std::size_t read_block();
  void take_in(std::size_t size);

  int descriptor_;
  bool ended_ = false;
  bool failed_ = false;
  bool read_was_full_ = false;
  char *heap_ = nullptr;
  char *text_ = first_block_;
  std::size_t capacity_ = kFirstBlock;
  char *next_ = first_block_;       // first character not yet consumed
  char *lines_end_ = first_block_;  // behind the last line feed read
  char *end_ = first_block_;        // behind the last character read
  char first_block_[kFirstBlock];
};

}  // namespace orla

#endif
