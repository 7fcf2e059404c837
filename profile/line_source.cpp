#include "profile/line_source.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace orla {
namespace {

// What is read at once of a file that fills the first block.
constexpr std::size_t kLargeBlock = 65536;

// Closes the gaps that carriage returns leave; returns the new end. Without a branch per character,
// as files either have none of them, and are not walked at all, or one in every line.
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

std::optional<std::string_view> LineSource::next_line() {
  const std::string_view held = lines();
  if (held.empty()) return {};
  const std::string_view line(held.data(), held.find('\n'));
  consume(line.size() + 1);
  return line;
}

// Reads on until there is a line feed after next_; false when the end comes first.
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
  if (next_ != block_.begin()) {
    std::memmove(block_.begin(), next_, pending);
    next_ = lines_end_ = block_.begin();
    end_ = next_ + pending;
  }
  if (read_was_full_ && block_.size() < kLargeBlock && grow(kLargeBlock)) return true;
  // No memory is larger than half of the address space, so twice its size does not wrap.
  if (pending < block_.size() || grow(block_.size() * 2)) return true;
  ended_ = failed_ = true;
  return false;
}

bool LineSource::grow(std::size_t size) {
  const auto held = static_cast<std::size_t>(end_ - block_.begin());
  if (!block_.grow(size)) return false;
  next_ = lines_end_ = block_.begin();
  end_ = next_ + held;
  return true;
}

// Reads to end_ and returns how much came. A failure ends the file.
std::size_t LineSource::read_block() {
  const auto room = static_cast<std::size_t>(block_.begin() + block_.size() - end_);
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

// Adds the `size` characters at end_ to the text, as far as they are visible.
void LineSource::take_in(std::size_t size) {
  char *stop = end_ + size;
  // Quirk: a byte 0xFF ends the file, for it is what EOF becomes in a char. For a caller's own
  // stream orla_i_cfg_read_line() sees to the same.
  if (auto *last = std::memchr(end_, 0xFF, size)) {
    stop = static_cast<char *>(last);
    ended_ = true;
  }
  // Quirk: carriage returns do not count, wherever they stand.
  end_ = drop_carriage_returns(end_, stop);
}

}  // namespace orla
