#include "heap.h"

#include <dlfcn.h>

#include <cstddef>
#include <cstring>

namespace {

bool heap_is_exhausted = false;

bool calls_from_the_library(const void *caller) {
  Dl_info where;
  return dladdr(caller, &where) != 0 && where.dli_fname != nullptr &&
         std::strstr(where.dli_fname, "liborla.so") != nullptr;
}

}  // namespace

HeapExhausted::HeapExhausted() { heap_is_exhausted = true; }
HeapExhausted::~HeapExhausted() { heap_is_exhausted = false; }

extern "C" void *malloc(std::size_t size) noexcept {
  static void *(*const real)(std::size_t) =
      reinterpret_cast<void *(*)(std::size_t)>(dlsym(RTLD_NEXT, "malloc"));
  if (heap_is_exhausted && calls_from_the_library(__builtin_return_address(0))) return nullptr;
  return real(size);
}
