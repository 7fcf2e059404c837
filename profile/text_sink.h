// Text on its way into a file: small pieces are gathered, errors are remembered.

#ifndef ORLA_PROFILE_TEXT_SINK_H
#define ORLA_PROFILE_TEXT_SINK_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace orla {

class TextSink {
 public:
  // Writes to `descriptor`, which stays the caller's.
  explicit TextSink(int descriptor) : descriptor_(descriptor) {}

  void put(std::string_view text);

  // Writes out what has been gathered; false when anything of the text could not be written.
  bool flush();

  // Characters put so far.
  std::uint64_t size() const { return size_; }

 private:
  // Whole blocks at offsets that are multiples of a block: a file system takes them several times as fast
  // as pieces that begin and end in the middle of a page.
  static constexpr std::size_t kRoom = 16384;

  void gather(std::string_view text);

  int descriptor_;
  bool failed_ = false;
  std::uint64_t size_ = 0;
  std::size_t held_ = 0;  // 0 to kRoom
  char text_[kRoom];
};

}  // namespace orla

#endif
