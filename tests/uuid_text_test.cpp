// The text form: writing, reading, and that any text is read as sscanf() reads it.

#include <gtest/gtest.h>
#include <orla/uuid.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "kit/guarded_buffer.h"
#include "kit/uuid.h"
#include "plain/uuid.h"
#include "uuid/uuid_text.h"

namespace {

constexpr orla_status kUntouchedStatus = 0x12345678;

// The text is followed by an unreadable page, so that a byte read after the terminator ends the
// test.
struct Decoded {
  orla_status status = kUntouchedStatus;
  k7_uuid__t uuid = filled(0xA5);
};

Decoded decode(const std::string &text) {
  GuardedBuffer buffer(text.size() + 1);
  std::memcpy(buffer.data(), text.c_str(), text.size() + 1);
  Decoded decoded;
  orla_uuid_decode(buffer.data(), &decoded.uuid, &decoded.status);
  return decoded;
}

void expect_malformed(const std::string &text) {
  const Decoded decoded = decode(text);
  EXPECT_EQ(decoded.status, 0xFFFFFFFF) << text;
  EXPECT_EQ(bytes_of(decoded.uuid), bytes_of(filled(0xA5))) << text;
}

void expect_decodes(const std::string &text, const k7_uuid__t &uuid) {
  const Decoded decoded = decode(text);
  EXPECT_EQ(decoded.status, 0U) << text;
  EXPECT_EQ(bytes_of(decoded.uuid), bytes_of(uuid)) << text;
}

TEST(UuidEncode, Writes36CharactersAndATerminatorAndNothingMore) {
  GuardedBuffer text(ORLA_UUID_TEXT_SIZE);
  EXPECT_EQ(orla_uuid_encode(&kExample, text.data()), 36);
  EXPECT_STREQ(text.data(), kExampleText);
}

TEST(UuidEncode, OfNilIsZeros) {
  EXPECT_EQ(text_of(k7_uuid__nil), "000000000000.00.00.00.00.00.00.00.00");
}

TEST(UuidEncode, WritesLowerCase) {
  const k7_uuid__t uuid = {0xABCDEF01, 0xFEDC, 0, 0xAB, {0xCD, 0xEF, 0xBA, 0xDC, 0xFE, 0xAA, 0xFF}};
  EXPECT_EQ(text_of(uuid), "abcdef01fedc.ab.cd.ef.ba.dc.fe.aa.ff");
}

TEST(UuidEncode, EndsWithReservedLowByteFirstWhereItIsNotZero) {
  k7_uuid__t uuid = kExample;
  uuid.reserved = 0x1234;
  EXPECT_EQ(text_of(uuid), "d0f7b2fc0064.82.0a.00.02.03.00.34.12");
  uuid.reserved = 0x1200;
  EXPECT_EQ(text_of(uuid), "d0f7b2fc0064.82.0a.00.02.03.00.00.12");
  uuid.reserved = 0x0034;
  EXPECT_EQ(text_of(uuid), "d0f7b2fc0064.82.0a.00.02.03.00.34.00");
}

TEST(UuidEncode, EndsWithHostBytes5And6WhereReservedIsZero) {
  const k7_uuid__t uuid = {1, 2, 0, 3, {4, 5, 6, 7, 8, 9, 10}};
  EXPECT_EQ(text_of(uuid), "000000010002.03.04.05.06.07.08.09.0a");
}

TEST(UuidEncode, LeavesHostBytes5And6OutWhereReservedIsNotZero) {
  const k7_uuid__t uuid = {1, 2, 0x0B0C, 3, {4, 5, 6, 7, 8, 9, 10}};
  EXPECT_EQ(text_of(uuid), "000000010002.03.04.05.06.07.08.0c.0b");
}

TEST(UuidEncode, WritesWhatFormattedOutputDoesForEveryByteAndAMillionRandomRecords) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    const k7_uuid__t uuid = filled(static_cast<std::uint8_t>(byte));
    ASSERT_EQ(text_of(uuid), plain::uuid_text(uuid));
  }
  Random random(3);
  for (int i = 0; i < 1000000; ++i) {
    k7_uuid__t uuid = random_uuid(random);
    if (random.below(2) == 0) uuid.reserved = 0;
    ASSERT_EQ(text_of(uuid), plain::uuid_text(uuid));
  }
}

