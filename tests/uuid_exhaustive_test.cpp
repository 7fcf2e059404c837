// Small domains of UUIDs, tested completely: every byte at every position of a text, every reserved
// number.

#include <gtest/gtest.h>
#include <orla/uuid.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>

#include "kit/guarded_buffer.h"
#include "kit/uuid.h"
#include "plain/uuid.h"

namespace {

constexpr std::size_t kLength = ORLA_UUID_TEXT_SIZE - 1;

// Decodes texts that end right before an unreadable page.
class Decoder {
 public:
  explicit Decoder(const char *text) : buffer_(kLength + 1) {
    std::memcpy(buffer_.data(), text, kLength + 1);
  }

  char *text() { return buffer_.data(); }

  void expect_what_the_plain_rules_say() {
    const std::optional<k7_uuid__t> expected = plain::read_uuid_text(text());
    accepted_ += expected.has_value();
    const k7_uuid__t before = filled(0xA5);
    k7_uuid__t got = before;
    orla_status status = 0x12345678;
    orla_uuid_decode(text(), &got, &status);
    ASSERT_EQ(status, expected ? 0 : ORLA_UUID_MALFORMED) << shown();
    ASSERT_EQ(bytes_of(got), bytes_of(expected ? *expected : before)) << shown();
  }

  // How many of the texts were UUIDs.
  int accepted() const { return accepted_; }

 private:
  std::string shown() { return testing::PrintToString(std::string(text(), kLength)); }

  GuardedBuffer buffer_;
  int accepted_ = 0;
};

// One without a zero, so that no "0x" can arise, and one with many.
constexpr const char *kTexts[] = {"123456789abc.de.f1.23.45.67.89.ab.cd",
                                  "d0f7b2fc0064.82.0a.00.02.03.00.00.00"};

class EveryByteOfAText : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(OfEitherText, EveryByteOfAText, testing::Range(0, 2));

TEST_P(EveryByteOfAText, AtEveryPositionIsReadByTheRulesOrLeavesTheRecord) {
  Decoder decoder(kTexts[GetParam()]);
  for (std::size_t at = 0; at < kLength; ++at) {
    const char kept = decoder.text()[at];
    for (int byte = 0; byte < 256; ++byte) {
      decoder.text()[at] = static_cast<char>(byte);
      ASSERT_NO_FATAL_FAILURE(decoder.expect_what_the_plain_rules_say());
    }
    decoder.text()[at] = kept;
  }
  // Each of the 28 digits may be any of 22 characters, each of the 8 dots only a dot.
  EXPECT_GE(decoder.accepted(), 28 * 22 + 8);
}

class EveryTwoBytesOfAText : public EveryByteOfAText {};
INSTANTIATE_TEST_SUITE_P(Long, EveryTwoBytesOfAText, testing::Range(0, 2));

TEST_P(EveryTwoBytesOfAText, SideBySideAreReadByTheRulesOrLeaveTheRecord) {
  Decoder decoder(kTexts[GetParam()]);
  for (std::size_t at = 0; at + 1 < kLength; ++at) {
    char *const pair = decoder.text() + at;
    const char kept[2] = {pair[0], pair[1]};
    for (int first = 0; first < 256; ++first) {
      for (int second = 0; second < 256; ++second) {
        pair[0] = static_cast<char>(first);
        pair[1] = static_cast<char>(second);
        ASSERT_NO_FATAL_FAILURE(decoder.expect_what_the_plain_rules_say());
      }
    }
    std::memcpy(pair, kept, sizeof kept);
  }
}

k7_uuid__t with_byte(std::size_t at, int byte, std::uint8_t filling) {
  UuidBytes bytes;
  bytes.fill(filling);
  bytes[at] = static_cast<std::uint8_t>(byte);
  return uuid_of(bytes);
}

TEST(EveryByteOfARecord, StandsInTheText) {
  for (std::size_t at = 0; at < sizeof(k7_uuid__t); ++at) {
    for (int byte = 0; byte < 256; ++byte) {
      for (const std::uint8_t filling : {std::uint8_t{0}, std::uint8_t{0x5A}}) {
        const k7_uuid__t uuid = with_byte(at, byte, filling);
        ASSERT_EQ(text_of(uuid), plain::uuid_text(uuid));
      }
    }
  }
}

int sign(int order) { return order < 0 ? -1 : order > 0 ? 1 : 0; }

TEST(EveryTwoBytesOfTwoRecords, OrderThemAtEveryPosition) {
  for (std::size_t at = 0; at < sizeof(k7_uuid__t); ++at) {
    for (int first = 0; first < 256; ++first) {
      const k7_uuid__t a = with_byte(at, first, 0x5A);
      for (int second = 0; second < 256; ++second) {
        const k7_uuid__t b = with_byte(at, second, 0x5A);
        const int expected = plain::uuid_order(a, b);
        const bool right = sign(orla_uuid_cmp(&a, &b)) == expected &&
                           orla_uuid_equal(&a, &b) == (expected == 0 ? 1 : 0);
        ASSERT_TRUE(right) << at << ": " << first << ' ' << second;
      }
    }
  }
}

TEST(EveryReservedNumber, ComesBackOutOfTheTextOfItsRecord) {
  for (unsigned number = 0; number < 65536; ++number) {
    k7_uuid__t uuid = filled(0xA5);
    orla_reserved_uuid_inflate(&uuid, 0x01234567, 0x89AB, static_cast<std::uint16_t>(number));
    ASSERT_EQ(uuid.reserved, number);
    ASSERT_EQ(uuid.family, 0x99);
    k7_uuid__t back = filled(0x5A);
    orla_status status = 1;
    orla_uuid_decode(text_of(uuid).c_str(), &back, &status);
    ASSERT_EQ(status, 0U);
    ASSERT_EQ(bytes_of(back), bytes_of(uuid));
  }
}

// A record whose words fold to each 16-bit value, into the bucket that the division leaves.
TEST(EveryHashBeforeItsModulus, IsTheFoldOfTheFourWords) {
  for (unsigned folded = 0; folded < 65536; ++folded) {
    k7_uuid__t uuid = {};
    uuid.time_high = folded | 0xA5A50000U;
    const unsigned expected = folded ^ 0xA5A5U;
    ASSERT_EQ(orla_uuid_hash(&uuid, 65536), expected);
    ASSERT_EQ(orla_uuid_hash(&uuid, 101), expected % 101);
    ASSERT_EQ(orla_uuid_hash(&uuid, folded + 1), expected % (folded + 1));
  }
}

}  // namespace
