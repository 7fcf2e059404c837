// A file that has a path but no disk.

#ifndef ORLA_FUZZ_HELPERS_MEMORY_FILE_H
#define ORLA_FUZZ_HELPERS_MEMORY_FILE_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

class MemoryFile {
 public:
  MemoryFile() : descriptor_(memfd_create("orla-fuzz", 0)) {
    if (descriptor_ < 0) std::abort();
    path_ = "/dev/fd/" + std::to_string(descriptor_);
  }
  ~MemoryFile() { close(descriptor_); }
  MemoryFile(const MemoryFile &) = delete;
  MemoryFile &operator=(const MemoryFile &) = delete;

  // Each open() of the path gets a file position of its own.
  const char *path() const { return path_.c_str(); }

  void put(const std::string &bytes) {
    if (ftruncate(descriptor_, 0) != 0) std::abort();
    const ssize_t size = pwrite(descriptor_, bytes.data(), bytes.size(), 0);
    if (size != static_cast<ssize_t>(bytes.size())) std::abort();
  }

  std::string get() const {
    std::string bytes(static_cast<std::size_t>(lseek(descriptor_, 0, SEEK_END)), '\0');
    const ssize_t size = pread(descriptor_, bytes.data(), bytes.size(), 0);
    if (size != static_cast<ssize_t>(bytes.size())) std::abort();
    return bytes;
  }

 private:
  int descriptor_;
  std::string path_;
};

#endif
