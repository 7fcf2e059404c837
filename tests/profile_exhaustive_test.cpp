// Small domains of the profile functions, tested completely and compared with the plain version:
// every byte at every position of a small file, every pair of key and line, every value of few
// characters.

#include <gtest/gtest.h>
#include <orla/profile.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "fakes/file_calls.h"
#include "plain/profile.h"

namespace {

constexpr const char *kPath = "/a/profile";
constexpr int kFallback = -4711;

class EveryByte : public testing::Test {
 protected:
  void expect_number(const std::string &file, const char *section, const char *key) {
    files_.put(kPath, file);
    ASSERT_EQ(orla_cfg_get_private_profile_int(section, key, kFallback, kPath),
              plain::read_int(file, section, key, kFallback))
        << testing::PrintToString(file) << ' ' << testing::PrintToString(key);
  }

  void expect_text(const std::string &file, const char *section, const char *key) {
    files_.put(kPath, file);
    std::vector<char> expected(16);
    std::vector<char> got(16, 'x');
    const unsigned length = plain::read_string(file, section, key, "default", expected);
    ASSERT_EQ(orla_cfg_get_private_profile_string(section, key, "default", got.data(), 16, kPath),
              length)
        << testing::PrintToString(file);
    ASSERT_EQ(got, expected) << testing::PrintToString(file);
  }

  void expect_rewritten(const std::string &file, const char *section, const char *key) {
    files_.put(kPath, file);
    ASSERT_EQ(orla_cfg_write_private_profile_string(section, key, "new", kPath), 1);
    ASSERT_EQ(files_.get(kPath), plain::write(file, section, key, "new"))
        << testing::PrintToString(file);
  }

  MemoryFiles files_;
};

const std::string kSmallFile = "[One]\r\nA=1\n[Main]\nPort=5\r\nHost= h =x\n\n[Other]\nPort=6\n";

// Calls `check` with every file that differs in one byte.
template <typename Check>
void for_every_byte_of_the_file(Check check) {
  for (std::size_t at = 0; at < kSmallFile.size(); ++at) {
    for (int byte = 0; byte < 256 && !testing::Test::HasFatalFailure(); ++byte) {
      std::string file = kSmallFile;
      file[at] = static_cast<char>(byte);
      check(file);
    }
  }
}

TEST_F(EveryByte, AtEveryPositionOfAFileIsReadThePlainWay) {
  for_every_byte_of_the_file([this](const std::string &file) {
    expect_number(file, "Main", "Port");
    expect_text(file, "Main", "Host");
  });
}

TEST_F(EveryByte, AtEveryPositionOfAFileIsWrittenThePlainWay) {
  for_every_byte_of_the_file(
      [this](const std::string &file) { expect_rewritten(file, "Main", "Host"); });
}

TEST_F(EveryByte, OfAKeyIsFoundInEveryByteOfALineOrNot) {
  for (int asked = 1; asked < 256; ++asked) {
    const char key[] = {static_cast<char>(asked), '\0'};
    for (int there = 0; there < 256; ++there) {
      const std::string file = std::string("[S]\n") + static_cast<char>(there) + "=7\n";
      ASSERT_NO_FATAL_FAILURE(expect_number(file, "S", key));
    }
  }
}

TEST_F(EveryByte, OfASectionIsFoundInEveryByteOfAHeaderOrNot) {
  for (int asked = 1; asked < 256; ++asked) {
    const char section[] = {'S', static_cast<char>(asked), '\0'};
    for (int there = 0; there < 256; ++there) {
      const std::string file = std::string("[S") + static_cast<char>(there) + "]\nkey=7\n";
      ASSERT_NO_FATAL_FAILURE(expect_number(file, section, "key"));
    }
  }
}

TEST_F(EveryByte, OfAValueOfTwoIsReadThePlainWay) {
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      std::string file = "[S]\nkey=";
      file += {static_cast<char>(first), static_cast<char>(second), '\n'};
      ASSERT_NO_FATAL_FAILURE(expect_number(file, "S", "key"));
      if (second % 16 != 0) continue;
      ASSERT_NO_FATAL_FAILURE(expect_text(file, "S", "key"));
    }
  }
}

TEST_F(EveryByte, NumberOfUpToFiveDigitsIsReadAndOneOfSixIsTheDefault) {
  int end = 1;
  for (int digits = 1; digits <= 5; ++digits) {
    end *= 10;
    for (int number = 0; number < end; ++number) {
      char file[32];
      const int size = std::snprintf(file, sizeof file, "[S]\nkey=%0*d\n", digits, number);
      files_.put(kPath, {file, static_cast<std::size_t>(size)});
      ASSERT_EQ(orla_cfg_get_private_profile_int("S", "key", kFallback, kPath), number);
    }
  }
  for (int number = 0; number <= 999999; number += 1 + number % 997)
    ASSERT_NO_FATAL_FAILURE(
        expect_number("[S]\nkey=" + std::to_string(1000000 + number).substr(1) + "\n", "S", "key"));
}

}  // namespace
