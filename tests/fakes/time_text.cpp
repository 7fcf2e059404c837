#include "time_text.h"

constinit Fake<std::size_t(char *, std::size_t, const char *, const std::tm *)> fake_strftime(
    "strftime");
constinit Fake<char *(const char *, const char *, std::tm *)> fake_strptime("strptime");

extern "C" {

std::size_t strftime(char *out, std::size_t room, const char *format,
                     const std::tm *fields) noexcept {
  return fake_strftime(out, room, format, fields);
}

char *strptime(const char *text, const char *format, std::tm *fields) noexcept {
  return fake_strptime(text, format, fields);
}
}
