#include "profile/line_source.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace orla {
namespace {

// Closes the gaps that carriage returns leave; returns the new end. Without a branch per character, as
// files either have none of them, and are not walked at all, or one in every line.
char *drop_carriage_returns(char *begin, char *end) {
  auto *in = static_cast<char *>(std::memchr(begin, '\r', static_cast<std::size_t>(end - begin)));
  if (in == nullptr) return end;
  char *out = in;
  for (; in != end; ++in) {
    *out = *in;
    out += *in != '\r';
  }
  return out;
}

}  // namespace

LineSource::~LineSource() { std::free(heap_); }

bool LineSource::next_line(std::string_view &line) {
  const std::string_view held = lines();
  if (held.empty()) return false;
  const auto *line_feed = static_cast<const char *>(std::memchr(held.data(), '\n', held.size()));
  line = {held.data(), static_cast<std::size_t>(line_feed - held.data())};
  consume(line.size() + 1);
  return true;
}

// Reads on until there is a line feed behind next_; false when the end comes first.
bool LineSource::fill() {
  while (!ended_) {
    if (!make_room()) return false;
    char *const fresh = end_;
    take_in(read_block());
    auto *line_feed = memrchr(fresh, '\n', static_cast<std::size_t>(end_ - fresh));
    if (line_feed == nullptr) continue;
    lines_end_ = static_cast<char *>(line_feed) + 1;
    return true;
  }
  return false;
}

// Moves the broken line at the end of the text to its front, and gets more room where it has none.
bool LineSource::make_room() {
  const auto pending = static_cast<std::size_t>(end_ - next_);
  if (next_ != text_) {
    std::memmove(text_, next_, pending);
    next_ = lines_end_ = text_;
    end_ = text_ + pending;
  }
  if (read_was_full_ && capacity_ < kBlock && move_to_heap(kBlock)) return true;
  if (pending < capacity_ || move_to_heap(capacity_ * 2)) return true;
  ended_ = failed_ = true;
  return false;
}

// No block of the heap is larger than half of the address space, so twice its size does not wrap.
bool LineSource::move_to_heap(std::size_t capacity) {
  const auto held = static_cast<std::size_t>(end_ - text_);
  auto *larger = static_cast<char *>(std::realloc(heap_, capacity));
  if (larger == nullptr) return false;
  if (heap_ == nullptr) std::memcpy(larger, first_block_, held);
  heap_ = text_ = next_ = lines_end_ = larger;
  end_ = larger + held;
  capacity_ = capacity;
  return true;
}

// Reads behind end_; returns how much came. A failure ends the file.
std::size_t LineSource::read_block() {
  const auto room = static_cast<std::size_t>(text_ + capacity_ - end_);
  ssize_t got;
  do {
    got = read(descriptor_, end_, room);
  } while (got < 0 && errno == EINTR);
  const auto size = static_cast<std::size_t>(got < 0 ? 0 : got);
  read_was_full_ = size == room;
  ended_ = size == 0;
  failed_ = got < 0;
  return size;
}

// Adds `size` characters that stand behind end_ to the text, as far as they are visible.
void LineSource::take_in(std::size_t size) {
  char *stop = end_ + size;
  if (auto *last = std::memchr(end_, 0xFF, size)) {
    stop = static_cast<char *>(last);
    ended_ = true;
  }
  end_ = drop_carriage_returns(end_, stop);
}

}  // namespace orla
