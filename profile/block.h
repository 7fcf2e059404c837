// Memory for a text that is being read or written.

#ifndef ORLA_PROFILE_BLOCK_H
#define ORLA_PROFILE_BLOCK_H

#include <cstddef>

namespace orla {

// Holds some memory inside the object, which is enough for most files, and heap memory once it has
// grown.
class Block {
 public:
  Block() = default;
  ~Block();
  Block(const Block &) = delete;
  Block &operator=(const Block &) = delete;

  char *begin() { return heap_ != nullptr ? heap_ : inside_; }
  [[nodiscard]] std::size_t size() const { return size_; }

  // Grows to `size` bytes, which must be more than size(), and keeps its contents; begin() changes.
  // False, with nothing changed, when there is no memory.
  [[nodiscard]] bool grow(std::size_t size);

 private:
  // Programs call from threads with stacks of 16 KiB. The C library leaves 12 KiB of them, and uses
  // 4 of those at the first call of each function.
  char inside_[2048];
  char *heap_ = nullptr;
  std::size_t size_ = sizeof inside_;
};

}  // namespace orla

#endif
