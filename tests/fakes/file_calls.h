// The file calls as the library makes them on descriptors.

#ifndef ORLA_TESTS_FAKES_FILE_CALLS_H
#define ORLA_TESTS_FAKES_FILE_CALLS_H

#include <sys/stat.h>
#include <sys/types.h>

#include <map>
#include <string>

#include "fake.h"

extern Fake<int(const char *path, int flags, mode_t mode)> fake_open;
extern Fake<ssize_t(int descriptor, void *out, std::size_t size)> fake_read;
extern Fake<ssize_t(int descriptor, const void *data, std::size_t size)> fake_write;
extern Fake<int(int descriptor)> fake_close;
extern Fake<int(const char *path)> fake_unlink;
extern Fake<int(char *name)> fake_mkstemp;
extern Fake<int(int descriptor, int mode, off64_t offset, off64_t size)> fake_fallocate;
extern Fake<int(int descriptor, off64_t size)> fake_ftruncate;
extern Fake<int(const char *path, off_t size)> fake_truncate;
extern Fake<int(int folder, const char *path, int flags, unsigned mask, struct statx *out)>
    fake_statx;
extern Fake<void *(void *earlier, std::size_t size)> fake_realloc;  // the memory of long texts

// Files in memory, while the object lives: every path that is opened is one of them. A file that is
// neither put nor created does not open.
class MemoryFiles {
 public:
  MemoryFiles();
  ~MemoryFiles();
  MemoryFiles(const MemoryFiles &) = delete;
  MemoryFiles &operator=(const MemoryFiles &) = delete;

  void put(const std::string &path, const std::string &content);
  std::string get(const std::string &path) const;
  bool holds(const std::string &path) const { return files_.count(path) != 0; }
  std::size_t count() const { return files_.size(); }

  // What open() does meanwhile, for tests that make it fail.
  int open(const char *path, int flags);

 private:
  int create_temporary(char *name);
  int remove(const char *path);
  int truncate(const char *path, off_t size);

  std::map<std::string, int> files_;  // descriptor of each
  With<int(const char *, int, mode_t)> open_;
  With<int(char *)> mkstemp_;
  With<int(const char *)> unlink_;
  With<int(const char *, off_t)> truncate_;
};

#endif
