#include "heap.h"

#include <cerrno>
#include <cstddef>

namespace {
constinit bool exhausted = false;
}

HeapExhausted::HeapExhausted() {
  exhausted = true;
}

HeapExhausted::~HeapExhausted() {
  exhausted = false;
}

#ifndef __SANITIZE_ADDRESS__
extern "C" {

void *__libc_malloc(std::size_t size) noexcept;

// Not through Fake: what that rests on may want memory itself.
void *malloc(std::size_t size) noexcept {
  if (!exhausted) return __libc_malloc(size);
  errno = ENOMEM;
  return nullptr;
}
}
#endif
