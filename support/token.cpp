// Delimited tokens.

#include <orla/token.h>

#include "support/token_reader.h"

namespace {

// Half of a count that wraps in 16 bits, signed, rounded toward zero.
short pairs_of(std::uint16_t delimiters) {
  return static_cast<short>(static_cast<std::int16_t>(delimiters) / 2);
}

}  // namespace

const char *get_first_delimited_token_in_string(const char *text, char delimiter, char *out,
                                                int out_size) noexcept {
#ifdef ORLA_HAVE_SSE2_READER
  if (orla::has_sse2()) return orla::read_token_sse2(text, delimiter, out, out_size);
#endif
  return orla::read_token_plain(text, delimiter, out, out_size);
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
#ifdef ORLA_HAVE_SSE2_READER
  if (orla::has_sse2()) return pairs_of(orla::count_delimiters_sse2(text, delimiter));
#endif
  return pairs_of(orla::count_delimiters_plain(text, delimiter));
}
