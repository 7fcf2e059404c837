// Delimited tokens, walked character by character.
//
//     delimiter, index / buffer size / text: "0 / 32 / then a line feed and the text

#include <orla/token.h>

#include <cstdint>
#include <string>

#include "kit/agree.h"
#include "kit/block.h"
#include "kit/input.h"
#include "kit/target.h"

namespace {

constexpr int kLargestBuffer = 600;
constexpr long kNone = -1;

// Where the search goes on, counted from the start of the text; kNone without a token. `out` is the
// whole buffer, empty for a size of 0 or less.
long first_plainly(const std::string &text, long start, char delimiter, std::string &out) {
  auto at = static_cast<std::size_t>(start);
  const std::size_t limit = out.empty() ? 0 : out.size() - 1;
  if (!out.empty()) out[0] = '\0';
  while (at < text.size() && text[at] != delimiter)
    ++at;
  if (at == text.size()) return kNone;
  ++at;
  std::size_t copied = 0;
  while (at < text.size() && text[at] != delimiter && copied < limit)
    out[copied++] = text[at++];
  if (!out.empty()) out[copied] = '\0';
  return at < text.size() && text[at] == delimiter ? static_cast<long>(at + 1) : kNone;
}

long indexed_plainly(const std::string &text, short index, char delimiter, std::string &out) {
  long at = 0;
  for (short skipped = 0; at != kNone && skipped < index; ++skipped) {
    std::string none;
    at = first_plainly(text, at, delimiter, none);
  }
  return at != kNone ? first_plainly(text, at, delimiter, out) : kNone;
}

short count_plainly(const std::string &text, char delimiter) {
  std::uint16_t count = 0;
  for (const char c : text)
    count = static_cast<std::uint16_t>(count + (c == delimiter));
  return static_cast<short>(static_cast<std::int16_t>(count) / 2);
}

long position(const char *text, const char *found) {
  return found != nullptr ? static_cast<long>(found - text) : kNone;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size == 0) return 0;
  const char delimiter = static_cast<char>(data[0]);
  Input input(data + 1, size - 1);
  const auto index = static_cast<short>(input.number(INT16_MIN, INT16_MAX));
  const int out_size = input.number(-2, kLargestBuffer);
  const std::string plain = input.text();
  Text text(plain);

  const auto held = static_cast<std::size_t>(out_size > 0 ? out_size : 0);
  Block out(held);
  std::string expected = out.bytes();
  agree("first",
        position(text, get_first_delimited_token_in_string(text, delimiter, out.data(), out_size)),
        first_plainly(plain, 0, delimiter, expected));
  agree("first token", out.bytes(), expected);

  Block indexed_out(held);
  expected = indexed_out.bytes();
  agree("indexed",
        position(text, get_delimited_token_in_string(text, index, delimiter, indexed_out.data(),
                                                     out_size)),
        indexed_plainly(plain, index, delimiter, expected));
  agree("indexed token", indexed_out.bytes(), expected);

  agree("count", count_delimited_tokens_in_string(text, delimiter),
        count_plainly(plain, delimiter));
  return 0;
}
