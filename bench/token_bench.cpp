// Delimited tokens, beside two memchr() calls over the same text: those find the two delimiters, given
// the text's length, and copy nothing.

#include <orla/token.h>

#include <cstring>
#include <string>
#include <vector>

#include "harness.h"

namespace {

constexpr char kQuote = '"';

void read_token(std::size_t before, std::size_t length) {
  const std::string text = std::string(before, '.') + kQuote + std::string(length, 'x') + "\" rest";
  std::vector<char> out(length + 1);
  bench::Table table("A token of " + std::to_string(length) + " characters behind " +
                     std::to_string(before));
  table.row("memchr, twice", [&](long n) {
    const char *start = text.c_str();
    for (; n > 0; --n) {
      bench::keep(start);
      const auto *open = static_cast<const char *>(std::memchr(start, kQuote, text.size()));
      const std::size_t rest = text.size() - static_cast<std::size_t>(open + 1 - start);
      bench::keep(std::memchr(open + 1, kQuote, rest));
    }
  });
  table.row("get_first_delimited_token_in_string", [&](long n) {
    const char *start = text.c_str();
    for (; n > 0; --n) {
      bench::keep(start);
      bench::keep(get_first_delimited_token_in_string(start, kQuote, out.data(),
                                                      static_cast<int>(out.size())));
    }
  });
}

long count_with_strchr(const char *text) {
  long count = 0;
  while ((text = std::strchr(text, kQuote)) != nullptr) {
    ++count;
    ++text;
  }
  return count / 2;
}

long count_with_memchr(const char *text, std::size_t size) {
  const char *end = text + size;
  long count = 0;
  while ((text = static_cast<const char *>(
              std::memchr(text, kQuote, static_cast<std::size_t>(end - text)))) != nullptr) {
    ++count;
    ++text;
  }
  return count / 2;
}

void count_tokens(std::size_t length) {
  std::string text;
  for (int i = 0; i < 10; ++i)
    text += kQuote + std::string(length, 'x') + "\" ";
  bench::Table table("Counting ten tokens of " + std::to_string(length) + " characters");
  table.row("memchr from delimiter to delimiter", [&](long n) {
    for (; n > 0; --n)
      bench::keep(count_with_memchr(text.c_str(), text.size()));
  });
  table.row("strchr from delimiter to delimiter", [&](long n) {
    for (; n > 0; --n)
      bench::keep(count_with_strchr(text.c_str()));
  });
  table.row("count_delimited_tokens_in_string", [&](long n) {
    for (; n > 0; --n)
      bench::keep(count_delimited_tokens_in_string(text.c_str(), kQuote));
  });
}

}  // namespace

int main() {
  read_token(1, 4);
  read_token(1, 12);
  read_token(1, 30);
  read_token(20, 20);
  read_token(8, 100);
  read_token(100, 1000);
  read_token(10, 60000);
  count_tokens(10);
  count_tokens(100);
}
