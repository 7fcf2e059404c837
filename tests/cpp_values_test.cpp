// Dates, stamps and UUIDs, which orla.hpp computes inline, compared with the exported functions.

#include <gtest/gtest.h>
#include <orla/orla.hpp>

#include <algorithm>
#include <chrono>
#include <limits>
#include <unordered_map>
#include <vector>

#include "kit/environment.h"
#include "kit/uuid.h"

namespace {

using orla::date;
using orla::stamp;
using orla::uuid;

constexpr std::uint32_t kDateNumbers = 65536;

// What can be computed is computed while the program is compiled.
static_assert(date::from_fields(2007, 12, 31)->number() == 7673);
static_assert(date::parse_iso("2007-12-31")->number() == 7673);
static_assert(date(7673).fields().year == 2007);
static_assert(date(7673) - date(7667) == 6);
static_assert(stamp(0xFFFFFFFF).utc().tm_year == 206);
static_assert(stamp(86400).day().fields().day == 2);
static_assert(std::is_trivially_copyable_v<date> && sizeof(date) == sizeof(std::uint16_t));
static_assert(std::is_trivially_copyable_v<stamp> && sizeof(stamp) == sizeof(std::uint32_t));
static_assert(std::is_trivially_copyable_v<uuid> && sizeof(uuid) == sizeof(k7_uuid__t));

std::string text_of(std::uint16_t number) {
  char text[ORLA_DATE_TEXT_SIZE];
  date_to_string(text, number);
  return text;
}

// "MM/DD/YYYY"
std::string text_of(const date::civil &fields) {
  char text[64];
  std::snprintf(text, sizeof text, "%02d/%02d/%04d", fields.month, fields.day, fields.year);
  return text;
}

TEST(CppDate, HasTheTextAndTheFieldsOfItsNumber) {
  for (std::uint32_t i = 0; i < kDateNumbers; ++i) {
    const date day(static_cast<std::uint16_t>(i));
    const std::string text = text_of(day.number());
    ASSERT_EQ(day.number(), i);
    ASSERT_EQ(day.text(), text);
    ASSERT_EQ(text_of(day.fields()), text);
    ASSERT_EQ(day.iso_text(), text.substr(6) + "-" + text.substr(0, 2) + "-" + text.substr(3, 2));
  }
}

TEST(CppDate, ComesBackOutOfItsTexts) {
  for (std::uint32_t i = 0; i < kDateNumbers; ++i) {
    const date day(static_cast<std::uint16_t>(i));
    ASSERT_EQ(date::parse(day.text()), day);
    ASSERT_EQ(date::parse_iso(day.iso_text()), day);
  }
}

TEST(CppDate, FollowsTheDayBefore) {
  for (std::uint32_t i = 0; i < kDateNumbers - 1; ++i) {
    const date day = date::from_days(i);
    const date next = date::from_days(i + 1);
    ASSERT_EQ(day.number(), static_cast<std::uint16_t>(59331 + i));
    ASSERT_EQ(day.key(), i);
    ASSERT_TRUE(day < next && day <= next && next > day && next >= day && day != next);
    ASSERT_FALSE(next < day || next <= day || day > next || day >= next || day == next);
    ASSERT_TRUE((day <=> next) < 0 && (next <=> day) > 0 && (day <=> date(day.number())) == 0);
    ASSERT_EQ(day + 1, next);
    ASSERT_EQ(next - 1, day);
    ASSERT_EQ(next - day, 1);
  }
}

TEST(CppDate, CountsDaysAndWraps) {
  const date first = date::from_days(0);
  const date last = date::from_days(65535);
  EXPECT_EQ(first.iso_text(), "1970-01-01");
  EXPECT_EQ(last.iso_text(), "2149-06-05");
  EXPECT_EQ(last - first, 65535);
  EXPECT_EQ(first - last, -65535);
  EXPECT_EQ(last + 1, first);
  EXPECT_EQ(first - 1, last);
  EXPECT_EQ(first + -1, last);
  EXPECT_EQ(first + 65536 * 3, first);
  EXPECT_EQ(first - std::numeric_limits<int>::min(), first);
  EXPECT_EQ(date(), date(0));
  EXPECT_EQ(date().iso_text(), "1986-12-28");
}

// True when fields in range and out of it give the same result as in the exported function.
bool comes_of_fields(int year) {
  const auto since_1900 = static_cast<std::int32_t>(static_cast<std::uint32_t>(year) - 1900);
  for (int month = -1; month <= 14; ++month) {
    for (int day = -1; day <= 33; ++day) {
      std::uint16_t number = 0;
      const bool exists = data_to_date(since_1900, month, day, &number) == 1;
      const auto ours = date::from_fields(year, month, day);
      if (ours.has_value() != exists || (exists && ours->number() != number)) return false;
    }
    if (month >= 1 && month <= 12 &&
        date::days_in_month(year, month) != days_in_month(year, month)) {
      return false;
    }
  }
  return true;
}

TEST(CppDate, ComesOfFieldsAsTheExportedFunctionSays) {
  for (int year = 1960; year < 2160; ++year)
    ASSERT_TRUE(comes_of_fields(year)) << year;
  for (int year = -32768; year < 32768; year += 19)
    ASSERT_TRUE(comes_of_fields(year)) << year;
  constexpr int kLowest = std::numeric_limits<int>::min();
  constexpr int kHighest = std::numeric_limits<int>::max();
  for (int i = 0; i < 2000; ++i)
    ASSERT_TRUE(comes_of_fields(kLowest + i) && comes_of_fields(kHighest - i)) << i;
  EXPECT_FALSE(date::from_fields(2007, kHighest, 1) || date::from_fields(2007, kLowest, 1));
  EXPECT_FALSE(date::from_fields(2007, 1, kHighest) || date::from_fields(2007, 1, kLowest));
}

TEST(LongCppDate, ComesOfFieldsOf65536Years) {
  for (int year = -32768; year < 32768; ++year)
    ASSERT_TRUE(comes_of_fields(year)) << year;
}

TEST(CppDate, ParsesTextsAsTheExportedFunction) {
  for (const char *text : {"12/31/2007", "1/2/2007", " 02/29/2008 rest", "02/29/2007", "12/31/07",
                           "", "2007-12-31", "13/01/2007", "06/06/2149", "07/04/3900"}) {
    std::uint16_t number = 0;
    const bool read = string_to_date(text, &number) == 1;
    const auto ours = date::parse(text);
    ASSERT_EQ(ours.has_value(), read) << text;
    ASSERT_EQ(ours.value_or(date(number)).number(), number) << text;
  }
}

TEST(CppDate, ParsesTheOldModesTexts) {
  const WithVariable mode("ORLALS_DATE_FORMAT_OLD", "");
  EXPECT_EQ(date::parse(std::string("2007 12 31")), date(7673));
  EXPECT_FALSE(date::parse("12/31/2007"));
}

TEST(CppDate, RefusesWhatIsNoIsoText) {
  for (const char *text :
       {"",           "2007-12-3",  "2007-12-310", "2007/12/31", "2007-12/31", "2007-13-01",
        "2007-00-01", "2007-12-00", "2007-02-29",  "2100-02-30", "1969-12-31", "2149-06-06",
        "9999-12-31", "0000-01-01", "-007-12-31",  "2007-+1-31", "2007-1 -31", "200a-12-31",
        "2007-12-3x", "2007-12--1", " 2007-12-1"}) {
    EXPECT_FALSE(date::parse_iso(text)) << text;
  }
  EXPECT_EQ(date::parse_iso("2100-02-29"), date::from_fields(2100, 2, 29));
  EXPECT_EQ(date::parse_iso(std::string_view("2007-12-31 rest", 10)), date(7673));
}

TEST(CppDate, IsTheChronoDayOfTheSameFieldsButForOneDay) {
  namespace chrono = std::chrono;
  int not_ok = 0;
  for (std::uint32_t i = 0; i < kDateNumbers; ++i) {
    const date day = date::from_days(i);
    const date::civil fields = day.fields();
    const chrono::year_month_day theirs = day.to_chrono();
    ASSERT_EQ(date::from(theirs), day);
    ASSERT_EQ(int{theirs.year()}, fields.year);
    ASSERT_EQ(unsigned{theirs.month()}, static_cast<unsigned>(fields.month));
    ASSERT_EQ(unsigned{theirs.day()}, static_cast<unsigned>(fields.day));
    not_ok += !theirs.ok();
    if (!theirs.ok()) continue;
    // From 2100-03-01 on there is a day more here.
    const auto days = chrono::sys_days(theirs).time_since_epoch().count();
    ASSERT_EQ(day.key(), days + (day > *date::parse_iso("2100-02-28")));
  }
  EXPECT_EQ(not_ok, 1);
  EXPECT_FALSE(date::parse_iso("2100-02-29")->to_chrono().ok());
  EXPECT_FALSE(date::from(chrono::year(2007) / 2 / 29));
}

TEST(CppDate, OfTodayIsTheExportedOne) {
  const std::uint16_t before = wek_date_stamp();
  const date today = date::today();
  EXPECT_TRUE(today.number() == before || today.number() == wek_date_stamp());
}

bool same_fields(const std::tm &a, const std::tm &b) {
  return a.tm_sec == b.tm_sec && a.tm_min == b.tm_min && a.tm_hour == b.tm_hour &&
         a.tm_mday == b.tm_mday && a.tm_mon == b.tm_mon && a.tm_year == b.tm_year &&
         a.tm_wday == b.tm_wday && a.tm_yday == b.tm_yday && a.tm_isdst == b.tm_isdst;
}

bool has_fields(std::uint32_t seconds) {
  const auto number = static_cast<std::int32_t>(seconds);
  const stamp when(seconds);
  return when.seconds() == seconds && same_fields(when.utc(), *wek_gmtime(&number)) &&
         same_fields(when.local(), *wek_localtime(&number)) &&
         stamp::from(when.to_chrono()) == when;
}

void expect_fields_of_random_stamps(int count) {
  const WithZone zone(kNewYork);
  Random random(16);
  for (int i = 0; i < count; ++i) {
    const std::uint32_t seconds = random.next();
    ASSERT_TRUE(has_fields(seconds)) << seconds;
  }
}

TEST(CppStamp, HasTheFieldsThatTheExportedFunctionsGive) {
  for (const std::uint32_t seconds : {0U, 86399U, 86400U, 0x7FFFFFFFU, 0x80000000U, 4107542399U,
                                      4107542400U, 3031096448U, 4294967295U})
    ASSERT_TRUE(has_fields(seconds)) << seconds;
  expect_fields_of_random_stamps(100'000);
}

TEST(LongCppStamp, HasTheFieldsThatTheExportedFunctionsGiveOfTenMillion) {
  expect_fields_of_random_stamps(10'000'000);
}

TEST(CppStamp, OfTheFirstAndTheLastSecondOfEveryDayHasItsFields) {
  const WithZone zone(kBerlin);
  for (std::uint32_t day = 0; day < 0xFFFFFFFF / 86400; ++day)
    ASSERT_TRUE(has_fields(day * 86400) && has_fields(day * 86400 + 86399)) << day;
}

TEST(CppStamp, HasItsUtcDay) {
  for (const std::uint32_t seconds : {0U, 86399U, 86400U, 536198400U, 4294967295U}) {
    char line[64];
    time_to_line(static_cast<std::int32_t>(seconds), line, nullptr);
    EXPECT_EQ(stamp(seconds).day().text() + "\n", line);
  }
}

TEST(CppStamp, IsOrderedUnsigned) {
  EXPECT_LT(stamp(0x7FFFFFFF), stamp(0x80000000));
  EXPECT_GT(stamp(0xFFFFFFFF), stamp());
  EXPECT_EQ(stamp(), stamp(0));
  EXPECT_TRUE((stamp(1) <=> stamp(2)) < 0);
}

TEST(CppStamp, IsTheSecondThatAMomentLiesIn) {
  using std::chrono::milliseconds;
  using Moment = std::chrono::system_clock::time_point;
  EXPECT_EQ(stamp::from(Moment(milliseconds(1999))), stamp(1));
  EXPECT_EQ(stamp::from(Moment(milliseconds(4294967295999))), stamp(0xFFFFFFFF));
  EXPECT_FALSE(stamp::from(Moment(milliseconds(4294967296000))));
  EXPECT_FALSE(stamp::from(Moment(milliseconds(-1))));
  EXPECT_EQ(stamp(0x80000000).to_chrono(), Moment(milliseconds(2147483648000)));
}

TEST(CppStamp, OfNowIsTheExportedOne) {
  const WithZone zone(kNewYork);
  const auto before = static_cast<std::uint32_t>(wek_time_stamp());
  const stamp now = stamp::now();
  EXPECT_TRUE(stamp(before) <= now &&
              now.seconds() <= static_cast<std::uint32_t>(wek_time_stamp()));
  const std::uint32_t local_before = wek_time_stamp_local();
  const stamp local = stamp::now_local();
  EXPECT_TRUE(local_before <= local.seconds() && local.seconds() <= wek_time_stamp_local());
}

// A second record that is near the first, so that every field decides now and then.
k7_uuid__t near(const k7_uuid__t &uuid, Random &random) {
  UuidBytes bytes = bytes_of(uuid);
  for (std::uint32_t changes = random.below(3); changes > 0; --changes)
    bytes[random.below(16)] = random.byte();
  return uuid_of(bytes);
}

bool compares(const k7_uuid__t &a, const k7_uuid__t &b) {
  const int expected = orla_uuid_cmp(&a, &b);
  const uuid first(a);
  const uuid second(b);
  return (first < second) == (expected < 0) && (first > second) == (expected > 0) &&
         (first <= second) == (expected <= 0) && (first >= second) == (expected >= 0) &&
         (first == second) == (orla_uuid_equal(&a, &b) == 1) &&
         (first != second) == (expected != 0) && ((first <=> second) < 0) == (expected < 0) &&
         ((first <=> second) == 0) == (expected == 0);
}

bool hashes(const k7_uuid__t &record, std::uint32_t modulus) {
  return uuid(record).bucket(modulus) == orla_uuid_hash(&record, modulus) &&
         uuid(record).bucket(65536) == orla_uuid_hash(&record, 65536);
}

void expect_order_and_buckets_of_random_records(int count) {
  Random random(316);
  for (int i = 0; i < count; ++i) {
    const k7_uuid__t a = random_uuid(random);
    const k7_uuid__t b = near(a, random);
    const std::uint32_t modulus = (random.next() >> random.below(32)) | 1;
    ASSERT_TRUE(compares(a, b) && hashes(a, modulus)) << text_of(a) << ' ' << text_of(b);
  }
}

TEST(CppUuid, IsOrderedAndHashedAsByTheExportedFunctions) {
  expect_order_and_buckets_of_random_records(1'000'000);
}

TEST(LongCppUuid, IsOrderedAndHashedAsByTheExportedFunctionsOverTenMillion) {
  expect_order_and_buckets_of_random_records(10'000'000);
}

TEST(CppUuid, DiffersInEveryBit) {
  const uuid nil;
  for (std::size_t bit = 0; bit < 128; ++bit) {
    UuidBytes bytes = {};
    bytes[bit / 8] = static_cast<std::uint8_t>(1U << bit % 8);
    const k7_uuid__t record = uuid_of(bytes);
    EXPECT_TRUE(compares(nil.record(), record) && compares(record, nil.record())) << bit;
    EXPECT_NE(std::hash<uuid>()(record), std::hash<uuid>()(nil)) << bit;
  }
}

TEST(CppUuid, HasTheTextOfItsRecordAndComesBackOutOfIt) {
  Random random(36);
  for (int i = 0; i < 100'000; ++i) {
    k7_uuid__t record = random_uuid(random);
    if (i % 2 == 0) record.host[5] = record.host[6] = 0;
    ASSERT_EQ(uuid(record).text(), ::text_of(record));
    k7_uuid__t decoded = {};
    orla_status status = 0;
    orla_uuid_decode(::text_of(record).c_str(), &decoded, &status);
    ASSERT_EQ(uuid::parse(::text_of(record)), uuid(decoded));
  }
  EXPECT_EQ(uuid(kExample).text(), kExampleText);
  for (const char *text : {"", "not a UUID", "d0f7b2fc0064.82.0a.00.02.03.00.00"})
    EXPECT_FALSE(uuid::parse(text)) << text;
  EXPECT_EQ(uuid(), uuid(k7_uuid__nil));
}

void machine_number(std::uint32_t *identifier, std::uint16_t *class_code) {
  *identifier = 0x0A000203;
  *class_code = 2;
}

TEST(CppUuid, IsGeneratedAsByTheExportedFunctions) {
  orla_uuid_host_provider = machine_number;
  k7_uuid__t before;
  k7_uuid__t after;
  orla_uuid_gen(&before);
  const uuid made = uuid::generate();
  const uuid reserved = uuid::reserved(4711);
  orla_uuid_gen(&after);
  EXPECT_EQ(made.text().substr(12), ".82.0a.00.02.03.00.00.00");
  EXPECT_LE(made.record().time_high - before.time_high, after.time_high - before.time_high);
  k7_uuid__t expected;
  orla_reserved_uuid_inflate(&expected, reserved.record().time_high, reserved.record().time_low,
                             4711);
  EXPECT_EQ(reserved, uuid(expected));
}

// Of 65,536 records that differ in one place: a random hash would leave 37 % of the buckets empty.
TEST(CppUuid, FillsTheBucketsOfATableOfAnySize) {
  struct {
    const char *what;
    k7_uuid__t (*make)(std::uint16_t number);
  } const rows[] = {
      {"time_high",
       [](std::uint16_t n) {
         return k7_uuid__t{0xD0F70000U + n, 1, 0, 0x82, {10}};
       }},
      {"time_low",
       [](std::uint16_t n) {
         return k7_uuid__t{0xD0F70000, n, 0, 0x82, {10}};
       }},
      {"reserved",
       [](std::uint16_t n) {
         return k7_uuid__t{0xD0F70000, 1, n, 0x99, {10}};
       }},
      {"host",
       [](std::uint16_t n) {
         const auto high = static_cast<std::uint8_t>(n >> 8);
         return k7_uuid__t{0xD0F70000, 1, 0, 0x82, {10, 0, high, static_cast<std::uint8_t>(n)}};
       }},
  };
  for (const auto &row : rows) {
    std::vector<bool> low_bits(65536);
    std::unordered_map<uuid, int> table;
    for (std::uint32_t i = 0; i < 65536; ++i) {
      const uuid made(row.make(static_cast<std::uint16_t>(i)));
      low_bits[std::hash<uuid>()(made) & 0xFFFF] = true;
      ++table[made];
    }
    EXPECT_EQ(table.size(), 65536U);
    const auto filled = std::count(low_bits.begin(), low_bits.end(), true);
    EXPECT_GT(filled, 65536 * 6 / 10) << row.what;
    std::size_t longest = 0;
    for (std::size_t bucket = 0; bucket < table.bucket_count(); ++bucket)
      longest = std::max(longest, table.bucket_size(bucket));
    EXPECT_LT(longest, 12U) << row.what;
  }
}

}  // namespace
