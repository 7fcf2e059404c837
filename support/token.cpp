// Delimited tokens, found with the C library's searches, which are the fastest there are on every
// processor. None of them reads further than a walk character by character would.

#include <orla/token.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

const char *get_first_delimited_token_in_string(const char *text, char delimiter, char *out,
                                                int out_size) noexcept {
  if (out_size > 0) *out = '\0';
  // A delimiter of zero would be found at the text's end.
  const char *opening = delimiter != '\0' ? std::strchr(text, delimiter) : nullptr;
  if (opening == nullptr) return nullptr;
  const char *token = opening + 1;
  // Without a buffer no character is passed over, so only an empty token is found: kept.
  if (out_size <= 0) return *token == delimiter ? token + 1 : nullptr;

  const auto limit = static_cast<std::size_t>(out_size) - 1;
  // The delimiter may stand right behind the limit, so a token exactly as long as it is whole.
  const std::size_t held = strnlen(token, limit + 1);
  const auto *closing = static_cast<const char *>(std::memchr(token, delimiter, held));
  const std::size_t length = closing != nullptr ? static_cast<std::size_t>(closing - token)
                             : held < limit     ? held
                                                : limit;
  std::memmove(out, token, length);
  out[length] = '\0';
  return closing != nullptr ? closing + 1 : nullptr;
}

const char *get_delimited_token_in_string(const char *text, short index, char delimiter, char *out,
                                          int out_size) noexcept {
  // Without a buffer only an empty token is found, so skipping passes over empty tokens alone. Kept.
  for (short skipped = 0; text != nullptr && skipped < index; ++skipped) {
    text = get_first_delimited_token_in_string(text, delimiter, nullptr, 0);
  }
  if (text == nullptr) return nullptr;
  return get_first_delimited_token_in_string(text, delimiter, out, out_size);
}

short count_delimited_tokens_in_string(const char *text, char delimiter) noexcept {
  if (delimiter == '\0') return 0;
  std::uint16_t count = 0;  // wraps in 16 bits and is read as signed: kept
  while ((text = std::strchr(text, delimiter)) != nullptr) {
    ++count;
    ++text;
  }
  return static_cast<short>(static_cast<std::int16_t>(count) / 2);
}
