// Delimited tokens, beside calls of the C library that do the same.

#include <orla/token.h>

#include <cstring>
#include <string>

#include "rows.h"

namespace {

constexpr char kQuote = '"';
const char kLine[] = "name \"twelve chars\" rest";
char out[64];

// Finds both delimiters, the second within the room, and copies what stands between them.
void copy_between() {
  const char *open = std::strchr(bench::unknown(kLine), kQuote);
  const std::size_t held = strnlen(open + 1, sizeof out - 1);
  const auto *close = static_cast<const char *>(std::memchr(open + 1, kQuote, held));
  const std::size_t length = close != nullptr ? static_cast<std::size_t>(close - open - 1) : held;
  std::memcpy(out, open + 1, length);
  out[length] = '\0';
  bench::keep(out);
}

void span_between() {
  const char *line = bench::unknown(kLine);
  const char *open = line + std::strcspn(line, "\"");
  const std::size_t length = std::strcspn(open + 1, "\"");
  std::memcpy(out, open + 1, length);
  out[length] = '\0';
  bench::keep(out);
}

void read_rows() {
  bench::Table table("Token out of a line");
  table.floor("strchr, strnlen, memchr and a copy", bench::repeat(copy_between));
  table.ours("get_first_delimited_token_in_string", bench::repeat([] {
               bench::keep_result(get_first_delimited_token_in_string(bench::unknown(kLine), kQuote,
                                                                      out, sizeof out));
               bench::keep(out);
             }));
  table.peer("strcspn, twice, and a copy", bench::repeat(span_between));
}

// One token of each length; how the cost grows.
void growth_rows() {
  bench::Table table("Growth: token, by characters");
  for (const int size : {16, 128, 1024, 8192, 65536, 524288}) {
    const std::string line = "x \"" + std::string(static_cast<std::size_t>(size), 'x') + "\" y";
    table.ours("get_first_delimited_token_in_string",
               bench::repeat([line, buffer = std::string(static_cast<std::size_t>(size) + 1, ' '),
                              size]() mutable {
                 bench::keep_result(get_first_delimited_token_in_string(line.c_str(), kQuote,
                                                                        buffer.data(), size + 1));
                 bench::keep(buffer);
               }),
               size);
  }
}

const bench::Rows rows([] {
  read_rows();
  growth_rows();
});

}  // namespace
