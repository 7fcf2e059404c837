#include "secure_getenv.h"

#include <cstdlib>

constinit Fake<char *(const char *)> fake_secure_getenv("secure_getenv");

extern "C" char *secure_getenv(const char *name) noexcept { return fake_secure_getenv(name); }
