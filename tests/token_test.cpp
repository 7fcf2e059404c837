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

TEST(FirstToken, OfExactlyTheCopyLimitIsAcceptedWhole) {
  const std::string token31(31, 'x');
  GuardedText text('"' + token31 + '"');
  GuardedBuffer out(32);
  EXPECT_EQ(get_first_delimited_token_in_string(text.c_str(), '"', out.data(), 32),
            text.c_str() + 33);
  EXPECT_EQ(out.data(), token31);
}

TEST(FirstToken, OverTheCopyLimitIsCutAndTheResultNull) {
  GuardedText text('"' + std::string(32, 'x') + '"');
  GuardedBuffer out(32);
  EXPECT_EQ(get_first_delimited_token_in_string(text.c_str(), '"', out.data(), 32), nullptr);
  EXPECT_EQ(out.data(), std::string(31, 'x'));
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

TEST(FirstToken, WithASizeOfZeroOrLessNeverTouchesTheBuffer) {
  for (const int size : {0, -1, INT_MIN}) {
    char out = 'o';
    get_first_delimited_token_in_string("\"\"", '"', &out, size);
    get_first_delimited_token_in_string("\"x\"", '"', &out, size);
    EXPECT_EQ(out, 'o');
  }
}

TEST(FirstToken, OfABufferOfOneByteIsFoundOnlyWhenItIsEmpty) {
  GuardedBuffer out(1);
  EXPECT_EQ(get_first_delimited_token_in_string("\"x\"", '"', out.data(), 1), nullptr);
  EXPECT_EQ(out.data()[0], '\0');
  const char *empty = "\"\"";
  EXPECT_EQ(get_first_delimited_token_in_string(empty, '"', out.data(), 1), empty + 2);
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

TEST(FirstToken, ChainsThroughTheLineOfTheHeader) {
  const char *line = "\"alpha\" \"\" \"two words\"";
  EXPECT_EQ(count_delimited_tokens_in_string(line, '"'), 3);
  const char *rest = line;
  char field[32];
  std::vector<std::string> tokens;
  while ((rest = get_first_delimited_token_in_string(rest, '"', field, sizeof field)) != nullptr)
    tokens.push_back(field);
  EXPECT_EQ(tokens, (std::vector<std::string>{"alpha", "", "two words"}));
}

TEST(TokenByIndex, ZeroOrNegativeIsTheFirst) {
  const char *text = "\"a\" \"bc\"";
  for (const int index : {0, -1, SHRT_MIN}) {
    char out[32];
    const char *end =
        get_delimited_token_in_string(text, static_cast<short>(index), '"', out, sizeof out);
    EXPECT_EQ(end, text + 3);
    EXPECT_EQ(*end, ' ');
    EXPECT_STREQ(out, "a");
  }
}

TEST(TokenByIndex, AfterATokenThatIsNotEmptyIsNotFoundAndTheBufferStays) {
  char out[32] = "as it was";
  EXPECT_EQ(get_delimited_token_in_string("\"a\" \"bc\"", 1, '"', out, sizeof out), nullptr);
  EXPECT_STREQ(out, "as it was");
}

TEST(TokenByIndex, AfterEmptyTokensAloneIsFound) {
  const char *text = "\"\"\"x\"";
  char out[32];
  EXPECT_EQ(get_delimited_token_in_string(text, 1, '"', out, sizeof out), text + 5);
  EXPECT_STREQ(out, "x");
  const char *third = "\"\" \"\" - \"third\"";
  EXPECT_EQ(get_delimited_token_in_string(third, 2, '"', out, sizeof out), third + 16 - 1);
  EXPECT_STREQ(out, "third");
}

TEST(TokenByIndex, PastTheLastTokenIsNotFoundAndTheBufferStays) {
  char out[32] = "as it was";
  EXPECT_EQ(get_delimited_token_in_string("\"\"\"\"", 3, '"', out, sizeof out), nullptr);
  EXPECT_STREQ(out, "as it was");
  EXPECT_EQ(get_delimited_token_in_string("\"\"", SHRT_MAX, '"', out, sizeof out), nullptr);
  EXPECT_STREQ(out, "as it was");
}

TEST(TokenByIndex, RightAfterTheLastTokenEmptiesTheBuffer) {
  char out[32] = "as it was";
  EXPECT_EQ(get_delimited_token_in_string("\"\"", 1, '"', out, sizeof out), nullptr);
  EXPECT_STREQ(out, "");
}

TEST(TokenByIndex, ReachesTheLargestIndex) {
  const std::string text = std::string(2 * SHRT_MAX, '"') + "\"x\"";
  char out[2];
  EXPECT_EQ(get_delimited_token_in_string(text.c_str(), SHRT_MAX, '"', out, sizeof out),
            text.c_str() + text.size());
  EXPECT_STREQ(out, "x");
}

TEST(TokenByIndex, OfANullTextIsNull) {
  char out[4] = "was";
  EXPECT_EQ(get_delimited_token_in_string(nullptr, 0, '"', out, sizeof out), nullptr);
  EXPECT_EQ(get_delimited_token_in_string(nullptr, 3, '"', out, sizeof out), nullptr);
  EXPECT_STREQ(out, "was");
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

TEST(Token, EqualsThePlainWayForEveryByteAsDelimiter) {
  std::string content;
  for (int round = 0; round < 2; ++round) {
    for (int c = 1; c <= 255; ++c)
      content += static_cast<char>(c);
  }
  for (int c = 1; c <= 255; ++c) {
    const char delimiter = static_cast<char>(c);
    char ours[300] = {};
    char expected[300] = {};
    EXPECT_EQ(get_first_delimited_token_in_string(content.c_str(), delimiter, ours, sizeof ours),
              plain::first_token(content.c_str(), delimiter, expected, sizeof expected))
        << c;
    EXPECT_STREQ(ours, expected) << c;
    EXPECT_EQ(count_delimited_tokens_in_string(content.c_str(), delimiter), 1) << c;
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

// A text may end anywhere in its page, and begin anywhere: the byte before it is not its own.
TEST(Token, TakesNoCharacterBeforeTheText) {
  for (std::size_t start = 1; start <= 80; ++start) {
    std::string content(start, '"');
    content += "a\"b\"";
    char out[8];
    const char *text = content.c_str() + start;
    EXPECT_EQ(get_first_delimited_token_in_string(text, '"', out, sizeof out), text + 4);
    EXPECT_STREQ(out, "b");
    EXPECT_EQ(count_delimited_tokens_in_string(text, '"'), 1);
  }
}

}  // namespace
