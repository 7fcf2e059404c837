// Records: the nil record, order, equality and hash.

#include <gtest/gtest.h>
#include <orla/uuid.h>

#include <bit>
#include <cstdlib>
#include <vector>

#include "kit/uuid.h"
#include "plain/uuid.h"

namespace {

TEST(UuidNil, Is16ZeroBytes) { EXPECT_EQ(bytes_of(k7_uuid__nil), UuidBytes{}); }

// In order, each before the next: every field counts more than all fields after it.
const std::vector<k7_uuid__t> kInOrder = {
    {0, 0, 0, 0, {}},
    {0, 0, 0, 0, {0, 0, 0, 0, 0, 0, 1}},
    {0, 0, 0, 0, {0, 0, 0, 0, 0, 0, 0xFF}},
    {0, 0, 0, 0, {0, 0, 0, 0, 0, 1, 0}},
    {0, 0, 0, 0, {0, 0, 0, 0, 1, 0, 0}},
    {0, 0, 0, 0, {0, 0, 0, 1, 0, 0, 0}},
    {0, 0, 0, 0, {0, 0, 0x80, 0, 0, 0, 0}},
    {0, 0, 0, 0, {0, 1, 0, 0, 0, 0, 0}},
    {0, 0, 0, 0, {1, 0, 0, 0, 0, 0, 0}},
    {0, 0, 0, 0, {0x7F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
    {0, 0, 0, 0, {0x80, 0, 0, 0, 0, 0, 0}},
    {0, 0, 0, 1, {}},
    {0, 0, 0, 0x7F, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
    {0, 0, 0, 0x80, {}},
    {0, 0, 1, 0, {}},
    {0, 0, 0xFF, 0, {}},
    {0, 0, 0x0100, 0, {}},  // as stored bytes it would come before 0xFF
    {0, 0, 0x7FFF, 0xFF, {}},
    {0, 0, 0x8000, 0, {}},
    {0, 1, 0, 0, {}},
    {0, 0xFF, 0, 0, {}},
    {0, 0x0100, 0, 0, {}},
    {0, 0x7FFF, 0xFFFF, 0xFF, {}},
    {0, 0x8000, 0, 0, {}},
    {1, 0, 0, 0, {}},
    {0xFF, 0, 0, 0, {}},
    {0x0100, 0, 0, 0, {}},
    {0x00FFFFFF, 0xFFFF, 0, 0, {}},
    {0x01000000, 0, 0, 0, {}},
    {0x7FFFFFFF, 0xFFFF, 0xFFFF, 0xFF, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
    {0x80000000, 0, 0, 0, {}},
    {0xFFFFFFFF, 0, 0, 0, {}},
};

int sign(int value) { return (value > 0) - (value < 0); }

TEST(UuidOrder, PutsTimeHighTimeLowReservedFamilyThenHostBytes) {
  for (std::size_t a = 0; a < kInOrder.size(); ++a) {
    for (std::size_t b = 0; b < kInOrder.size(); ++b) {
      EXPECT_EQ(sign(orla_uuid_cmp(&kInOrder[a], &kInOrder[b])), (a > b) - (a < b))
          << a << ' ' << b;
      EXPECT_EQ(orla_uuid_equal(&kInOrder[a], &kInOrder[b]), a == b) << a << ' ' << b;
    }
  }
}

TEST(UuidOrder, IsPlusOrMinusOneWhereANumericFieldDecides) {
  const k7_uuid__t rows[] = {
      {9, 0, 0, 0, {}}, {0, 9, 0, 0, {}}, {0, 0, 9, 0, {}}, {0, 0, 0, 9, {}}};
  for (const k7_uuid__t &row : rows) {
    EXPECT_EQ(orla_uuid_cmp(&row, &k7_uuid__nil), 1);
    EXPECT_EQ(orla_uuid_cmp(&k7_uuid__nil, &row), -1);
  }
}

TEST(UuidEqual, IsOneForTheSameBytesInTwoRecordsAndInOne) {
  const k7_uuid__t copy = kExample;
  EXPECT_EQ(orla_uuid_equal(&kExample, &copy), 1);
  EXPECT_EQ(orla_uuid_equal(&copy, &copy), 1);
  EXPECT_EQ(orla_uuid_cmp(&kExample, &copy), 0);
}

TEST(UuidHash, OfTheExampleIsThreeOf101) {
  if (std::endian::native != std::endian::little) GTEST_SKIP() << "words are in host byte order";
  EXPECT_EQ(orla_uuid_hash(&kExample, 101), 3U);
  EXPECT_EQ(orla_uuid_hash(&kExample, 0x10000), 0x6AEEU);
}

TEST(UuidHash, IsNeverAbove65535WhateverTheModulus) {
  EXPECT_EQ(orla_uuid_hash(&kExample, 0xFFFFFFFF), orla_uuid_hash(&kExample, 0x10000));
  const k7_uuid__t top = uuid_of({0, 0, 0xFF, 0xFF});
  EXPECT_EQ(orla_uuid_hash(&top, 0xFFFFFFFF), 0xFFFFU);
}

TEST(UuidHash, WithModulusOneIsZero) { EXPECT_EQ(orla_uuid_hash(&kExample, 1), 0U); }

TEST(UuidHash, OfNilIsZeroForEveryModulus) {
  for (const std::uint32_t modulus : {1U, 2U, 101U, 65535U, 65536U, 0x80000000U, 0xFFFFFFFFU})
    EXPECT_EQ(orla_uuid_hash(&k7_uuid__nil, modulus), 0U);
}

TEST(UuidHash, FoldsTheExclusiveOrOfTheFourWordsForRandomRecordsAndModuli) {
  Random random(2);
  for (int i = 0; i < 100000; ++i) {
    const k7_uuid__t uuid = random_uuid(random);
    const std::uint32_t modulus = (random.next() >> random.below(32)) | 1;
    ASSERT_EQ(orla_uuid_hash(&uuid, modulus), plain::uuid_hash(uuid, modulus))
        << text_of(uuid) << ' ' << modulus;
  }
}

#if defined(__i386__) || defined(__x86_64__)
TEST(UuidHash, WithModulusZeroIsADivisionFault) {
  EXPECT_DEATH(
      {
        orla_uuid_hash(&kExample, 0);
        std::_Exit(0);
      },
      "");
}
#endif

}  // namespace
