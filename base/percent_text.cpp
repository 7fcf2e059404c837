#include "base/percent_text.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace orla {
namespace {

// Appends what fits and counts all that it was given: the first pass finds the size needed.
class Appender {
 public:
  Appender(char *out, std::size_t room) : out_(out), room_(room) {}

  void add(const char *text, std::size_t length) {
    if (wanted_ < room_) std::memcpy(out_ + wanted_, text, std::min(length, room_ - wanted_));
    wanted_ += length;
  }
  void add(const char *text) { add(text, std::strlen(text)); }

  std::size_t wanted() const { return wanted_; }

 private:
  char *out_;
  std::size_t room_;
  std::size_t wanted_ = 0;
};

void expand(Appender &out, const char *format, int error) {
  while (const char *percent = std::strchr(format, '%')) {
    out.add(format, static_cast<std::size_t>(percent - format));
    const char conversion = percent[1];
    if (conversion == 'm')
      out.add(std::strerror(error));
    else
      out.add("%", 1);
    format = percent + (conversion == 'm' || conversion == '%' ? 2 : 1);
  }
  out.add(format);
}

std::size_t compose(char *out, std::size_t room, const char *head, const char *format,
                    const char *tail, int error) {
  Appender appender(out, room);
  appender.add(head);
  expand(appender, format, error);
  appender.add(tail);
  return appender.wanted();
}

}  // namespace

PercentText::PercentText(const char *head, const char *format, const char *tail) {
  const int error = errno;
  size_ = compose(in_place_, kInPlace, head, format, tail, error);
  if (size_ <= kInPlace) return;
  auto *heap = static_cast<char *>(std::malloc(size_));
  if (heap == nullptr) {
    size_ = kInPlace;
    return;
  }
  compose(heap, size_, head, format, tail, error);
  data_ = heap;
}

PercentText::~PercentText() {
  if (data_ != in_place_) std::free(data_);
}

}  // namespace orla
