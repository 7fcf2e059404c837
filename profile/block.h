// Memory for a text on its way in or out.

#ifndef ORLA_PROFILE_BLOCK_H
#define ORLA_PROFILE_BLOCK_H

#include <cstddef>

namespace orla {

// Some memory inside the object, which is enough for most files, and memory of the heap once it has
// grown.
class Block {
 public:
  Block() = default;
  ~Block();
  Block(const Block &) = delete;
  Block &operator=(const Block &) = delete;

  char *begin() { return heap_ != nullptr ? heap_ : inside_; }
  [[nodiscard]] std::size_t size() const { return size_; }

  // Grows to `size` bytes, more than there are, and keeps what it holds; begin() changes. False,
  // with all as it was, where there is no memory.
  [[nodiscard]] bool grow(std::size_t size);

 private:
  // Programs call from threads with stacks of 16 KiB, of which the C library leaves 12, and takes 4
  // at the first call of each function.
  char inside_[2048];
  char *heap_ = nullptr;
  std::size_t size_ = sizeof inside_;
};

}  // namespace orla

#endif
