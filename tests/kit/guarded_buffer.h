// A buffer with an unreadable page right after its last byte: a write past the end ends the test.

#ifndef ORLA_TESTS_KIT_GUARDED_BUFFER_H
#define ORLA_TESTS_KIT_GUARDED_BUFFER_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <stdexcept>

class GuardedBuffer {
 public:
  explicit GuardedBuffer(std::size_t size, int fill = 0x5A) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t data_pages = (size + page - 1) / page * page;
    mapped_ = data_pages + page;
    base_ = static_cast<char *>(
        mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    if (base_ == MAP_FAILED) throw std::runtime_error("mmap failed");
    mprotect(base_ + data_pages, page, PROT_NONE);
    data_ = base_ + data_pages - size;
    std::memset(data_, fill, size);
  }
  ~GuardedBuffer() { munmap(base_, mapped_); }
  GuardedBuffer(const GuardedBuffer &) = delete;
  GuardedBuffer &operator=(const GuardedBuffer &) = delete;

  char *data() { return data_; }

 private:
  char *base_;
  char *data_;
  std::size_t mapped_;
};

#endif
