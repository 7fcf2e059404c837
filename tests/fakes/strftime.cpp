#include "strftime.h"

constinit Fake<std::size_t(char *, std::size_t, const char *, const std::tm *)> fake_strftime(
    "strftime");

extern "C" std::size_t strftime(char *out, std::size_t room, const char *format,
                                const std::tm *fields) noexcept {
  return fake_strftime(out, room, format, fields);
}
