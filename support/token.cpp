// Delimited tokens. The reader looks at one character at a time and at none after the closing
// delimiter: the memory after it need not be readable.

#include <orla/token.h>

#include <cstdint>
#include <cstring>

const char *get_first_delimited_token_in_string(const char *text, char delimiter, char *out,
                                                int out_size) noexcept {
  if (out_size > 0) *out = '\0';
  while (*text != '\0' && *text != delimiter)
    ++text;
  if (*text == '\0') return nullptr;
  ++text;
  // Quirk: without a buffer no character is skipped, so only an empty token is found.
  for (int room = out_size > 0 ? out_size - 1 : 0; room != 0; --room) {
    if (*text == '\0' || *text == delimiter) break;
    *out++ = *text++;
  }
  if (out_size > 0) *out = '\0';
  return *text == delimiter ? text + 1 : nullptr;
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
