#include "profile/block.h"

#include <cstdlib>
#include <cstring>

namespace orla {

Block::~Block() { std::free(heap_); }

bool Block::grow(std::size_t size) {
  auto *larger = static_cast<char *>(std::realloc(heap_, size));
  if (larger == nullptr) return false;
  if (heap_ == nullptr) std::memcpy(larger, inside_, sizeof inside_);
  heap_ = larger;
  size_ = size;
  return true;
}

}  // namespace orla
