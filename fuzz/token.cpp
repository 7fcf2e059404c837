// Delimited tokens.
//
//     delimiter, index / buffer size / text: "0 / 32 / then a line feed and the text

#include <orla/token.h>

#include <cstdint>
#include <string>

#include "helpers/agree.h"
#include "helpers/block.h"
#include "helpers/input.h"
#include "helpers/target.h"
#include "plain/token.h"

namespace {

constexpr int kLargestBuffer = 600;
constexpr long kNone = -1;

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
  const std::string plain_text = input.text();
  Text text(plain_text);

  const auto held = static_cast<std::size_t>(out_size > 0 ? out_size : 0);
  Block out(held);
  Block expected(held);
  agree("first",
        position(text, get_first_delimited_token_in_string(text, delimiter, out.data(), out_size)),
        position(text, plain::first_token(text, delimiter, expected.data(), out_size)));
  agree("first token", out.bytes(), expected.bytes());

  Block indexed_out(held);
  Block indexed_expected(held);
  agree("indexed",
        position(text, get_delimited_token_in_string(text, index, delimiter, indexed_out.data(),
                                                     out_size)),
        position(text, plain::token_at(text, index, delimiter, indexed_expected.data(), out_size)));
  agree("indexed token", indexed_out.bytes(), indexed_expected.bytes());

  agree("count", count_delimited_tokens_in_string(text, delimiter),
        plain::token_count(plain_text, delimiter));
  return 0;
}
