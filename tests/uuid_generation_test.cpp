// Generation: the clock, the host-identifier provider, the reserved space.

#include <gtest/gtest.h>
#include <orla/uuid.h>

#include <cerrno>
#include <cstring>

#include "fakes/clock.h"
#include "fakes/interfaces.h"
#include "kit/uuid.h"

namespace {

// gettimeofday() always gives one moment.
class MomentAt {
 public:
  MomentAt(std::uint32_t seconds, std::uint32_t microseconds)
      : clock_(fake_gettimeofday, [=, this](timeval *now, void *zone) {
          ++readings_;
          EXPECT_EQ(zone, nullptr);
          now->tv_sec = static_cast<decltype(now->tv_sec)>(seconds);
          now->tv_usec = static_cast<decltype(now->tv_usec)>(microseconds);
          return 0;
        }) {}

  int readings() const { return readings_; }

 private:
  int readings_ = 0;
  With<int(timeval *, void *)> clock_;
};

struct Provided {
  std::uint32_t identifier = 0x0A000203;
  std::uint16_t class_code = 2;
  int calls = 0;
};
Provided provided;

void provider(std::uint32_t *identifier, std::uint16_t *class_code) {
  ++provided.calls;
  *identifier = provided.identifier;
  *class_code = provided.class_code;
}

class UuidGen : public testing::Test {
 protected:
  UuidGen() {
    provided = {};
    orla_uuid_host_provider = provider;
  }
  ~UuidGen() override { orla_uuid_host_provider = nullptr; }
};

k7_uuid__t generated() {
  k7_uuid__t uuid = filled(0xA5);
  orla_uuid_gen(&uuid);
  return uuid;
}

UuidBytes example_bytes(std::uint8_t family, const UuidBytes &host) {
  UuidBytes bytes = bytes_of(kExample);
  bytes[8] = family;
  for (std::size_t i = 0; i < 7; ++i)
    bytes[9 + i] = host[i];
  return bytes;
}

TEST_F(UuidGen, MakesTheExampleAndSetsEveryByte) {
  const MomentAt clock(kExampleSeconds, kExampleMicroseconds);
  EXPECT_EQ(bytes_of(generated()), bytes_of(kExample));
}

TEST_F(UuidGen, MakesIdenticalRecordsWithinOneTickOfFourMicroseconds) {
  for (std::uint32_t microseconds = 400; microseconds < 404; ++microseconds) {
    const MomentAt clock(kExampleSeconds, microseconds);
    const k7_uuid__t uuid = generated();
    EXPECT_EQ(orla_uuid_equal(&uuid, &kExample), 1);
  }
  const MomentAt clock(kExampleSeconds, 404);
  const k7_uuid__t uuid = generated();
  EXPECT_EQ(orla_uuid_equal(&uuid, &kExample), 0);
}

TEST_F(UuidGen, ReadsTheClockAndAsksTheProviderOnceForEachRecord) {
  const MomentAt clock(kExampleSeconds, kExampleMicroseconds);
  generated();
  EXPECT_EQ(clock.readings(), 1);
  EXPECT_EQ(provided.calls, 1);
  generated();
  EXPECT_EQ(clock.readings(), 2);
  EXPECT_EQ(provided.calls, 2);
}

TEST_F(UuidGen, PutsTheIdentifierMostSignificantByteFirst) {
  const MomentAt clock(kExampleSeconds, kExampleMicroseconds);
  provided.identifier = 0x12345678;
  EXPECT_EQ(bytes_of(generated()), example_bytes(0x82, {0x12, 0x34, 0x56, 0x78}));
  provided.identifier = 1;
  EXPECT_EQ(bytes_of(generated()), example_bytes(0x82, {0, 0, 0, 1}));
}

TEST_F(UuidGen, KeepsTheLow8BitsOfTheClassCodeWith0x80Set) {
  const MomentAt clock(kExampleSeconds, kExampleMicroseconds);
  const struct {
    std::uint16_t class_code;
    std::uint8_t family;
  } rows[] = {{0, 0x80}, {2, 0x82}, {0x7F, 0xFF}, {0x80, 0x80}, {0x0102, 0x82}, {0xFF00, 0x80}};
  for (const auto &row : rows) {
    provided.class_code = row.class_code;
    EXPECT_EQ(generated().family, row.family) << row.class_code;
  }
}

TEST_F(UuidGen, PutsTheAddressOfTheRecordInPlaceOfIdentifierZero) {
  const MomentAt clock(kExampleSeconds, kExampleMicroseconds);
  provided.identifier = 0;
  k7_uuid__t uuids[2] = {filled(0xA5), filled(0xA5)};
  for (k7_uuid__t &uuid : uuids) {
    orla_uuid_gen(&uuid);
    const k7_uuid__t *address = &uuid;
    UuidBytes host = {};
    std::memcpy(host.data(), &address, 4);  // the low 32 bits come first on x86
    EXPECT_EQ(bytes_of(uuid), example_bytes(0x82, host));
  }
  EXPECT_NE(std::memcmp(uuids[0].host, uuids[1].host, 4), 0);
}

TEST_F(UuidGen, CountsWhatTheProviderDoesNotStoreAsZero) {
  const MomentAt clock(kExampleSeconds, kExampleMicroseconds);
  orla_uuid_host_provider = [](std::uint32_t *identifier, std::uint16_t *) { *identifier = 1; };
  EXPECT_EQ(generated().family, 0x80);
  orla_uuid_host_provider = [](std::uint32_t *, std::uint16_t *class_code) { *class_code = 2; };
  k7_uuid__t uuid;
  orla_uuid_gen(&uuid);
  const auto address = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(&uuid));
  EXPECT_EQ(std::memcmp(uuid.host, &address, 4), 0);
}

