// Delimited tokens in a plain version, which the library is compared with.

#ifndef ORLA_TESTS_PLAIN_TOKEN_H
#define ORLA_TESTS_PLAIN_TOKEN_H

#include <algorithm>
#include <cstdint>
#include <string>

namespace plain {

// Reads and writes one character at a time, so that the buffer may overlap the text.
inline const char *first_token(const char *text, char delimiter, char *out, int out_size) {
  const int limit = out_size > 0 ? out_size - 1 : 0;
  const auto terminate = [&](int length) {
    if (out_size > 0) out[length] = '\0';
  };
  terminate(0);
  int at = 0;
  while (text[at] != delimiter)
    if (text[at++] == '\0') return nullptr;
  if (delimiter == '\0') return nullptr;
  const char *token = text + at + 1;
  int copied = 0;
  while (true) {
    const char next = token[copied];
    if (next == '\0' || next == delimiter || copied == limit) break;
    out[copied++] = next;
  }
  terminate(copied);
  return token[copied] == delimiter ? token + copied + 1 : nullptr;
}

inline const char *token_at(const char *text, short index, char delimiter, char *out,
                            int out_size) {
  if (text == nullptr) return nullptr;
  if (index <= 0) return first_token(text, delimiter, out, out_size);
  const char *rest = first_token(text, delimiter, nullptr, 0);
  return token_at(rest, static_cast<short>(index - 1), delimiter, out, out_size);
}

// Half the delimiters, which are counted in 16 bits, signed.
inline short token_count(const std::string &text, char delimiter) {
  const auto delimiters = std::count(text.begin(), text.end(), delimiter);
  return static_cast<short>(static_cast<std::int16_t>(delimiters) / 2);
}

}  // namespace plain

#endif
