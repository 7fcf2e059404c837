// Delimited tokens. The C library finds the opening delimiter. From there on the reader looks at
// one character at a time and at none after the closing delimiter: the memory after it need not be
// readable.

#include <orla/token.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

const char *get_first_delimited_token_in_string(const char *text, char delimiter, char *out,
                                                int out_size) noexcept {
  if (out_size > 0) *out = '\0';
  const char *opening = std::strchr(text, delimiter);
  if (opening == nullptr || *opening == '\0') return nullptr;  // a delimiter of zero is found there
  const char *token = opening + 1;
  // Quirk: without a buffer no character is skipped, so only an empty token is found.
  const std::size_t limit = out_size > 0 ? static_cast<std::size_t>(out_size) - 1 : 0;
  std::size_t length = 0;
  for (; length < limit && token[length] != '\0' && token[length] != delimiter; ++length)
    out[length] = token[length];
  if (out_size > 0) out[length] = '\0';
  return token[length] == delimiter ? token + length + 1 : nullptr;
}

const char *get_delimited_token_in_string(const char *text, short index, char delimiter, char *out,
                                          int out_size) noexcept {
  // Quirk: tokens are skipped without a buffer, so only empty ones can be skipped.
  for (short skipped = 0; text != nullptr && skipped < index; ++skipped) {
    text = get_first_delimited_token_in_string(text, delimiter, nullptr, 0);
  }
  if (text == nullptr) return nullptr;
  return get_first_delimited_token_in_string(text, delimiter, out, out_size);
}

short count_delimited_tokens_in_string(const char *text, char delimiter) noexcept {
  if (delimiter == '\0') return 0;  // or it would be found at the text's end
  std::uint16_t count = 0;          // Quirk: it wraps in 16 bits and is read as signed.
  while ((text = std::strchr(text, delimiter)) != nullptr) {
    ++count;
    ++text;
  }
  return static_cast<short>(static_cast<std::int16_t>(count) / 2);
}
