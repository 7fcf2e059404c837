#include "fopen.h"

constinit Fake<std::FILE *(const char *, const char *)> fake_fopen("fopen");

extern "C" std::FILE *fopen(const char *path, const char *mode) { return fake_fopen(path, mode); }