TEST(UuidDecode, ReadsTheExample) { expect_decodes(kExampleText, kExample); }

TEST(UuidDecode, ReadsEveryDigitInEitherCase) {
  for (const char digit : std::string("0123456789abcdefABCDEF")) {
    std::string text(36, digit);
    for (std::size_t dot = 12; dot < text.size(); dot += 3)
      text[dot] = '.';
    const std::optional<k7_uuid__t> uuid = orla::read_canonical_uuid_text(text.c_str());
    ASSERT_TRUE(uuid) << text;
    const auto value = static_cast<std::uint32_t>(std::stoul(std::string(1, digit), nullptr, 16));
    EXPECT_EQ(uuid->time_high, 0x11111111U * value) << text;
    EXPECT_EQ(uuid->family, 0x11 * value) << text;
  }
}

TEST(UuidDecode, ReadsUpperCaseAsLowerCase) {
  expect_decodes("D0F7B2FC0064.82.0A.00.02.03.00.00.00", kExample);
  expect_decodes("d0F7b2Fc0064.82.0A.00.02.03.00.00.00", kExample);
}

TEST(UuidDecode, ReadsNil) { expect_decodes("000000000000.00.00.00.00.00.00.00.00", k7_uuid__nil); }

TEST(UuidDecode, PutsEachNumberIntoItsField) {
  const k7_uuid__t uuid = {0x12345678, 0x9ABC, 0xA8B7, 0xDE, {0xF0, 0x11, 0x22, 0x33, 0x44, 0, 0}};
  expect_decodes("123456789abc.de.f0.11.22.33.44.b7.a8", uuid);
}

TEST(UuidDecode, PutsTheLastTwoBytesIntoReservedAndNeverIntoHostBytes5And6) {
  k7_uuid__t uuid = kExample;
  uuid.reserved = 0x1234;
  expect_decodes("d0f7b2fc0064.82.0a.00.02.03.00.34.12", uuid);
  EXPECT_EQ(text_of(uuid), "d0f7b2fc0064.82.0a.00.02.03.00.34.12");
  uuid.reserved = 0x0034;
  expect_decodes("d0f7b2fc0064.82.0a.00.02.03.00.34.00", uuid);
  uuid.reserved = 0x1200;
  expect_decodes("d0f7b2fc0064.82.0a.00.02.03.00.00.12", uuid);
}

TEST(UuidDecode, MovesHostBytes5And6IntoReservedWhenItUndoesEncoding) {
  const k7_uuid__t uuid = {1, 2, 0, 3, {4, 5, 6, 7, 8, 9, 10}};
  expect_decodes(text_of(uuid), {1, 2, 0x0A09, 3, {4, 5, 6, 7, 8, 0, 0}});
}

TEST(UuidDecode, IgnoresWhatStandsAfterTheTenthNumber) {
  for (const char *tail : {"0", "f", ".", ".00", " ", "x", "\n", "\xFF", "d0f7b2fc0064.82"})
    expect_decodes(std::string(kExampleText) + tail, kExample);
}

TEST(UuidDecode, SkipsWhiteSpaceBeforeANumber) {
  expect_decodes(" \t\n\v\f\rd0f7b2fc0064.82.0a.00.02.03.00.00.00", kExample);
  expect_decodes("d0f7b2fc 0064. 82.\t0a.\n00. 02.  03.00.00. 00", kExample);
}

