// Text on its way into a file: small pieces are gathered, errors are remembered.

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

  // Writes out what has been gathered; false when anything of the text could not be written.
  [[nodiscard]] bool flush();

  // Characters put so far.
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
