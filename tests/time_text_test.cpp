// Date and time text: formatting, lines, printed lines, formats and both input modes.

#include <gtest/gtest.h>
#include <orla/time.h>

#include <cerrno>
#include <clocale>
#include <cstring>
#include <random>
#include <string>
#include <tuple>

#include "fakes/heap.h"
#include "fakes/time_text.h"
#include "kit/captured.h"
#include "kit/environment.h"
#include "kit/guarded_buffer.h"
#include "plain/date.h"

namespace {

constexpr const char *kOldMode = "ORLALS_DATE_FORMAT_OLD";

std::string date_text(std::uint16_t date) {
  char text[ORLA_DATE_TEXT_SIZE];
  EXPECT_EQ(date_to_string(text, date), 10U);
  return text;
}

std::string time_text(std::int32_t stamp) {
  char text[ORLA_DATE_TEXT_SIZE];
  EXPECT_EQ(time_to_string(text, stamp), 24U);
  return text;
}

TEST(DateText, WritesMonthDayAndFourDigitYear) {
  EXPECT_EQ(date_text(0), "12/28/1986");
  EXPECT_EQ(date_text(59331), "01/01/1970");
  EXPECT_EQ(date_text(4752), "01/01/2000");
  EXPECT_EQ(date_text(65535), "12/27/1986");
  EXPECT_EQ(date_text(59330), "06/05/2149");
  EXPECT_EQ(date_text(41336), "02/29/2100");
}

TEST(DateText, FitsThirtyBytesAndNeverNeedsTheClockOrTheEnvironment) {
  const WithVariable old_mode(kOldMode, "");
  GuardedBuffer text(ORLA_DATE_TEXT_SIZE);
  EXPECT_EQ(date_to_string(text.data(), 0), 10U);
  EXPECT_EQ(text.data()[10], '\0');
  EXPECT_EQ(text.data()[11], 0x5A);
}

TEST(TimeText, WritesUtcWithTheDayPaddedByASpace) {
  const WithZone zone(kNewYork);
  EXPECT_EQ(time_text(0), "Thu Jan  1 00:00:00 1970");
  EXPECT_EQ(time_text(536112000), "Sun Dec 28 00:00:00 1986");
  EXPECT_EQ(time_text(1183420799), "Mon Jul  2 23:59:59 2007");
}

TEST(TimeText, ReadsAStampPast2038AsOneBefore1970) {
  EXPECT_EQ(time_text(INT32_MIN), "Fri Dec 13 20:45:52 1901");
  EXPECT_EQ(time_text(-1), "Wed Dec 31 23:59:59 1969");
}

TEST(TimeText, GoesThroughStrftimeWithThirtyBytesAndTheLongFormat) {
  std::size_t capacity = 0;
  std::string format;
  const With strftime(fake_strftime,
                      [&](char *out, std::size_t room, const char *asked, const std::tm *fields) {
                        capacity = room;
                        format = asked;
                        return fake_strftime.real(out, room, asked, fields);
                      });
  time_text(0);
  EXPECT_EQ(capacity, 30U);
  EXPECT_EQ(format, "%a %b %e %H:%M:%S %Y");
}

TEST(TimeText, ReturnsZeroAndLeavesErrnoAloneWhenTheNamesOfTheLocaleDoNotFit) {
  const With strftime(fake_strftime, [](char *, std::size_t, const char *, const std::tm *) {
    errno = ERANGE;
    return std::size_t{0};
  });
  GuardedBuffer text(ORLA_DATE_TEXT_SIZE);
  errno = EACCES;
  EXPECT_EQ(time_to_string(text.data(), 0), 0U);
  EXPECT_EQ(errno, EACCES);
}

TEST(TimeText, LeavesTheLocaleAlone) {
  // If the library took over the environment's locale, it would be this one, which every C library
  // has.
  const WithVariable environment("LC_ALL", "C.UTF-8");
  time_text(0);
  EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
}

TEST(DateLine, PutsThePrefixBeforeTheDateWithNothingBetween) {
  char line[64];
  EXPECT_EQ(date_to_line(0, line, "Date: "), 17);
  EXPECT_STREQ(line, "Date: 12/28/1986\n");
  EXPECT_EQ(date_to_line(0, line, "Date:"), 16);
  EXPECT_STREQ(line, "Date:12/28/1986\n");
  EXPECT_EQ(date_to_line(0, line, ""), 11);
  EXPECT_STREQ(line, "12/28/1986\n");
  EXPECT_EQ(date_to_line(0, line, nullptr), 11);
  EXPECT_STREQ(line, "12/28/1986\n");
}

TEST(DateLine, CopiesPercentSignsOfThePrefixUnchanged) {
  char line[64];
  EXPECT_EQ(date_to_line(0, line, "100%% %d "), 20);
  EXPECT_STREQ(line, "100%% %d 12/28/1986\n");
}

TEST(DateLine, CopiesAPrefixOfAnyLengthAndNeedsTwelveBytesAfterIt) {
  const std::string prefix(5000, 'x');
  GuardedBuffer line(prefix.size() + 12);
  EXPECT_EQ(date_to_line(0, line.data(), prefix.c_str()), 5011);
  EXPECT_EQ(line.data(), prefix + "12/28/1986\n");
}

TEST(TimeLine, WritesTheUtcDayWhateverTheZone) {
  const WithZone zone(kNewYork);
  char line[64];
  EXPECT_EQ(time_to_line(86399, line, nullptr), 11);
  EXPECT_STREQ(line, "01/01/1970\n");
  EXPECT_EQ(time_to_line(86400, line, "on "), 14);
  EXPECT_STREQ(line, "on 01/02/1970\n");
}

TEST(TimeLine, ReadsTheStampAsUnsigned) {
  char line[64];
  time_to_line(-1, line, nullptr);
  EXPECT_STREQ(line, "02/06/2106\n");
}

// One row for each way of printing a line.
struct Printed {
  std::string text;
  int result;
};

int print_in_way(int way, std::uint16_t date, std::int32_t stamp, const char *prefix) {
  if (way == 0) return print_date_line(date, prefix);
  if (way == 1) return print_time_line(stamp, prefix);
  if (way == 2) return fprint_date_line(stdout, date, prefix);
  return fprint_time_line(stdout, stamp, prefix);
}

Printed print_all(std::uint16_t date, std::int32_t stamp, const char *prefix, int way) {
  Captured out(STDOUT_FILENO);
  const int result = print_in_way(way, date, stamp, prefix);
  return {out.text(), result};
}

class PrintedLine : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(EveryWay, PrintedLine, testing::Range(0, 4));

TEST_P(PrintedLine, ReadsThePrefixAsAFormat) {
  const struct {
    const char *prefix;
    const char *line;
  } rows[] = {
      {nullptr, "12/28/1986\n"},       {"", "12/28/1986\n"},       {"Date: ", "Date: 12/28/1986\n"},
      {"100%% ", "100% 12/28/1986\n"}, {"%%%%", "%%12/28/1986\n"},
  };
  for (const auto &row : rows) {
    const Printed printed = print_all(0, 536112000, row.prefix, GetParam());
    EXPECT_EQ(printed.text, row.line);
    EXPECT_EQ(printed.result, static_cast<int>(std::strlen(row.line)));
  }
}

TEST(PrintedTimeLine, ReadsTheStampAsUnsigned) {
  EXPECT_EQ(print_all(0, -1, nullptr, 1).text, "02/06/2106\n");
  EXPECT_EQ(print_all(0, -1, nullptr, 3).text, "02/06/2106\n");
}

TEST_P(PrintedLine, WritesTheTextOfErrnoForPercentM) {
  errno = ENOENT;
  EXPECT_EQ(print_all(0, 536112000, "%m: ", GetParam()).text,
            "No such file or directory: 12/28/1986\n");
}

TEST_P(PrintedLine, WritesAnyOtherConversionUnchanged) {
  for (const char *prefix : {"%d ", "%s", "%n", "%5m", "%", "%1$2d", "%%%s", "% %", "%-%"}) {
    std::string expected = prefix;
    if (expected == "%%%s") expected = "%%s";
    EXPECT_EQ(print_all(0, 536112000, prefix, GetParam()).text, expected + "12/28/1986\n");
  }
}

TEST_P(PrintedLine, TakesAPrefixOfAnyLength) {
  for (const std::size_t length : {100U, 2036U, 2037U, 2038U, 5000U, 100000U}) {
    const std::string prefix(length, 'x');
    const Printed printed = print_all(0, 536112000, prefix.c_str(), GetParam());
    EXPECT_EQ(printed.text, prefix + "12/28/1986\n");
    EXPECT_EQ(printed.result, static_cast<int>(length + 11));
  }
}

TEST_P(PrintedLine, CutsALongPrefixWhenTheHeapIsExhausted) {
  const std::string prefix(5000, 'x');
  Printed printed;
  {
    const HeapExhausted heap;
    printed = print_all(0, 536112000, prefix.c_str(), GetParam());
  }
  EXPECT_EQ(printed.text, prefix.substr(0, 2048));
  EXPECT_EQ(printed.result, 2048);
}

TEST(PrintedLineOnAStream, ReturnsANegativeValueAndLeavesTheErrorInErrnoWhenTheStreamFails) {
  std::FILE *full = std::fopen("/dev/full", "w");
  ASSERT_NE(full, nullptr);
  std::setvbuf(full, nullptr, _IONBF, 0);
  errno = 0;
  EXPECT_EQ(fprint_date_line(full, 0, nullptr), -1);  // fprintf()'s own
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_EQ(fprint_time_line(full, 0, "x"), -1);
  std::fclose(full);
}

// A line feed flushes such a stream; fwrite() would count the line as written even when that fails.
TEST(PrintedLineOnAStream, ReturnsANegativeValueWhenTheFlushAfterTheLineFails) {
  for (const std::size_t prefix_length : {0U, 100U, 5000U}) {
    const std::string prefix(prefix_length, 'x');
    std::FILE *full = std::fopen("/dev/full", "w");
    ASSERT_NE(full, nullptr);
    std::setvbuf(full, nullptr, _IOLBF, BUFSIZ);
    EXPECT_EQ(std::fprintf(full, "%s\n", prefix.c_str()), -1);
    EXPECT_EQ(fprint_date_line(full, 0, prefix.c_str()), -1);
    EXPECT_EQ(fprint_time_line(full, 0, prefix.c_str()), -1);
    std::fclose(full);
  }
}

TEST_P(PrintedLine, LeavesErrnoAloneWhenItIsPrinted) {
  const std::string prefix(5000, 'x');
  Captured out(STDOUT_FILENO);
  const HeapExhausted heap;  // the line is cut, and that is no error
  errno = ERANGE;
  EXPECT_GT(print_in_way(GetParam(), 0, 0, prefix.c_str()), 0);
  EXPECT_EQ(errno, ERANGE);
}

TEST(PrintedLineOnAStream, EqualsFprintfForPrefixesWithoutArguments) {
  std::mt19937 random(1);
  const char *pieces[] = {"a", "%%", " ", "%m", "12", "/", "\n"};
  for (int i = 0; i < 5000; ++i) {
    std::string prefix;
    for (auto count = random() % 12; count > 0; --count)
      prefix += pieces[random() % 7];
    const auto date = static_cast<std::uint16_t>(random());
    char line[256];
    char plain[512];
    char ours[512] = {};
    date_to_line(date, line, prefix.c_str());
    errno = EACCES;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
    const int expected = std::snprintf(plain, sizeof plain, line);
#pragma GCC diagnostic pop
    std::FILE *stream = fmemopen(ours, sizeof ours, "w");
    errno = EACCES;
    EXPECT_EQ(fprint_date_line(stream, date, prefix.c_str()), expected);
    std::fclose(stream);
    ASSERT_STREQ(ours, plain);
  }
}

TEST(DateFormat, TranslatesToNumberedConversions) {
  const struct {
    const char *format;
    const char *numeric;
  } rows[] = {
      {"%m/%d/%y", "%1$2d/%2$2d/%3$2d"},
      {"%Y-%m-%d %H", "%3$4d-%1$2d-%2$2d "},
      {"50%%", "50%"},
      {"", ""},
      {"plain", "plain"},
      {"%%d", "%d"},  // one "%", which combines with the character after it
      {"%%%d", "%%2$2d"},
      {"a%Hb%%%e", "ab%"},
      {"%\n%M%D", ""},
      {"%", ""},  // a lone "%" at the end is dropped
      {"%d%", "%2$2d"},
  };
  for (const auto &row : rows) {
    char numeric[64];
    std::memset(numeric, 'x', sizeof numeric);
    k7_date_format(row.format, numeric);
    EXPECT_STREQ(numeric, row.numeric) << row.format;
  }
}

TEST(DateFormat, NeedsTwoAndAHalfTimesTheInput) {
  const std::string format = "%m%d%y%Y";
  GuardedBuffer numeric(format.size() * 5 / 2 + 1);
  k7_date_format(format.c_str(), numeric.data());
  EXPECT_STREQ(numeric.data(), "%1$2d%2$2d%3$2d%3$4d");
}

TEST(DateFormat, GivesAPrintfFormatOfMonthDayAndYear) {
  char numeric[64];
  k7_date_format("%Y.%m.%d|%y", numeric);
  char text[64];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  std::snprintf(text, sizeof text, numeric, 1, 2, 7);
#pragma GCC diagnostic pop
  EXPECT_STREQ(text, "   7. 1. 2| 7");
}

TEST(FieldExtraction, SetsDayMonthAndYearAlone) {
  std::tm fields;
  std::memset(&fields, 0x11, sizeof fields);
  const std::tm before = fields;
  orla_strptime("12/31/2007 23:59", "%m/%d/%Y %H:%M", &fields);
  EXPECT_EQ(fields.tm_year, 107);
  EXPECT_EQ(fields.tm_mon, 11);
  EXPECT_EQ(fields.tm_mday, 31);
  EXPECT_EQ(fields.tm_hour, before.tm_hour);
  EXPECT_EQ(fields.tm_min, before.tm_min);
  EXPECT_EQ(fields.tm_wday, before.tm_wday);
  EXPECT_EQ(fields.tm_yday, before.tm_yday);
  EXPECT_EQ(fields.tm_isdst, before.tm_isdst);
}

TEST(FieldExtraction, LowersAYearOver3800By1900) {
  std::tm fields = {};
  orla_strptime("3800", "%Y", &fields);
  EXPECT_EQ(fields.tm_year, 1900);
  orla_strptime("3801", "%Y", &fields);
  EXPECT_EQ(fields.tm_year, 1);
}

TEST(FieldExtraction, LeavesWhatATextDoesNotReachAtZeroAndTheYearAtMinusOne) {
  std::tm fields = {};
  fields.tm_year = fields.tm_mon = fields.tm_mday = 77;
  orla_strptime("nonsense", "%m/%d/%Y", &fields);
  EXPECT_EQ(fields.tm_year, -1);
  EXPECT_EQ(fields.tm_mon, 0);
  EXPECT_EQ(fields.tm_mday, 0);
  orla_strptime("12/31", "%m/%d/%Y", &fields);
  EXPECT_EQ(fields.tm_year, -1);
  EXPECT_EQ(fields.tm_mon, 11);
  EXPECT_EQ(fields.tm_mday, 31);
}

struct ParseRow {
  const char *text;
  int result;
  std::int32_t year;
  std::int32_t month;
  std::int32_t day;
};

void expect_parsed(const ParseRow &row) {
  std::int32_t year = -7;
  std::int32_t month = -7;
  std::int32_t day = -7;
  EXPECT_EQ(k7_parse_date(row.text, &year, &month, &day), row.result) << row.text;
  if (row.result != 0) return;
  EXPECT_EQ(year, row.year) << row.text;
  EXPECT_EQ(month, row.month) << row.text;
  EXPECT_EQ(day, row.day) << row.text;
}

// Callers that need one field only pass one variable for the others.
TEST(StandardInput, StoresYearMonthAndDayInThisOrderAndChecksWhatItStored) {
  const WithVariable mode(kOldMode, nullptr);
  std::int32_t year;
  std::int32_t month;
  std::int32_t day;
  std::int32_t any;
  k7_parse_date("12/31/2007", &year, &month, &day);
  for (const char *text : {"12/31/2007", " 12/31/2007"}) {
    EXPECT_EQ(k7_parse_date(text, &any, &any, &day), 0) << text;
    EXPECT_EQ(any, 12) << text;
    EXPECT_EQ(k7_parse_date(text, &any, &month, &any), 0) << text;
    EXPECT_EQ(any, 31) << text;
    EXPECT_EQ(k7_parse_date(text, &year, &any, &any), 255) << text;
    EXPECT_EQ(any, 31) << text;
    EXPECT_EQ(k7_parse_date(text, &any, &any, &any), 255) << text;
    EXPECT_EQ(any, 31) << text;
  }
}

TEST(StandardInput, AcceptsMonthDayAndYearWithItsCentury) {
  const WithVariable mode(kOldMode, nullptr);
  const ParseRow rows[] = {
      {"12/31/2007", 0, 107, 12, 31},
      {"1/2/2007", 0, 107, 1, 2},
      {" 1/ 2/ 2007", 0, 107, 1, 2},
      {"12/31/2007 and more", 0, 107, 12, 31},
      {"02/29/2007", 0, 107, 2, 29},
      {"01/01/1900", 0, 0, 1, 1},
      {"12/31/20071", 0, 107, 12, 31},
      {"12/31/3800", 0, 1900, 12, 31},
      // Over 3800 the year is lowered by 1900, over 5700 twice.
      {"12/31/3801", 0, 1, 12, 31},
      {"12/31/5700", 0, 1900, 12, 31},
      {"12/31/5701", 0, 1, 12, 31},
      {"1/31/9999", 0, 4299, 1, 31},
      {"01/31/9999", 0, 4299, 1, 31},
  };
  for (const ParseRow &row : rows)
    expect_parsed(row);
}

TEST(StandardInput, RejectsEverythingElse) {
  const WithVariable mode(kOldMode, nullptr);
  for (const char *text :
       {"12/31/07",   "12/31/1899",  "01/01/0001", "",           " ",          "12",
        "12/",        "12/31",       "12/31/",     "13/01/2007", "00/01/2007", "01/00/2007",
        "01/32/2007", "2007/12/31",  "2007 12 31", "12-31-2007", "a2/31/2007", "12/31/x",
        "/",          "1 2/31/2007", "12 /31/2007"}) {
    expect_parsed({text, 255, 0, 0, 0});
  }
}

TEST(OldInput, AcceptsYearMonthAndDay) {
  const WithVariable mode(kOldMode, "");  // empty counts as set
  const ParseRow rows[] = {
      {"2007 12 31", 0, 107, 12, 31},
      {"2007/12/31", 0, 107, 12, 31},
      {"107 12 31", 0, 107, 12, 31},
      {"99 1 5", 0, 99, 1, 5},
      {"7 1 5", 0, 7, 1, 5},
      {"1900 1 1", 0, 1900, 1, 1},
      {"1901 1 1", 0, 1, 1, 1},
      {" \n\t 2007\t12\n31", 0, 107, 12, 31},
      {"2007 12 31 rest", 0, 107, 12, 31},
      {"2007/12/31rest", 0, 107, 12, 31},
      {"  2007/ 12/ 31", 0, 107, 12, 31},
      {"0 1 1", 0, 0, 1, 1},
      {"+2007 +12 +31", 0, 107, 12, 31},
      {"2007 08 09", 0, 107, 8, 9},  // decimal in spite of the zeros
      {"2007/010/011", 0, 107, 10, 11},
  };
  for (const ParseRow &row : rows)
    expect_parsed(row);
}

TEST(OldInput, RejectsEverythingElse) {
  const WithVariable mode(kOldMode, "no");
  for (const char *text :
       {"2007-12-31", "12/31/2007", "2007//12/31", "2007 /12/31", "2007", "", "x", "2007 12",
        "2007/12", "-1 1 1", "2007 13 1", "2007 0 1", "2007 1 0", "2007 1 32", "2007/12 31"}) {
    expect_parsed({text, 255, 0, 0, 0});
  }
}

TEST(OldInput, NeedsThreeNumbersEvenWhereTheDayIsPreset) {
  const WithVariable mode(kOldMode, "");
  std::uint16_t date = 0;
  EXPECT_EQ(string_to_date("2007 12", &date), 0);
  EXPECT_EQ(string_to_date("2007/12", &date), 0);
}

TEST(OldInput, MayHaveWrittenOutputsOfARejectedText) {
  const WithVariable mode(kOldMode, "1");
  std::int32_t year = -7;
  std::int32_t month = -7;
  std::int32_t day = -7;
  EXPECT_EQ(k7_parse_date("2007 x", &year, &month, &day), 255);
  EXPECT_EQ(year, 2007);
  EXPECT_EQ(day, -7);
}

// Quirk: the C library converts to a long and cuts it to an int.
TEST(OldInput, TakesANumberBeyondAnIntForTheLargestOneOn32BitsAndForItsLowBitsOn64) {
  const WithVariable mode(kOldMode, "");
  const bool saturates = sizeof(long) == 4;
  expect_parsed({"4294969303 12 31", 0, saturates ? INT32_MAX - 1900 : 107, 12, 31});
  expect_parsed({"2007 4294967308 31", saturates ? 255 : 0, 107, 12, 31});
  expect_parsed({"2007/12/4294967327", saturates ? 255 : 0, 107, 12, 31});
  expect_parsed({"-4294965289 12 31", saturates ? 255 : 0, 107, 12, 31});
}

// The C library sets it even when it succeeds, for example for a number that is too large.
TEST(OldInput, LeavesErrnoAlone) {
  const WithVariable mode(kOldMode, "");
  std::int32_t number;
  std::uint16_t date;
  for (const char *text : {"99999999999999999999 1 1", "2007 99999999999999999999 1"}) {
    errno = EACCES;
    k7_parse_date(text, &number, &number, &number);
    string_to_date(text, &date);
    string_to_time(text);
    EXPECT_EQ(errno, EACCES) << text;
  }
}

TEST(StandardInput, LeavesErrnoAlone) {
  const WithVariable mode(kOldMode, nullptr);
  const With strptime(fake_strptime, [](const char *text, const char *format, std::tm *fields) {
    char *end = fake_strptime.real(text, format, fields);
    errno = ERANGE;
    return end;
  });
  std::int32_t number;
  std::uint16_t date;
  std::tm fields;
  for (const char *text : {"1/2/2007", "nonsense"}) {
    errno = EACCES;
    k7_parse_date(text, &number, &number, &number);
    string_to_date(text, &date);
    string_to_time(text);
    orla_strptime(text, "%m/%d/%Y", &fields);
    EXPECT_EQ(errno, EACCES) << text;
  }
}

TEST(InputMode, IsDecidedAtTheFirstParseForGood) {
  {
    const WithVariable mode(kOldMode, nullptr);
    expect_parsed({"12/31/2007", 0, 107, 12, 31});
  }
  const WithVariable mode(kOldMode, "1");
  expect_parsed({"12/31/2007", 0, 107, 12, 31});
  expect_parsed({"2007 12 31", 255, 0, 0, 0});
}

TEST(InputMode, StaysOldWhenTheVariableGoes) {
  {
    const WithVariable mode(kOldMode, "0");
    std::uint16_t date = 0;
    EXPECT_EQ(string_to_date("2007 12 31", &date), 1);
  }
  const WithVariable mode(kOldMode, nullptr);
  expect_parsed({"2007 12 31", 0, 107, 12, 31});
}

TEST(InputMode, IsNotDecidedByFormatting) {
  const WithVariable standard(kOldMode, nullptr);
  char line[64];
  date_to_line(0, line, nullptr);
  time_text(0);
  std::tm fields = {};
  orla_strptime("1/1/2007", "%m/%d/%Y", &fields);
  const WithVariable old_mode(kOldMode, "");
  expect_parsed({"2007 12 31", 0, 107, 12, 31});
}

TEST(TextToDate, GivesTheDateNumber) {
  const WithVariable mode(kOldMode, nullptr);
  std::uint16_t date = 1;
  EXPECT_EQ(string_to_date("12/28/1986", &date), 1);
  EXPECT_EQ(date, 0);
  EXPECT_EQ(string_to_date("02/29/2008", &date), 1);
  EXPECT_EQ(date_text(date), "02/29/2008");
  EXPECT_EQ(string_to_date("02/29/2100", &date), 1);
  EXPECT_EQ(date, 41336);
}

TEST(TextToDate, LeavesTheOutputAloneForTextsAndDaysThatAreNone) {
  const WithVariable mode(kOldMode, nullptr);
  std::uint16_t date = 4711;
  EXPECT_EQ(string_to_date("02/29/2007", &date), 0);
  EXPECT_EQ(string_to_date("12/31/07", &date), 0);
  EXPECT_EQ(string_to_date("", &date), 0);
  EXPECT_EQ(date, 4711);
}

TEST(TextToTime, GivesMidnightUtc) {
  const WithVariable mode(kOldMode, nullptr);
  const WithZone zone(kNewYork);
  EXPECT_EQ(string_to_time("12/29/1986"), 536198400);
  EXPECT_EQ(string_to_time("01/02/1970"), 86400);
  EXPECT_EQ(static_cast<std::uint32_t>(string_to_time("07/03/2040")), 2224886400U);
  EXPECT_EQ(static_cast<std::uint32_t>(string_to_time("02/06/2106")), 49710U * 86400U);
}

TEST(TextToTime, WrapsFirstInItsSecondsAndThenInItsDays) {
  const WithVariable mode(kOldMode, nullptr);
  EXPECT_EQ(string_to_time("02/07/2106"), 63104);
  EXPECT_EQ(string_to_time("06/05/2149"), 1367256704);
  EXPECT_EQ(string_to_time("06/07/2149"), 86400);
}

TEST(TextToTime, IsZeroForAFailureAndForDatesLikeDateNumberZeroAndTheEpoch) {
  const WithVariable mode(kOldMode, nullptr);
  for (const char *text : {"nonsense", "02/29/2007", "12/28/1986", "06/02/2166", "11/05/2345",
                           "01/01/1970", "01/01/1969", "01/01/1900", "06/06/2149", "11/09/2328"})
    EXPECT_EQ(string_to_time(text), 0) << text;
}

std::string random_date_text(std::mt19937 &random) {
  char text[32];
  std::snprintf(text, sizeof text, "%02u/%02u/%04u", static_cast<unsigned>(random() % 14),
                static_cast<unsigned>(random() % 34), static_cast<unsigned>(random() % 10000));
  return text;
}

void mutate(std::string &text, std::mt19937 &random) {
  static constexpr char kAlphabet[] = "0123456789/ -+\t\n:;.aZ%\xFF\x80";
  const auto letter = [&] { return kAlphabet[random() % (sizeof kAlphabet - 1)]; };
  const std::size_t at = text.empty() ? 0 : random() % text.size();
  switch (random() % 4) {
    case 0:
      if (!text.empty()) text[at] = letter();
      break;
    case 1:
      text.insert(at, 1, letter());
      break;
    case 2:
      if (!text.empty()) text.erase(at, 1);
      break;
    default:
      text.resize(at);
  }
}

TEST(StandardInput, EqualsStrptimeForAMillionMutatedTexts) {
  const WithVariable mode(kOldMode, nullptr);
  std::mt19937 random(20070203);
  for (int i = 0; i < 1000000; ++i) {
    std::string text = random_date_text(random);
    for (auto count = random() % 4; count > 0; --count)
      mutate(text, random);
    const auto expected = plain::standard_date(text.c_str());
    plain::DateFields got;
    const int result = k7_parse_date(text.c_str(), &got.year, &got.month, &got.day);
    ASSERT_EQ(result, expected ? 0 : 255) << text;
    if (!expected) continue;
    ASSERT_EQ(std::tie(got.year, got.month, got.day),
              std::tie(expected->year, expected->month, expected->day))
        << text;
  }
}

// strptime() is only called for the first text and for those in another form: scanning the usual
// form takes a fraction of its time.
TEST(StandardInput, NeedsNoStrptimeForTheTextOfADateAfterTheFirst) {
  const WithVariable mode(kOldMode, nullptr);
  int calls = 0;
  const With strptime(fake_strptime, [&](const char *text, const char *format, std::tm *fields) {
    ++calls;
    return fake_strptime.real(text, format, fields);
  });
  std::uint16_t date = 0;
  EXPECT_EQ(string_to_date("01/01/1900", &date), 1);
  EXPECT_EQ(calls, 1);
  calls = 0;
  for (const char *text :
       {"01/01/1900", "01/01/1970", "09/19/2000", "10/09/1999", "12/31/2149", "12/31/3799"})
    EXPECT_EQ(string_to_date(text, &date), 1) << text;
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(string_to_date("1/1/1970", &date), 1);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(string_to_date("01/01/3800", &date), 1);
  EXPECT_EQ(calls, 2);
}

TEST(StandardInput, ReadsNoFurtherThanTheEndOfAShortText) {
  const WithVariable mode(kOldMode, nullptr);
  const std::string whole = "12/31/2007";
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    GuardedBuffer text(length + 1);
    std::memcpy(text.data(), whole.c_str(), length);
    text.data()[length] = '\0';
    std::uint16_t date = 0;
    EXPECT_EQ(string_to_date(text.data(), &date), length >= 7 && length == whole.size()) << length;
  }
}

}  // namespace