TEST(UuidDecode, RejectsWhiteSpaceBeforeADot) {
  expect_malformed("d0f7b2fc0064 .82.0a.00.02.03.00.00.00");
  expect_malformed("d0f7b2fc0064.82.0a.00.02.03.00.00 .00");
}

TEST(UuidDecode, TakesFewerDigitsWhereADotEndsTheNumber) {
  expect_decodes("d0f7b2fc64.82.a.0.2.3.0.0.0", kExample);
  expect_decodes("12345678 9.1.2.3.4.5.6.7.8", {0x12345678, 9, 0x0807, 1, {2, 3, 4, 5, 6, 0, 0}});
}

TEST(UuidDecode, Takes0xWithinTheWidthOfANumber) {
  expect_decodes("0xd0f7b20x64.82.0a.00.02.03.00.00.00",
                 {0xD0F7B2, 0x64, 0, 0x82, {0x0A, 0, 2, 3, 0, 0, 0}});
}

TEST(UuidDecode, KeepsTheLowByteOfANegativeNumber) {
  expect_decodes("d0f7b2fc0064.-1.-2.00.02.03.00.00.00",
                 {0xD0F7B2FC, 0x64, 0, 0xFF, {0xFE, 0, 2, 3, 0, 0, 0}});
  expect_decodes("-1 -1.+1.+2.00.02.03.00.00.00",
                 {0xFFFFFFFF, 0xFFFF, 0, 1, {2, 0, 2, 3, 0, 0, 0}});
}

TEST(UuidDecode, ShowsASignOfTheNinthNumberInAll16BitsOfReservedAndOneOfTheTenthInItsHighByte) {
  expect_decodes("d0f7b2fc0064.82.0a.00.02.03.00.-1.00",
                 {0xD0F7B2FC, 0x64, 0xFFFF, 0x82, {0x0A, 0, 2, 3, 0, 0, 0}});
  expect_decodes("d0f7b2fc0064.82.0a.00.02.03.00.34.-1",
                 {0xD0F7B2FC, 0x64, 0xFF34, 0x82, {0x0A, 0, 2, 3, 0, 0, 0}});
}

// The status comes before the record, which may hold it.
TEST(UuidDecode, FillsARecordThatHoldsTheStatus) {
  union {
    k7_uuid__t uuid;
    orla_status status;
  } answer = {};
  orla_uuid_decode(kExampleText, &answer.uuid, &answer.status);
  EXPECT_EQ(bytes_of(answer.uuid), bytes_of(kExample));
  orla_uuid_decode("no UUID", &answer.uuid, &answer.status);
  EXPECT_EQ(answer.status, ORLA_UUID_MALFORMED);
}

// A text and a record in one buffer, the record at each possible place.
TEST(UuidText, SharesItsBufferWithTheRecordWhereverThatIs) {
  constexpr std::size_t kSize = ORLA_UUID_TEXT_SIZE;
  const char *const other_form = " d0f7b2fc0064.82.a.00.02.03.00.34.1 ";
  k7_uuid__t other = kExample;
  other.reserved = 0x0134;
  for (std::size_t at = 0; at + sizeof(k7_uuid__t) <= kSize; ++at) {
    alignas(k7_uuid__t) char buffer[2 * kSize];
    // The text moves, so that the record stays aligned.
    const std::size_t record_at = (at + 7) / 8 * 8;
    char *const text = buffer + (record_at - at);
    auto *const uuid = reinterpret_cast<k7_uuid__t *>(buffer + record_at);
    *uuid = kExample;
    EXPECT_EQ(orla_uuid_encode(uuid, text), 36);
    EXPECT_STREQ(text, kExampleText) << at;

    orla_status status = 1;
    orla_uuid_decode(text, uuid, &status);
    EXPECT_EQ(status, 0U);
    EXPECT_EQ(bytes_of(*uuid), bytes_of(kExample)) << at;

    std::memcpy(text, other_form, kSize);
    orla_uuid_decode(text, uuid, &status);
    EXPECT_EQ(status, 0U);
    EXPECT_EQ(bytes_of(*uuid), bytes_of(other)) << at;
  }
}

