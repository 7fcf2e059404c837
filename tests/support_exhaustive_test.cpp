// Small domains of tokens, byte order and the trace writer's messages, tested completely.

#include <gtest/gtest.h>
#include <orla/byteorder.h>
#include <orla/time.h>
#include <orla/token.h>
#include <orla/trace.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "fakes/clock.h"
#include "kit/converters.h"
#include "kit/environment.h"
#include "kit/temp_dir.h"
#include "plain/percent_text.h"

namespace {

TEST(LongEveryValue, Of32BitsIsReversed) {
  std::uint32_t value = 0;
  do {
    const std::uint32_t expected =
        value << 24 | (value & 0xFF00) << 8 | (value >> 8 & 0xFF00) | value >> 24;
    const bool right = htonl(value) == expected && ntohl(value) == expected;
    ASSERT_TRUE(right) << value;
  } while (++value != 0);
}

TEST(EveryDelimiter, MakesATokenOfAnyByteBetweenTwoOfIt) {
  for (int delimiter = 1; delimiter < 256; ++delimiter) {
    for (int byte = 1; byte < 256; ++byte) {
      const char d = static_cast<char>(delimiter);
      const char text[] = {d, static_cast<char>(byte), d, d, '\0'};
      char out[4] = "xxx";
      const char *rest = get_first_delimited_token_in_string(text, d, out, sizeof out);
      const bool empty = byte == delimiter;
      ASSERT_EQ(rest, text + (empty ? 2 : 3)) << delimiter << ' ' << byte;
      ASSERT_STREQ(out, empty ? "" : std::string(1, text[1]).c_str());
      ASSERT_EQ(count_delimited_tokens_in_string(text, d), empty ? 2 : 1);
    }
  }
}

// Three empty tokens and a last one; past those there is none.
TEST(EveryIndex, Of16BitsFindsATokenAfterEmptyOnesAlone) {
  const std::string text = "''''''-'last'";
  for (int index = -32768; index <= 32767; ++index) {
    char out[8] = "kept";
    const char *rest =
        get_delimited_token_in_string(text.c_str(), static_cast<short>(index), '\'', out, 8);
    if (index < 3) {
      ASSERT_EQ(rest - text.c_str(), index <= 0 ? 2 : 2 + 2 * index) << index;
      ASSERT_STREQ(out, "");
    } else if (index == 3) {
      ASSERT_EQ(rest, text.c_str() + text.size());
      ASSERT_STREQ(out, "last");
    } else {
      ASSERT_EQ(rest, nullptr) << index;
      ASSERT_STREQ(out, "kept");
    }
  }
}

TEST(LongEveryCount, Of16BitsIsHalvedAsASignedNumber) {
  constexpr int kMost = 65536 + 2;
  const std::string text(kMost, '"');
  for (int count = 0; count <= kMost; ++count) {
    const int wrapped = count % 65536 < 32768 ? count % 65536 : count % 65536 - 65536;
    ASSERT_EQ(count_delimited_tokens_in_string(text.c_str() + (kMost - count), '"'), wrapped / 2)
        << count;
  }
}

constexpr int kError = EACCES;

// A failure shows where the two begin to differ, not megabytes of text.
void expect_same(const std::string &got, const std::string &expected) {
  const auto parting = std::mismatch(got.begin(), got.end(), expected.begin(), expected.end());
  const auto at = static_cast<std::size_t>(parting.first - got.begin());
  const std::size_t before = at < 40 ? at : 40;
  EXPECT_TRUE(got == expected) << testing::PrintToString(got.substr(at - before, 80)) << " is not "
                               << testing::PrintToString(expected.substr(at - before, 80));
}

// Calls `check` with every two bytes, and with every two after a percent sign.
template <typename Check>
void for_every_message(Check check) {
  for (int first = 1; first < 256; ++first) {
    for (int second = 1; second < 256; ++second) {
      const std::string pair = {static_cast<char>(first), static_cast<char>(second)};
      check(pair);
      check("%" + pair);
    }
  }
}

TEST(EveryMessage, OfTwoBytesAndEveryPairAfterAPercentSignIsTraced) {
  const TempDir folder;
  const WithVariable path("K7LOG_PATH", folder.path("trace").c_str());
  const WithZone zone(kNewYork);
  const ClockAt clock(1170511507);  // 2007-02-03 09:05:07 in New York
  const std::string stamp = "02/03/2007  9:05:07 " + std::to_string(getpid()) + " ";
  orlalib_verbose = 255;
  std::string expected;
  int round = 0;
  // The file is emptied now and then, so that it is never rotated.
  for_every_message([&](std::string message) {
    expected += stamp + plain::percent_text(message, kError);
    errno = kError;
    TavTrace(message.data());
    if (++round % 65536 != 0) return;
    TavTrace(nullptr);
    expect_same(folder.read("trace"), expected);
    ASSERT_EQ(truncate(folder.path("trace").c_str(), 0), 0);
    expected.clear();
  });
  expect_same(folder.read("trace"), expected);
  EXPECT_FALSE(folder.holds("trace.1"));
}

TEST(EveryPrefix, OfTwoBytesAndEveryPairAfterAPercentSignIsPrintedBeforeTheDate) {
  char *text = nullptr;
  std::size_t size = 0;
  std::FILE *stream = open_memstream(&text, &size);
  std::string expected;
  for_every_message([&](const std::string &prefix) {
    const std::string line = plain::percent_text(prefix, kError) + "12/28/1986\n";
    expected += line;
    errno = kError;
    ASSERT_EQ(fprint_date_line(stream, 0, prefix.c_str()), static_cast<int>(line.size()));
  });
  std::fclose(stream);
  expect_same({text, size}, expected);
  std::free(text);
}

}  // namespace
