#include "profile/text_sink.h"

#include <cstring>

#include "base/descriptor.h"

namespace orla {

void TextSink::put(std::string_view text) {
  size_ += text.size();
  while (text.size() > kRoom - held_) {
    const std::size_t fitting = kRoom - held_;
    gather({text.data(), fitting});
    flush();
    text.remove_prefix(fitting);
  }
  gather(text);
}

void TextSink::gather(std::string_view text) {
  std::memcpy(text_ + held_, text.data(), text.size());
  held_ += text.size();
}

bool TextSink::flush() {
  failed_ |= write_all(descriptor_, {text_, held_}) < held_;
  held_ = 0;
  return !failed_;
}

}  // namespace orla
