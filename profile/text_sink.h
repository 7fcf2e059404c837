// Writes text to a file: small pieces are gathered into blocks, and errors are remembered.

#ifndef ORLA_PROFILE_TEXT_SINK_H
#define ORLA_PROFILE_TEXT_SINK_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "profile/block.h"

namespace orla {

class TextSink {
 public:
  // Writes to `descriptor`, which stays the caller's.
  explicit TextSink(int descriptor) : descriptor_(descriptor) {}

  void put(std::string_view text);

  // Writes what has been gathered; false when any part of the text could not be written.
  [[nodiscard]] bool flush();

  // The number of characters put so far.
  [[nodiscard]] std::uint64_t size() const { return size_; }

 private:
  void gather(std::string_view text);

  int descriptor_;
  bool failed_ = false;
  std::uint64_t size_ = 0;
  std::size_t held_ = 0;  // characters in block_
  Block block_;
};

}  // namespace orla

#endif
