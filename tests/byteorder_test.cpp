// Byte order. The program has a swap() of its own, which the library's converters have to reach.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <orla/byteorder.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "fakes/fake.h"
#include "kit/converters.h"

constinit Fake<void(char *, char *)> fake_swap("swap");

extern "C" void swap(char *a, char *b) noexcept { fake_swap(a, b); }

namespace {

TEST(Swap, ExchangesTwoBytes) {
  char bytes[] = {1, 2, 3};
  swap(&bytes[0], &bytes[2]);
  EXPECT_EQ(bytes[0], 3);
  EXPECT_EQ(bytes[1], 2);
  EXPECT_EQ(bytes[2], 1);
  swap(&bytes[1], &bytes[1]);
  EXPECT_EQ(bytes[1], 2);
}

// In C++ a plain call on pointers to char is this function, whatever else is visible.
TEST(Swap, IsPreferredToTheTemplateOfTheStandardLibrary) {
  using namespace std;  // NOLINT(google-build-using-namespace): what a caller may have written
  char bytes[] = {1, 2};
  char *first = &bytes[0];
  char *second = &bytes[1];
  swap(first, second);
  EXPECT_EQ(bytes[0], 2);
  EXPECT_EQ(first, &bytes[0]);
  std::swap(first, second);
  EXPECT_EQ(bytes[0], 2);
  EXPECT_EQ(first, &bytes[1]);
}

TEST(Converters, OfThe32BitPairReverseFourBytes) {
  for (const std::uint32_t value : {0x11223344u, 0u, 0xFFFFFFFFu, 0x80000001u, 0x00FF0000u}) {
    EXPECT_EQ(htonl(value), __builtin_bswap32(value));
    EXPECT_EQ(ntohl(value), __builtin_bswap32(value));
    EXPECT_EQ(ntohl(htonl(value)), value);
  }
  EXPECT_EQ(htonl(0x11223344u), 0x44332211u);
}

TEST(Converters, OfThe16BitPairExchangeTheBytesOfEveryValueAndClearTheUpperHalf) {
  for (std::uint32_t value = 0; value <= 0xFFFF; ++value) {
    const auto argument = static_cast<std::uint16_t>(value);
    ASSERT_EQ(htons(argument), (value >> 8) | (value & 0xFF) << 8);
    ASSERT_EQ(ntohs(argument), (value >> 8) | (value & 0xFF) << 8);
  }
}

// A caller that was compiled without a prototype may pass 32 bits: only the low half is the
// argument.
TEST(Converters, OfThe16BitPairIgnoreTheUpperHalfOfWhatIsPassed) {
  auto *wide_htons =
      reinterpret_cast<std::uint32_t (*)(std::uint32_t)>(dlsym(RTLD_DEFAULT, "htons"));
  auto *wide_ntohs =
      reinterpret_cast<std::uint32_t (*)(std::uint32_t)>(dlsym(RTLD_DEFAULT, "ntohs"));
  EXPECT_EQ(wide_htons(0xABCD1122u), 0x2211u);
  EXPECT_EQ(wide_ntohs(0xABCD1122u), 0x2211u);
}

TEST(Converters, AreTheLibrarysOwn) {
  for (const char *name : {"htonl", "ntohl", "htons", "ntohs"}) {
    Dl_info info = {};
    ASSERT_NE(dladdr(dlsym(RTLD_DEFAULT, name), &info), 0) << name;
    EXPECT_NE(std::string(info.dli_fname).find("liborla.so"), std::string::npos) << name;
  }
}

// Offsets of the bytes that a conversion passes to swap(), counted from the first byte passed.
using Calls = std::vector<std::pair<long, long>>;

Calls calls_of(std::uint32_t (*convert)()) {
  Calls calls;
  char *first = nullptr;
  const With recorder(fake_swap, [&](char *a, char *b) {
    if (first == nullptr) first = a;
    calls.emplace_back(a - first, b - first);
    fake_swap.real(a, b);
  });
  convert();
  return calls;
}

TEST(Converters, ReachSwapThroughItsExportedName) {
  const Calls outer_then_inner = {{0, 3}, {1, 2}};
  const Calls both = {{0, 1}};
  EXPECT_EQ(calls_of([] { return htonl(0x11223344u); }), outer_then_inner);
  EXPECT_EQ(calls_of([] { return ntohl(0x11223344u); }), outer_then_inner);
  EXPECT_EQ(calls_of([] { return htons(0x1122u); }), both);
  EXPECT_EQ(calls_of([] { return ntohs(0x1122u); }), both);
}

}  // namespace
