// Memory of exactly the size that a function may touch, so that a sanitizer sees every access
// beyond it.

#ifndef ORLA_FUZZ_HELPERS_BLOCK_H
#define ORLA_FUZZ_HELPERS_BLOCK_H

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>

// A buffer for a result, filled with one character.
class Block {
 public:
  explicit Block(std::size_t size) : size_(size), bytes_(new char[size]) {
    std::memset(bytes_.get(), kFill, size);
  }

  static constexpr char kFill = 'Z';

  char *data() { return bytes_.get(); }
  std::string bytes() const { return {bytes_.get(), size_}; }

 private:
  std::size_t size_;
  std::unique_ptr<char[]> bytes_;
};

// A C string.
class Text {
 public:
  explicit Text(const std::string &text) : block_(text.size() + 1) {
    std::memcpy(block_.data(), text.c_str(), text.size() + 1);
  }

  char *data() { return block_.data(); }
  operator const char *() { return block_.data(); }

 private:
  Block block_;
};

#endif
