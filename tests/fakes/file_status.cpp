#include "file_status.h"

#include <cstdio>

constinit Fake<int(int, struct stat *)> fake_fstat("fstat");
constinit Fake<int(const char *, const char *)> fake_rename("rename");

extern "C" {

int fstat(int descriptor, struct stat *status) noexcept { return fake_fstat(descriptor, status); }

int rename(const char *from, const char *to) noexcept { return fake_rename(from, to); }
}
