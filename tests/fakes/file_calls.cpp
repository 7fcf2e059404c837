#include "file_calls.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>

constinit Fake<int(const char *, int, mode_t)> fake_open("open");
constinit Fake<ssize_t(int, void *, std::size_t)> fake_read("read");
constinit Fake<ssize_t(int, const void *, std::size_t)> fake_write("write");
constinit Fake<int(int)> fake_close("close");
constinit Fake<int(const char *)> fake_unlink("unlink");
constinit Fake<int(char *)> fake_mkstemp("mkstemp");
constinit Fake<int(int, int, off64_t, off64_t)> fake_fallocate("fallocate64");
constinit Fake<int(int, off64_t)> fake_ftruncate("ftruncate64");
constinit Fake<int(const char *, off_t)> fake_truncate("truncate");
constinit Fake<int(int, const char *, int, unsigned, struct statx *)> fake_statx("statx");
constinit Fake<void *(void *, std::size_t)> fake_realloc("realloc");

MemoryFiles::MemoryFiles()
    : open_(fake_open, [this](const char *path, int flags, mode_t) { return open(path, flags); }),
      mkstemp_(fake_mkstemp, [this](char *name) { return create_temporary(name); }),
      unlink_(fake_unlink, [this](const char *path) { return remove(path); }),
      truncate_(fake_truncate,
                [this](const char *path, off_t size) { return truncate(path, size); }) {}

MemoryFiles::~MemoryFiles() {
  for (const auto &[path, descriptor] : files_)
    close(descriptor);
}

void MemoryFiles::put(const std::string &path, const std::string &content) {
  auto [file, is_new] = files_.try_emplace(path, -1);
  if (is_new) file->second = memfd_create("file", 0);
  if (ftruncate(file->second, 0) != 0) abort();
  const ssize_t size = pwrite(file->second, content.data(), content.size(), 0);
  if (size != static_cast<ssize_t>(content.size())) abort();
}

std::string MemoryFiles::get(const std::string &path) const {
  const int file = files_.at(path);
  std::string content(static_cast<std::size_t>(lseek(file, 0, SEEK_END)), '\0');
  if (pread(file, content.data(), content.size(), 0) < 0) abort();
  return content;
}

// The descriptors of one file share their position, which is enough for one use at a time.
int MemoryFiles::open(const char *path, int flags) {
  if (!holds(path)) {
    errno = ENOENT;
    if ((flags & O_CREAT) == 0) return -1;
    put(path, "");
  }
  const int file = files_.at(path);
  if ((flags & O_TRUNC) != 0 && ftruncate(file, 0) != 0) return -1;
  lseek(file, 0, SEEK_SET);
  return dup(file);
}

int MemoryFiles::create_temporary(char *name) {
  std::memcpy(name + std::strlen(name) - 6, "memory", 6);
  put(name, "");
  return 1000000;  // not a descriptor: it is never used
}

int MemoryFiles::remove(const char *path) {
  const auto file = files_.find(path);
  if (file == files_.end()) return -1;
  fake_close.real(file->second);  // not the close of the code under test
  files_.erase(file);
  return 0;
}

int MemoryFiles::truncate(const char *path, off_t size) {
  return holds(path) ? ftruncate(files_.at(path), size) : -1;
}

extern "C" {

int open(const char *path, int flags, ...) {
  mode_t mode = 0;
  if ((flags & O_CREAT) != 0) {
    va_list list;
    va_start(list, flags);
    mode = va_arg(list, mode_t);
    va_end(list);
  }
  return fake_open(path, flags, mode);
}

ssize_t read(int descriptor, void *out, std::size_t size) {
  return fake_read(descriptor, out, size);
}

ssize_t write(int descriptor, const void *data, std::size_t size) {
  return fake_write(descriptor, data, size);
}

int close(int descriptor) { return fake_close(descriptor); }

int unlink(const char *path) noexcept { return fake_unlink(path); }

int mkstemp(char *name) { return fake_mkstemp(name); }

int ftruncate64(int descriptor, off64_t size) noexcept { return fake_ftruncate(descriptor, size); }
int truncate(const char *path, off_t size) noexcept { return fake_truncate(path, size); }
int fallocate64(int descriptor, int mode, off64_t offset, off64_t size) {
  return fake_fallocate(descriptor, mode, offset, size);
}
int statx(int folder, const char *path, int flags, unsigned mask, struct statx *out) noexcept {
  return fake_statx(folder, path, flags, mask, out);
}

void *realloc(void *earlier, std::size_t size) noexcept { return fake_realloc(earlier, size); }
}
