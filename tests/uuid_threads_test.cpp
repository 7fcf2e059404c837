// Ten threads at once, from the first record of the process on. ThreadSanitizer finds what the
// results do not show.

#include <gtest/gtest.h>
#include <orla/uuid.h>

#include <atomic>
#include <cstring>
#include <latch>
#include <vector>

#include "fakes/clock.h"
#include "fakes/interfaces.h"
#include "kit/at_once.h"
#include "kit/uuid.h"

namespace {

constexpr int kTenThreads = 10;
constexpr int kRounds = 20000;

bool round_trip_holds(const k7_uuid__t &uuid) {
  char text[ORLA_UUID_TEXT_SIZE];
  orla_uuid_encode(&uuid, text);
  k7_uuid__t back = filled(0xA5);
  orla_status status = 1;
  orla_uuid_decode(text, &back, &status);
  return status == 0 && orla_uuid_equal(&uuid, &back) == 1 &&
         orla_uuid_hash(&uuid, 101) == orla_uuid_hash(&back, 101);
}

// What went wrong, counted: assertions of the test framework stay on the main thread.
int generate_and_read_back() {
  int wrong = 0;
  for (int i = 0; i < kRounds; ++i) {
    k7_uuid__t uuid;
    orla_uuid_gen(&uuid);
    wrong += std::memcmp(uuid.host, "\x0A\x00\x02\x03\x00\x00\x00", 7) != 0;
    wrong += !round_trip_holds(uuid);
    orla_reserved_uuid_gen(&uuid, static_cast<std::uint16_t>(i));
    wrong += !round_trip_holds(uuid);
  }
  return wrong;
}

TEST(UuidThreads, TenGenerateEncodeAndDecodeAtOnce) {
  Interfaces interfaces;
  interfaces.ipv4(kUp, 0x0A000203);
  const HostHas host(&interfaces);
  EXPECT_EQ(wrong_in_threads(kTenThreads, [](int) { return generate_and_read_back(); }), 0);
  EXPECT_GE(host.asked(), 1);
  EXPECT_LE(host.asked(), kTenThreads);
  EXPECT_EQ(host.given_back(), host.asked());
}

// There the kernel is asked instead of the C library.
TEST(UuidThreads, GenerateAtOncePast2038) {
  Interfaces interfaces;
  interfaces.ipv4(kUp, 0x0A000203);
  const HostHas host(&interfaces);
  const ClockPast2038 clock(2208988800, 400000);
  k7_uuid__t expected;
  orla_uuid_gen(&expected);
  EXPECT_EQ(wrong_in_threads(kTenThreads,
                             [&](int) {
                               int wrong = 0;
                               for (int i = 0; i < kRounds / 10; ++i) {
                                 k7_uuid__t uuid;
                                 orla_uuid_gen(&uuid);
                                 wrong += orla_uuid_equal(&uuid, &expected) == 0;
                               }
                               return wrong;
                             }),
            0);
}

// The tick of four microseconds within the second that this thread's clock shows.
thread_local int tick_of_thread = 0;

TEST(UuidThreads, HaveTheTimeThatTheClockShowedTheirThread) {
  const With clock(fake_gettimeofday, [](timeval *now, void *) {
    now->tv_sec = 1234567890;
    now->tv_usec = 4 * tick_of_thread;
    return 0;
  });
  EXPECT_EQ(wrong_in_threads(kTenThreads,
                             [](int thread) {
                               tick_of_thread = thread;
                               int wrong = 0;
                               for (int i = 0; i < kRounds / 10; ++i) {
                                 k7_uuid__t uuid;
                                 orla_uuid_gen(&uuid);
                                 wrong += uuid.time_low != thread;
                               }
                               return wrong;
                             }),
            0);
}

// Such texts go to the C library's reader.
TEST(UuidThreads, DecodeTextsOfOtherFormsAtOnce) {
  EXPECT_EQ(wrong_in_threads(kTenThreads,
                             [](int thread) {
                               k7_uuid__t expected;
                               orla_reserved_uuid_inflate(&expected, 1, 2, 0x0304);
                               int wrong = 0;
                               for (int i = 0; i < kRounds / 10; ++i) {
                                 const char *text = (i + thread) % 2 == 0
                                                        ? " 1 2.99.6f.72.6c.61.0.4.3"
                                                        : "no UUID";
                                 k7_uuid__t uuid;
                                 orla_status status = 1;
                                 orla_uuid_decode(text, &uuid, &status);
                                 const bool is_uuid = *text == ' ';
                                 wrong += status != (is_uuid ? 0 : ORLA_UUID_MALFORMED);
                                 wrong += is_uuid && orla_uuid_cmp(&uuid, &expected) != 0;
                               }
                               return wrong;
                             }),
            0);
}

// Each gets another address, and none gets it before all have asked: whichever thread is the first
// to answer, all end up with one host.
TEST(UuidThreads, AgreeOnOneHostWhereTheAddressChangesWhileTheyAsk) {
  std::atomic<std::uint32_t> next = 0x0A000201;
  std::latch all_have_asked(kTenThreads);
  const With getifaddrs(fake_getifaddrs, [&](ifaddrs **list) {
    auto *interfaces = new Interfaces;
    interfaces->ipv4(kUp, next++);
    *list = interfaces->list();
    (*list)->ifa_data = interfaces;
    all_have_asked.arrive_and_wait();
    return 0;
  });
  const With freeifaddrs(fake_freeifaddrs,
                         [](ifaddrs *list) { delete static_cast<Interfaces *>(list->ifa_data); });
  std::vector<k7_uuid__t> uuids(kTenThreads);
  wrong_in_threads(kTenThreads, [&](int thread) {
    orla_uuid_gen(&uuids[static_cast<std::size_t>(thread)]);
    return 0;
  });
  EXPECT_EQ(next, 0x0A000201U + kTenThreads);
  for (const k7_uuid__t &uuid : uuids)
    EXPECT_EQ(std::memcmp(uuid.host, uuids[0].host, 7), 0);
}

}  // namespace
