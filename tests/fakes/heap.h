// A heap that is exhausted. Not under AddressSanitizer, whose heap is its own.

#ifndef ORLA_TESTS_FAKES_HEAP_H
#define ORLA_TESTS_FAKES_HEAP_H

#ifdef __SANITIZE_ADDRESS__
inline constexpr bool kHeapCanBeFaked = false;
#else
inline constexpr bool kHeapCanBeFaked = true;
#endif

// malloc() fails as long as one lives.
class HeapExhausted {
 public:
  HeapExhausted();
  ~HeapExhausted();
  HeapExhausted(const HeapExhausted &) = delete;
  HeapExhausted &operator=(const HeapExhausted &) = delete;
};

#endif
