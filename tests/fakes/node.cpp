#include "node.h"

constinit Fake<int(utsname *)> fake_uname("uname");

extern "C" int uname(utsname *out) noexcept { return fake_uname(out); }