TEST_F(UuidGen, HandsTheProviderARecordThatIsZeroButForItsTime) {
  const MomentAt clock(kExampleSeconds, kExampleMicroseconds);
  static k7_uuid__t uuid = filled(0xA5);
  static UuidBytes seen;
  orla_uuid_host_provider = [](std::uint32_t *, std::uint16_t *) { seen = bytes_of(uuid); };
  orla_uuid_gen(&uuid);
  EXPECT_EQ(seen, example_bytes(0, {}));
}

TEST_F(UuidGen, TakesAClockThatDoesNotAnswerFor1970) {
  const With clock(fake_gettimeofday, [](timeval *, void *) {
    errno = EFAULT;
    return -1;
  });
  const With kernel(fake_kernel_clock, [](clockid_t which, ClockReading *out) {
    const int result = fake_kernel_clock.real(which, out);
    if (which == CLOCK_REALTIME) *out = {17, 0};
    return result;
  });
  // -315532800 * 250000 / 65535 = -1203680476.1, truncated.
  EXPECT_EQ(generated().time_high, 0U - 1203680476U);
  EXPECT_EQ(generated().time_low, 0);
}

constexpr std::int64_t kPast2038 = 2208988800;  // 2040-01-01 00:00:00 UTC

TEST_F(UuidGen, StaysRightPast2038OnHostsWhoseClockLeaves32Bits) {
  const ClockPast2038 clock(kPast2038, 123456999);
  // (2208988800 - 315532800) * 250000 + 30864 over 65535, modulo 2^32.
  constexpr std::uint64_t kTicks = (kPast2038 - 315532800) * 250000 + 30864;
  EXPECT_EQ(generated().time_high, static_cast<std::uint32_t>(kTicks / 65535));
  EXPECT_EQ(generated().time_low, 30864);
}

TEST_F(UuidGen, MakesTheSameRecordPast2038ByEitherClock) {
  if (sizeof(std::time_t) < 8) GTEST_SKIP() << "here only the kernel can tell";
  const auto by_c_library = [] {
    const MomentAt clock(static_cast<std::uint32_t>(kPast2038), 123456);
    return generated();
  }();
  const ClockPast2038 clock(kPast2038, 123456999);
  EXPECT_EQ(bytes_of(generated()), bytes_of(by_c_library));
}

TEST_F(UuidGen, LeavesErrnoAlone) {
  errno = 4711;
  generated();
  EXPECT_EQ(errno, 4711);
  const ClockPast2038 clock(kPast2038, 0);
  generated();
  EXPECT_EQ(errno, 4711);
}

TEST(UuidReserved, InflatesAllFields) {
  k7_uuid__t uuid = filled(0xA5);
  orla_reserved_uuid_inflate(&uuid, 0x01020304, 0x0506, 0x0708);
  const k7_uuid__t expected = {0x01020304, 0x0506, 0x0708, 0x99, {0x6F, 0x72, 0x6C, 0x61, 0, 0, 0}};
  EXPECT_EQ(bytes_of(uuid), bytes_of(expected));
}

TEST_F(UuidGen, GivesAReservedRecordItsTimeAndNothingElse) {
  const MomentAt clock(kExampleSeconds, kExampleMicroseconds);
  k7_uuid__t uuid = filled(0xA5);
  orla_reserved_uuid_gen(&uuid, 0x1234);
  const k7_uuid__t expected = {0xD0F7B2FC, 0x0064, 0x1234, 0x99, {0x6F, 0x72, 0x6C, 0x61, 0, 0, 0}};
  EXPECT_EQ(bytes_of(uuid), bytes_of(expected));
  EXPECT_EQ(provided.calls, 1);  // for the record that it inflates
}

