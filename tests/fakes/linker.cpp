#include "linker.h"

constinit Fake<void *(const char *, int)> fake_dlopen("dlopen");
constinit Fake<int(void *)> fake_dlclose("dlclose");
constinit Fake<char *()> fake_dlerror("dlerror");

namespace {

using Dlerror = char *();

constinit Dlerror *real_dlerror = nullptr;

// Looked up once and early: a look-up at the call would use up the error that is asked for.
[[gnu::constructor]] void find_real_dlerror() {
  real_dlerror = reinterpret_cast<Dlerror *>(dlsym(RTLD_NEXT, "dlerror"));
}

}  // namespace

extern "C" {

void *dlopen(const char *path, int flags) noexcept { return fake_dlopen(path, flags); }

int dlclose(void *handle) noexcept { return fake_dlclose(handle); }

char *dlerror() noexcept {
  if (fake_dlerror.is_armed()) return fake_dlerror();
  if (real_dlerror == nullptr) find_real_dlerror();
  return real_dlerror();
}
}
