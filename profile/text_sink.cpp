#include "profile/text_sink.h"

#include <cstring>

#include "base/descriptor.h"

namespace orla {
namespace {

// The size of later writes, once a text has filled the first block.
constexpr std::size_t kLargeBlock = 65536;

}  // namespace

// Writes whole blocks at offsets that are multiples of a page: a file system takes them several
// times as fast as pieces that begin and end in the middle of one.
void TextSink::put(std::string_view text) {
  size_ += text.size();
  while (text.size() > block_.size() - held_) {
    if (block_.size() < kLargeBlock && block_.grow(kLargeBlock)) continue;
    const std::size_t fitting = block_.size() - held_;
    gather({text.data(), fitting});
    static_cast<void>(flush());  // a failure is remembered
    text.remove_prefix(fitting);
  }
  gather(text);
}

void TextSink::gather(std::string_view text) {
  std::memcpy(block_.begin() + held_, text.data(), text.size());
  held_ += text.size();
}

bool TextSink::flush() {
  failed_ |= write_all(descriptor_, {block_.begin(), held_}) < held_;
  held_ = 0;
  return !failed_;
}

}  // namespace orla
