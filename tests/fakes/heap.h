// A heap that is exhausted: malloc() gives nothing to code of the library while one of these lives.

#ifndef ORLA_TESTS_FAKES_HEAP_H
#define ORLA_TESTS_FAKES_HEAP_H

class HeapExhausted {
 public:
  HeapExhausted();
  ~HeapExhausted();
  HeapExhausted(const HeapExhausted &) = delete;
  HeapExhausted &operator=(const HeapExhausted &) = delete;
};

#endif
