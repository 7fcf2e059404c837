#include "profile/line_source.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace orla {
namespace {

// The size of later reads, once a file has filled the first block.
constexpr std::size_t kLargeBlock = 65536;

// Removes carriage returns; returns the new end. A file without any is not walked through at all.
// In others there is one in every line, so the loop has no branch per character.
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

// Reads until there is a line feed after next_; false when the file ends first.
bool LineSource::fill() {
  while (!ended_) {
    if (!make_room()) return false;
    std::size_t size = read_block();
    if (!started_ && read_was_full_ && start_again()) {
      const std::size_t again = read_block();
      if (!failed_) size = again;  // otherwise the first block is still there
    }
    started_ = true;
    char *const fresh = end_;
    take_in(size);
    auto *line_feed = memrchr(fresh, '\n', static_cast<std::size_t>(end_ - fresh));
    if (line_feed == nullptr) continue;
    lines_end_ = static_cast<char *>(line_feed) + 1;
    return true;
  }
  return false;
}

// Moves the unfinished line at the end of the block to its front, and makes the block larger when
// it is full.
bool LineSource::make_room() {
  const auto pending = static_cast<std::size_t>(end_ - next_);
  if (next_ != block_.begin()) {
    std::memmove(block_.begin(), next_, pending);
    next_ = lines_end_ = block_.begin();
    end_ = next_ + pending;
  }
  // No memory is larger than half of the address space, so twice its size does not wrap.
  if (pending < block_.size() || grow(block_.size() * 2)) return true;
  ended_ = failed_ = true;
  return false;
}

// Goes back to the start of a file that fills the first block, so that one read takes in most files
// whole: a rewrite between two reads may move a line back over the place where they meet, and
// neither would have it. False for a pipe or without memory: then the first block counts.
bool LineSource::start_again() { return grow(kLargeBlock) && lseek(descriptor_, 0, SEEK_SET) == 0; }

bool LineSource::grow(std::size_t size) {
  const auto held = static_cast<std::size_t>(end_ - block_.begin());
  if (!block_.grow(size)) return false;
  next_ = lines_end_ = block_.begin();
  end_ = next_ + held;
  return true;
}

// Reads to end_ and returns the number of bytes read. A failure ends the file.
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
  // Quirk: a byte 0xFF counts as the end of the file, here and in orla_i_cfg_read_line().
  if (auto *last = std::memchr(end_, 0xFF, size)) {
    stop = static_cast<char *>(last);
    ended_ = true;
  }
  // Quirk: carriage returns are dropped, wherever they are.
  end_ = drop_carriage_returns(end_, stop);
}

}  // namespace orla
