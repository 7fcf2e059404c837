// Every function that the headers call safe, in eight threads at once, from the first call of the
// process on. Each case checks the results; ThreadSanitizer finds what they do not show. UUIDs are
// in uuid_threads_test.cpp, the inventory of a faked host is in inventory_threads_test.cpp.

#include <gtest/gtest.h>
#include <orla/orla.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "kit/at_once.h"
#include "kit/captured.h"
#include "kit/converters.h"
#include "kit/temp_dir.h"

namespace {

constexpr int kRounds = 2000;

TEST(Threads, ReverseBytesAtOnce) {
  expect_right(kRounds, [](int round) {
    const auto number = static_cast<std::uint32_t>(round) * 2654435761U;
    const auto low = static_cast<std::uint16_t>(number);
    char bytes[] = {'a', 'b'};
    swap(&bytes[0], &bytes[1]);
    return (bytes[0] != 'b') + (htonl(number) != __builtin_bswap32(number)) +
           (ntohl(number) != __builtin_bswap32(number)) + (htons(low) != __builtin_bswap16(low)) +
           (ntohs(low) != __builtin_bswap16(low));
  });
}

TEST(Threads, TakeTokensOfOneTextAtOnce) {
  expect_right(kRounds, [](int) {
    static const char text[] = "''one' 'two'";
    char token[8];
    int wrong = count_delimited_tokens_in_string(text, '\'') != 2;
    wrong += get_first_delimited_token_in_string(text + 1, '\'', token, 8) != text + 6;
    wrong += std::strcmp(token, "one") != 0;
    wrong += get_delimited_token_in_string(text, 1, '\'', token, 8) != text + 8;
    return wrong + (std::strcmp(token, " ") != 0);
  });
}

TEST(Threads, ProbeTheProcessorAtOnce) {
  // The figures are the host's own, the same for every thread.
  static int processors;
  static const std::uint32_t method = count_physical_proc(&processors);
  static const int kernel_figure = ht_os_cpus();
  expect_right(20, [](int) {
    std::uint32_t vendor[4] = {};
    cpuid(0, &vendor[0], &vendor[1], &vendor[2], &vendor[3]);
    int count = 0;
    int wrong = count_physical_proc(&count) != method || count != processors;
    wrong += CPUID_is_supported() == 0 || vendor[1] == 0;
    wrong += ht_os_cpus() != kernel_figure;
    return wrong + (HTSupported() < 0);
  });
}

TEST(Threads, TakeInventoryAtOnce) {
  expect_right(20, [](int) {
    int online = 0;
    int configured = 0;
    int size = -1;
    int wrong = tavGetOnlineProcs(&online) != 0;
    wrong += tavGetConfigProcs(&configured) != 0 || configured != online;
    return wrong + (tavGetMemorySize(&size) != 0);
  });
}

TEST(Threads, ComputeDatesAtOnce) {
  expect_right(kRounds, [](int round) {
    std::uint16_t date = 0;
    int wrong = data_to_date(107, 12, 1 + round % 31, &date) != 1;
    wrong += date != 7643 + round % 31;
    wrong += days_in_year(2000 + round % 4) != (round % 4 == 0 ? 366 : 365);
    wrong += days_in_month(2100, 2) != 29;
    RestoreTZ();
    return wrong + (wek_time_stamp() == 0);
  });
}

TEST(Threads, WriteDatesAtOnce) {
  expect_right(kRounds, [](int) {
    char text[ORLA_DATE_TEXT_SIZE];
    char line[32];
    int wrong = date_to_string(text, 7673) != 10;
    wrong += std::strcmp(text, "12/31/2007") != 0;
    wrong += date_to_line(7673, line, "on ") != 14;
    wrong += std::strcmp(line, "on 12/31/2007\n") != 0;
    wrong += time_to_line(86400, line, nullptr) != 11;
    wrong += std::strcmp(line, "01/02/1970\n") != 0;
    k7_date_format("%d.%m", line);
    return wrong + (std::strcmp(line, "%2$2d.%1$2d") != 0);
  });
}

TEST(Threads, PrintLinesToOneStreamAtOnce) {
  static std::FILE *stream;
  stream = std::tmpfile();
  ASSERT_NE(stream, nullptr);
  constexpr int kLines = 200;
  expect_right(kLines, [](int) {
    return (fprint_date_line(stream, 7673, "on ") != 14) +
           (fprint_time_line(stream, 86400, nullptr) != 11);
  });
  EXPECT_EQ(std::ftell(stream), kThreads * kLines * (14 + 11));
  std::fclose(stream);
}

// The threads compete for the first parse of the process, which decides the input mode.
TEST(Threads, ParseTheFirstDatesAtOnce) {
  unsetenv("ORLALS_DATE_FORMAT_OLD");
  expect_right(kRounds, [](int) {
    std::int32_t year = 0;
    std::int32_t month = 0;
    std::int32_t day = 0;
    std::uint16_t date = 0;
    std::tm fields = {};
    int wrong = k7_parse_date("12/31/2007", &year, &month, &day) != 0;
    wrong += year != 107 || month != 12 || day != 31;
    wrong += string_to_date("12/31/2007", &date) != 1 || date != 7673;
    wrong += string_to_time("01/02/1970") != 86400;
    wrong += k7_parse_date("1/2/2007", &year, &month, &day) != 0;
    wrong += year != 107 || month != 1 || day != 2;
    orla_strptime("1/2/2007", "%m/%d/%Y", &fields);
    return wrong + (fields.tm_year != 107);
  });
}

TEST(Threads, ParseTheFirstDatesOfTheOldModeAtOnce) {
  setenv("ORLALS_DATE_FORMAT_OLD", "", 1);
  expect_right(kRounds, [](int) {
    std::int32_t year = 0;
    std::int32_t month = 0;
    std::int32_t day = 0;
    std::uint16_t date = 0;
    int wrong = k7_parse_date("2007 1 2", &year, &month, &day) != 0;
    wrong += year != 107 || month != 1 || day != 2;
    wrong += string_to_date("2007/12/31", &date) != 1 || date != 7673;
    return wrong + (string_to_time("1970 1 2") != 86400);
  });
}

// Safe as soon as one call has found the provider.
TEST(Threads, NameTheNodeAtOnceAfterTheFirstCall) {
  static char first[ORLA_NODE_NAME_SIZE];
  orla_get_node_name(first);
  ASSERT_STRNE(first, "");
  expect_right(kRounds, [](int) {
    char name[ORLA_NODE_NAME_SIZE];
    orla_get_node_name(name);
    return std::strcmp(name, first) != 0 ? 1 : 0;
  });
}

constexpr char kProfile[] = "[Main]\nPort = 1\nPort=5000\nName=first\n";

int read_once(const char *path) {
  char text[16];
  int wrong = orla_cfg_get_private_profile_int("Main", "Port=", -1, path) != 5000;
  wrong += orla_cfg_get_private_profile_string("Main", "Name", nullptr, text, 16, path) != 5;
  wrong += std::strcmp(text, "first") != 0;
  std::FILE *stream = std::fopen(path, "r");
  char line[ORLA_PROFILE_LINE_SIZE];
  wrong += orla_i_cfg_read_line(stream, line) != 1 || std::strcmp(line, "[Main]") != 0;
  std::fclose(stream);
  return wrong;
}

TEST(Threads, ReadOneProfileAtOnce) {
  const TempDir folder;
  static std::string path;
  path = folder.write("profile", kProfile);
  expect_right(200, [](int) { return read_once(path.c_str()); });
}

TEST(Threads, RewriteProfilesOfTheirOwnAtOnce) {
  const TempDir folder;
  folder.write("profile", kProfile);
  const std::string original = folder.path("profile");
  EXPECT_EQ(wrong_in_threads(kThreads,
                             [&](int thread) {
                               const std::string path = folder.path(std::to_string(thread));
                               int wrong = copy_file(original.c_str(), path.c_str()) != 0;
                               // Every rewrite leaves a descriptor open, so there are few.
                               for (int value = 0; value < 20; ++value) {
                                 wrong += orla_cfg_write_private_profile_string(
                                              "Main", "Key", std::to_string(value).c_str(),
                                              path.c_str()) != 1;
                                 wrong += orla_cfg_get_private_profile_int("Main", "Key", -1,
                                                                           path.c_str()) != value;
                               }
                               return wrong + read_once(path.c_str());
                             }),
            0);
}

TEST(Threads, NameTemporaryFilesAtOnce) {
  static char names[kThreads][ORLA_TEMPORARY_NAME_SIZE];
  EXPECT_EQ(
      wrong_in_threads(kThreads, [](int thread) { return create_temporary_name(names[thread]); }),
      0);
  // A name given to two threads could not be removed twice.
  for (const char *name : names)
    EXPECT_EQ(unlink(name), 0) << name;
}

TEST(Threads, LoadAndFailToLoadThroughIdsOfTheirOwnAtOnce) {
  expect_right(50, [](int) {
    orla_library_id *id = orla_slnk_allocate_library_id();
    orla_status status = 1;
    orla_slnk_load_library("libc.so.6", id, &status);
    int wrong = status != 0;
    wrong += orla_slnk_get_proc_addr(id, "getenv", &status) == nullptr;
    wrong += orla_slnk_free_library(id) != 0;
    orla_slnk_load_library("liborla-no-such-library.so", id, &status);
    wrong += status != ORLA_LOADER_FAILED;
    orla_slnk_free_library_id(id);
    return wrong;
  });
}

TEST(Threads, PrintLinesToStandardOutputAtOnce) {
  constexpr int kLines = 200;
  Captured output(STDOUT_FILENO);
  const int wrong = wrong_in_rounds(kLines, [](int) {
    return (print_date_line(7673, "on ") != 14) + (print_time_line(86400, nullptr) != 11);
  });
  EXPECT_EQ(output.text().size(), kThreads * kLines * (14U + 11U));
  EXPECT_EQ(wrong, 0);
}

}  // namespace
