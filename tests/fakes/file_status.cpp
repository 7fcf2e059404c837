#include "file_status.h"

#include <sys/file.h>

#include <cstdio>

constinit Fake<int(int, int)> fake_flock("flock");
constinit Fake<int(int, struct stat *)> fake_fstat("fstat");
constinit Fake<int(const char *, const char *)> fake_rename("rename");
constinit Fake<int(int, const char *, int, unsigned, struct statx *)> fake_statx("statx");

extern "C" {

int flock(int descriptor, int operation) noexcept { return fake_flock(descriptor, operation); }

int fstat(int descriptor, struct stat *status) noexcept { return fake_fstat(descriptor, status); }

int rename(const char *from, const char *to) noexcept { return fake_rename(from, to); }

int statx(int folder, const char *path, int flags, unsigned mask, struct statx *out) noexcept {
  return fake_statx(folder, path, flags, mask, out);
}
}
