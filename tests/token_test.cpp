// Delimited tokens: the three functions, also compared with the plain version.

#include <gtest/gtest.h>
#include <orla/token.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "kit/guarded_buffer.h"
#include "plain/token.h"

namespace {

// A text that ends right before an unreadable page.
class GuardedText {
 public:
  explicit GuardedText(const std::string &text) : buffer_(text.size() + 1) {
    std::memcpy(buffer_.data(), text.c_str(), text.size() + 1);
  }
  const char *c_str() { return buffer_.data(); }

 private:
  GuardedBuffer buffer_;
};

struct TokenRow {
  const char *text;
  char delimiter;
  const char *token;  // what `out` holds afterwards
  int end;            // offset of the result; -1 for null
};

TEST(FirstToken, StandsBetweenTheFirstTwoDelimiters) {
  const TokenRow rows[] = {
      {"\"a\" \"bc\"", '"', "a", 3}, {"before \"a\"", '"', "a", 10}, {"\"\"", '"', "", 2},
      {"\"\"\"x\"", '"', "", 2},     {"|a b|", '|', "a b", 5},       {"|a\"b|c", '|', "a\"b", 5},
      {"\\\"a\\\"", '"', "a\\", 5},  // nothing escapes
      {"aba", 'a', "b", 3},          {"\xE9x\xE9", '\xE9', "x", 3},  {" \x01 \x01", '\x01', " ", 4},
  };
  for (const TokenRow &row : rows) {
    GuardedText text(row.text);
    char out[32];
    const char *end =
        get_first_delimited_token_in_string(text.c_str(), row.delimiter, out, sizeof out);
    EXPECT_EQ(end, text.c_str() + row.end) << row.text;
    EXPECT_STREQ(out, row.token) << row.text;
  }
}

TEST(FirstToken, IsMissingWithoutADelimiterAndTheBufferIsThenEmpty) {
  for (const char *content : {"", "no delimiter",
                              "a line that is longer than any block of 64 bytes,"
                              " so that all loops of the scan are run"}) {
    GuardedText text(content);
    GuardedBuffer out(8);
    EXPECT_EQ(get_first_delimited_token_in_string(text.c_str(), '"', out.data(), 8), nullptr);
    EXPECT_STREQ(out.data(), "");
    EXPECT_EQ(out.data()[1], 0x5A);
  }
}

TEST(FirstToken, WithoutAClosingDelimiterLeavesTheRestOfTheTextInTheBuffer) {
  GuardedText text("x \"rest of it");
  GuardedBuffer wide(32);
  EXPECT_EQ(get_first_delimited_token_in_string(text.c_str(), '"', wide.data(), 32), nullptr);
  EXPECT_STREQ(wide.data(), "rest of it");
  GuardedBuffer narrow(5);
  EXPECT_EQ(get_first_delimited_token_in_string(text.c_str(), '"', narrow.data(), 5), nullptr);
  EXPECT_STREQ(narrow.data(), "rest");
}

// Every buffer size against every length of token; nothing after the terminator is written.
TEST(FirstToken, KeepsWithinEveryBufferSize) {
  for (int length = 0; length <= 140; ++length) {
    const std::string token(static_cast<std::size_t>(length), 't');
    GuardedText text("gap\"" + token + "\"");
    for (int size = 1; size <= 150; ++size) {
      GuardedBuffer out(static_cast<std::size_t>(size));
      const char *end = get_first_delimited_token_in_string(text.c_str(), '"', out.data(), size);
      const int copied = std::min(length, size - 1);
      ASSERT_EQ(end, length <= size - 1 ? text.c_str() + 5 + length : nullptr)
          << length << ' ' << size;
      ASSERT_EQ(out.data(), token.substr(0, static_cast<std::size_t>(copied)));
      for (int i = copied + 1; i < size; ++i)
        ASSERT_EQ(out.data()[i], 0x5A) << length << ' ' << size << ' ' << i;
    }
  }
}

TEST(FirstToken, WithoutABufferIsFoundOnlyWhenItIsEmpty) {
  for (const int size : {0, -1, -2, INT_MIN}) {
    GuardedText empty("ab\"\"c");
    GuardedText filled("ab\"x\"");
    GuardedText open("ab\"");
    GuardedText none("ab");
    EXPECT_EQ(get_first_delimited_token_in_string(empty.c_str(), '"', nullptr, size),
              empty.c_str() + 4);
    EXPECT_EQ(get_first_delimited_token_in_string(filled.c_str(), '"', nullptr, size), nullptr);
    EXPECT_EQ(get_first_delimited_token_in_string(open.c_str(), '"', nullptr, size), nullptr);
    EXPECT_EQ(get_first_delimited_token_in_string(none.c_str(), '"', nullptr, size), nullptr);
  }
}

// No terminator follows: the page after the text is not readable.
TEST(FirstToken, ReadsNoFurtherThanTheClosingDelimiter) {
  for (const std::string content : {"\"ab\"", "\"\"", "gap \"a token\""}) {
    GuardedBuffer text(content.size());
    std::memcpy(text.data(), content.data(), content.size());
    char out[32];
    const char *end = text.data() + content.size();
    EXPECT_EQ(get_first_delimited_token_in_string(text.data(), '"', out, sizeof out), end);
    EXPECT_EQ(get_delimited_token_in_string(text.data(), 0, '"', out, sizeof out), end);
    const std::size_t opening = content.find('"');
    EXPECT_EQ(out, content.substr(opening + 1, content.size() - opening - 2));
  }
}

TEST(FirstToken, WithoutABufferReadsNoFurtherThanTheFirstCharacterOfTheToken) {
  GuardedBuffer text(2);
  std::memcpy(text.data(), "\"a", 2);
  EXPECT_EQ(get_first_delimited_token_in_string(text.data(), '"', nullptr, 0), nullptr);
  std::memcpy(text.data(), "\"\"", 2);
  EXPECT_EQ(get_first_delimited_token_in_string(text.data(), '"', nullptr, 0), text.data() + 2);
}

TEST(FirstToken, ReadsNoFurtherThanTheCopyLimit) {
  // No terminator follows: the scan has to end on the character at the limit.
  GuardedBuffer text(1 + 8, 'x');
  text.data()[0] = '"';
  char out[8];
  EXPECT_EQ(get_first_delimited_token_in_string(text.data(), '"', out, sizeof out), nullptr);
  EXPECT_STREQ(out, "xxxxxxx");
}

TEST(FirstToken, ChainsThroughALine) {
  const char *rest = "\"alpha\" , \"\" and \"two words\" \"open";
  char out[32];
  std::vector<std::string> tokens;
  while ((rest = get_first_delimited_token_in_string(rest, '"', out, sizeof out)) != nullptr)
    tokens.push_back(out);
  EXPECT_EQ(tokens, (std::vector<std::string>{"alpha", "", "two words"}));
}

TEST(TokenByIndex, IsFoundAfterOthersOnlyWhenTheseAreAllEmpty) {
  const char *const kept = "as it was";
  struct {
    const char *text;
    short index;
    const char *out;  // afterwards
    int end;          // offset of the result; -1 for null
  } const rows[] = {
      {"\"a\" \"bc\"", 0, "a", 3},  // zero or less is the first
      {"\"a\" \"bc\"", -1, "a", 3},
      {"\"a\" \"bc\"", SHRT_MIN, "a", 3},
      {"\"a\" \"bc\"", 1, kept, -1},  // after one that is not empty
      {"\"\"\"x\"", 1, "x", 5},       // after empty ones
      {"\"\" \"\" - \"third\"", 2, "third", 15},
      {"\"\"\"\"", 3, kept, -1},  // past the last
      {"\"\"", SHRT_MAX, kept, -1},
      {"\"\"", 1, "", -1},     // right after the last, where one is looked for
      {nullptr, 0, kept, -1},  // in no text
      {nullptr, 3, kept, -1},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(testing::Message() << row.index << " of " << testing::PrintToString(row.text));
    char out[32] = "as it was";
    EXPECT_EQ(get_delimited_token_in_string(row.text, row.index, '"', out, sizeof out),
              row.end < 0 ? nullptr : row.text + row.end);
    EXPECT_STREQ(out, row.out);
  }
}

TEST(TokenByIndex, ReachesTheLargestIndex) {
  const std::string text = std::string(2 * SHRT_MAX, '"') + "\"x\"";
  char out[2];
  EXPECT_EQ(get_delimited_token_in_string(text.c_str(), SHRT_MAX, '"', out, sizeof out),
            text.c_str() + text.size());
  EXPECT_STREQ(out, "x");
}

TEST(TokenByIndex, WithoutABufferIsFoundOnlyWhenItIsEmpty) {
  const char *text = "\"\"\"\"\"x\"";
  EXPECT_EQ(get_delimited_token_in_string(text, 1, '"', nullptr, 0), text + 4);
  EXPECT_EQ(get_delimited_token_in_string(text, 2, '"', nullptr, -1), nullptr);
}

TEST(TokenCount, IsTheNumberOfCompletePairs) {
  struct {
    const char *text;
    short count;
  } const rows[] = {
      {"\"a\" \"bc\"", 2},    {"", 0}, {"none", 0}, {"\"", 0}, {"\"\"", 1}, {"\"\"\"", 1},
      {"a\"b\"c\"d\"e\"", 2},
  };
  for (const auto &row : rows) {
    GuardedText text(row.text);
    EXPECT_EQ(count_delimited_tokens_in_string(text.c_str(), '"'), row.count) << row.text;
  }
}

TEST(TokenCount, ComparesTheDelimiterAsAPlainCharacter) {
  EXPECT_EQ(count_delimited_tokens_in_string("\xE9 \xE9", '\xE9'), 1);
  EXPECT_EQ(count_delimited_tokens_in_string("\"a\"", '\''), 0);
}

TEST(TokenCount, CountsDelimitersInSixteenSignedBits) {
  struct {
    std::size_t delimiters;
    short count;
  } const rows[] = {
      {32766, 16383}, {32767, 16383}, {32768, -16384}, {32769, -16383}, {65534, -1},
      {65535, 0},     {65536, 0},     {65538, 1},      {70000, 2232},
  };
  for (const auto &row : rows) {
    GuardedText text(std::string(row.delimiters, '|'));
    EXPECT_EQ(count_delimited_tokens_in_string(text.c_str(), '|'), row.count) << row.delimiters;
  }
}

// Texts of few characters, so that delimiters are frequent.
TEST(Token, EqualsThePlainWayOnRandomTexts) {
  std::mt19937 random(20071231);
  for (int round = 0; round < 20000; ++round) {
    std::string content(random() % 300, '\0');
    const auto rarity = 1 + random() % 150;
    for (char &c : content) {
      c = random() % rarity == 0 ? '"' : static_cast<char>('a' + random() % 26);
    }
    GuardedText text(content);
    const int size = static_cast<int>(random() % 320) - 2;
    std::vector<char> ours(320, 'o');
    std::vector<char> expected(320, 'o');
    ASSERT_EQ(get_first_delimited_token_in_string(text.c_str(), '"', ours.data(), size),
              plain::first_token(text.c_str(), '"', expected.data(), size))
        << content << ' ' << size;
    ASSERT_EQ(ours, expected) << content << ' ' << size;
    ASSERT_EQ(count_delimited_tokens_in_string(text.c_str(), '"'), plain::token_count(content, '"'))
        << content;
  }
}

TEST(Token, IsNeverFoundWithAZeroByteForADelimiter) {
  for (const char *content : {"", "a", "\"a\""}) {
    GuardedText text(content);
    char out[8] = "was";
    EXPECT_EQ(get_first_delimited_token_in_string(text.c_str(), '\0', out, sizeof out), nullptr);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(get_first_delimited_token_in_string(text.c_str(), '\0', nullptr, 0), nullptr);
    EXPECT_EQ(count_delimited_tokens_in_string(text.c_str(), '\0'), 0);
  }
}

TEST(Token, IsNotFoundByAnIndexWithAZeroByteForADelimiter) {
  for (const short index : {short{0}, short{1}, short{2}, short{SHRT_MAX}}) {
    GuardedText text("\"a\"");
    char out[8] = "was";
    EXPECT_EQ(get_delimited_token_in_string(text.c_str(), index, '\0', out, sizeof out), nullptr);
    // A token that is skipped leaves the buffer as it was.
    EXPECT_STREQ(out, index == 0 ? "" : "was") << index;
  }
}

// The buffer is emptied before the text is looked at, and filled while it is read.
TEST(Token, IsReadIntoItsOwnTextCharacterByCharacter) {
  const std::string content = "..gap\"a token\" and \"more\"";
  constexpr std::size_t kText = 2;
  for (std::size_t out = 0; out < content.size(); ++out) {
    const int room = static_cast<int>(content.size() - out);
    for (int size = 1; size <= room; ++size) {
      std::string ours = content;
      std::string expected = content;
      const char *end =
          get_first_delimited_token_in_string(ours.data() + kText, '"', ours.data() + out, size);
      const char *plain_end =
          plain::first_token(expected.data() + kText, '"', expected.data() + out, size);
      ASSERT_EQ(ours, expected) << out << ' ' << size;
      const bool same_end =
          end == nullptr ? plain_end == nullptr : end - ours.data() == plain_end - expected.data();
      ASSERT_TRUE(same_end) << out << ' ' << size;
    }
  }
}

TEST(Token, MovesToTheFrontOfItsText) {
  char text[] = "x \"token\" rest";
  // The first character goes before the search, so the text begins after it.
  EXPECT_EQ(get_first_delimited_token_in_string(text + 1, '"', text, 8), text + 9);
  EXPECT_STREQ(text, "token");
  char same[] = "\"token\"";
  EXPECT_EQ(get_first_delimited_token_in_string(same, '"', same, 8), nullptr);
  EXPECT_STREQ(same, "");
}

}  // namespace