TEST(UuidDecode, RejectsNineDottedBytesAndLeavesTheRecord) {
  expect_malformed("d0f7b2fc0064.82.0a.00.02.03.00.00");
  expect_malformed("d0f7b2fc0064.82.0a.00.02.03.00.00.");
}

TEST(UuidDecode, RejectsATextThatBreaksOffAnywhereAndReadsNothingAfterIt) {
  const std::string text = kExampleText;
  for (std::size_t length = 0; length < 35; ++length)
    expect_malformed(text.substr(0, length));
  expect_decodes(text.substr(0, 35), kExample);  // one digit will do for the last number
}

TEST(UuidDecode, RejectsADigitTooManyBeforeADot) {
  expect_malformed("d0f7b2fc00640.82.0a.00.02.03.00.00.00");
  expect_malformed("d0f7b2fc0064.820.0a.00.02.03.00.00.00");
}

TEST(UuidDecode, RejectsWhatIsNoUuid) {
  for (const char *text : {"", " ", ".", "uuid", "g0f7b2fc0064.82.0a.00.02.03.00.00.00",
                           "d0f7b2fc-0064-8200-0a00-020300000000", "\xFF"})
    expect_malformed(text);
}

TEST(UuidText, LeavesErrnoAlone) {
  errno = 4711;
  text_of(kExample);
  decode(kExampleText);
  decode("");
  decode(" -1 -1.+1.+2.00.02.03.00.00.00");
  EXPECT_EQ(errno, 4711);
}

// What a mutation puts in: digits and their neighbours in the character table, what formatted input
// treats in a way of its own, and bytes that a table indexed by a signed character would get wrong.
const std::string kMutants =
    "0123456789abcdefABCDEF"
    "/:@G`g"
    ".."
    "  \t\n\v\f\r"
    "+-xX0,"
    "\x01\x10\x19\x2e\x7f\x80\xae\xb0\xff";

std::string mutated(std::string text, Random &random) {
  for (std::uint32_t changes = random.below(4); changes > 0 && !text.empty(); --changes) {
    const std::size_t at = random.below(static_cast<std::uint32_t>(text.size()));
    const char mutant = kMutants[random.below(static_cast<std::uint32_t>(kMutants.size()))];
    switch (random.below(8)) {
      case 0:
        text.erase(at, 1);
        break;
      case 1:
        text.insert(at, 1, mutant);
        break;
      case 2:
        text.resize(at);
        break;
      case 3:
        text.insert(at, text.substr(random.below(36) % text.size(), random.below(8)));
        break;
      default:
        text[at] = mutant;
    }
  }
  return text;
}

// Longer searches are the fuzzers' work.
constexpr int kTexts = 1000000;

TEST(UuidDecode, IsFormattedInputOnAMillionMutatedTexts) {
  constexpr std::size_t kRoom = 256;
  GuardedBuffer buffer(kRoom);
  char *const end = buffer.data() + kRoom;
  Random random(5);
  int accepted = 0;
  for (int i = 0; i < kTexts; ++i) {
    const std::string text = mutated(text_of(random_uuid(random)), random);
    char *const start = end - text.size() - 1;
    std::memcpy(start, text.c_str(), text.size() + 1);
    const std::optional<k7_uuid__t> expected = plain::scan_uuid_text(start);
    Decoded got;
    orla_uuid_decode(start, &got.uuid, &got.status);
    ASSERT_EQ(got.status, expected ? 0 : ORLA_UUID_MALFORMED) << text;
    ASSERT_EQ(bytes_of(got.uuid), bytes_of(expected.value_or(filled(0xA5)))) << text;
    accepted += got.status == 0;
  }
  // Both outcomes occur often.
  EXPECT_GT(accepted, kTexts / 5);
  EXPECT_LT(accepted, kTexts / 5 * 4);
}

}  // namespace
