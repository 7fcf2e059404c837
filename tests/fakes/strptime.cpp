#include "strptime.h"

constinit Fake<char *(const char *, const char *, std::tm *)> fake_strptime("strptime");

extern "C" char *strptime(const char *text, const char *format, std::tm *fields) noexcept {
  return fake_strptime(text, format, fields);
}