TEST_F(UuidGen, PutsNoAddressIntoAReservedRecord) {
  provided.identifier = 0;
  k7_uuid__t uuid = filled(0xA5);
  orla_reserved_uuid_gen(&uuid, 0);
  EXPECT_EQ(std::memcmp(uuid.host, "orla\0\0\0", 7), 0);
}

TEST(UuidHost, HasNoProviderOfTheProgramsAtLoad) { EXPECT_EQ(orla_uuid_host_provider, nullptr); }

// The first record of a process decides: each case is a process of its own.
void expect_host(const k7_uuid__t &uuid, std::uint32_t address) {
  EXPECT_EQ(uuid.family, 0x82);
  EXPECT_EQ(std::uint32_t{uuid.host[0]} << 24 | std::uint32_t{uuid.host[1]} << 16 |
                std::uint32_t{uuid.host[2]} << 8 | uuid.host[3],
            address);
}

void expect_no_host() {
  k7_uuid__t uuid;
  orla_uuid_gen(&uuid);
  expect_host(
      uuid, __builtin_bswap32(static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(&uuid))));
}

TEST(UuidHost, IsTheFirstIpv4AddressButZeroOfAnInterfaceThatIsUpAndNotLoopback) {
  Interfaces interfaces;
  interfaces.without_address(kUp)
      .ipv4(kUp | IFF_LOOPBACK, 0x7F000001)
      .ipv4(IFF_RUNNING, 0xC0A80001)
      .ipv6(kUp)
      .ipv4(kUp, 0)
      .ipv4(kUp, 0x0A000203)
      .ipv4(kUp, 0x0A000204);
  const HostHas host(&interfaces);
  expect_host(generated(), 0x0A000203);
}

TEST(UuidHost, MayBeTheAddressOfAPointToPointInterface) {
  Interfaces interfaces;
  interfaces.ipv4(kUp | IFF_POINTOPOINT, 0x0A080001).ipv4(kUp, 0x0A000203);
  const HostHas host(&interfaces);
  expect_host(generated(), 0x0A080001);
}

TEST(UuidHost, IsAskedOfTheSystemOncePerProcessAndGivenBack) {
  Interfaces interfaces;
  interfaces.ipv4(kUp, 0x0A000203);
  const HostHas host(&interfaces);
  EXPECT_EQ(host.asked(), 0);
  for (int i = 0; i < 3; ++i)
    expect_host(generated(), 0x0A000203);
  EXPECT_EQ(host.asked(), 1);
  EXPECT_EQ(host.given_back(), 1);
}

// Like two threads that ask at the same time: one gets its answer while the other still waits.
TEST(UuidHost, IsTheOneAnsweredFirstForThreadsThatAskedMeanwhile) {
  Interfaces first;
  first.ipv4(kUp, 0x0A000203);
  Interfaces second;
  second.ipv4(kUp, 0x0A000204);
  k7_uuid__t inner = {};
  int asked = 0;
  const With asking(fake_getifaddrs, [&](ifaddrs **list) {
    const bool is_outer = ++asked == 1;
    if (is_outer) inner = generated();
    *list = is_outer ? second.list() : first.list();
    return 0;
  });
  const With giving_back(fake_freeifaddrs, [](ifaddrs *) {});
  const k7_uuid__t outer = generated();
  EXPECT_EQ(asked, 2);
  EXPECT_EQ(inner.host[3], 3);
  EXPECT_EQ(outer.host[3], 3);
}

TEST(UuidHost, IsNoneWhereOnlyLoopbackAndOtherFamiliesAreUp) {
  Interfaces interfaces;
  interfaces.ipv4(kUp | IFF_LOOPBACK, 0x7F000001).ipv6(kUp).ipv4(0, 0x0A000203).ipv4(kUp, 0);
  const HostHas host(&interfaces);
  expect_no_host();
}

TEST(UuidHost, IsNoneWhereTheSystemDoesNotAnswerAndErrnoStays) {
  const HostHas host(nullptr);
  errno = 4711;
  expect_no_host();
  EXPECT_EQ(errno, 4711);
  expect_no_host();
  EXPECT_EQ(host.asked(), 1);
  EXPECT_EQ(host.given_back(), 0);
}

TEST(UuidHost, IsNotAskedOfTheSystemWhileAProviderIsSet) {
  Interfaces interfaces;
  interfaces.ipv4(kUp, 0x0A000299);
  const HostHas host(&interfaces);
  orla_uuid_host_provider = provider;
  expect_host(generated(), 0x0A000203);
  EXPECT_EQ(host.asked(), 0);
  orla_uuid_host_provider = nullptr;
  expect_host(generated(), 0x0A000299);
}

}  // namespace
