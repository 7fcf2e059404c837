// A process that rewrites a profile over and over is killed at random moments: what it leaves.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <orla/profile.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <new>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "fakes/file_calls.h"
#include "kit/processes.h"
#include "kit/temp_dir.h"
#include "plain/profile.h"

namespace {

// A profile of any size, in which one value changes with every rewrite: it begins with the number
// of the rewrite and has a length of its own, so that the text below it moves.

std::string value_of_rewrite(int number) {
  const auto length = static_cast<std::size_t>(number * 37 % 60);
  return std::to_string(number) + "." + std::string(length, static_cast<char>('a' + number % 26));
}

constexpr const char *kOther = "a value like others";

std::string lines_of(const std::string &key, int count) {
  std::string lines;
  for (int i = 0; i < count; ++i)
    lines += key + std::to_string(i) + "=" + kOther + "\n";
  return lines;
}

// `around` lines above the value that changes, and as many below it.
std::string profile(int around, int number) {
  return "[Above]\n" + lines_of("Above", around) + "\n[Main]\nValue=" + value_of_rewrite(number) +
         "\n\n[Below]\n" + lines_of("Below", around);
}

// What readers see of a file: the text before a byte 0xFF.
std::string visible(const std::string &file) { return file.substr(0, file.find('\xFF')); }

std::string value_in(const std::string &file, const char *section, const std::string &key) {
  std::vector<char> text(100);
  plain::read_string(file, section, key.c_str(), "", text);
  return text.data();
}

int number_in(const std::string &file) {
  return std::atoi(value_in(file, "Main", "Value").c_str());
}

// Whether a file is what one of the rewrites made of it.
bool is_whole(const std::string &file, int around) {
  return visible(file) == profile(around, number_in(file));
}

bool lacks_a_key(const std::string &file, int around) {
  std::set<std::string> lines;
  plain::Reader reader(file);
  for (std::string line; reader.read_line(line);)
    lines.insert(line);
  for (int i = 0; i < around; ++i)
    for (const char *key : {"Above", "Below"})
      if (lines.count(key + std::to_string(i) + "=" + kOther) == 0) return true;
  return value_in(file, "Main", "Value").empty();
}

std::string content_of(const char *path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// What the process that rewrites and the one that kills it share.
struct Course {
  std::atomic<int> rewrites = 0;  // begun in this life
  char temporary[ORLA_TEMPORARY_NAME_SIZE] = "";
};

// How many files were found so after a kill.
struct Found {
  int mixed = 0;    // neither the old text nor the new one
  int lacking = 0;  // and without a key that was there
};

class ProfileKilled : public testing::Test {
 protected:
  ProfileKilled()
      : memory_(mmap(nullptr, sizeof(Course), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                     -1, 0)),
        course_(*new (memory_) Course) {}
  ~ProfileKilled() override { munmap(memory_, sizeof(Course)); }

  Found kill_often(int kills, int around) {
    Found found;
    folder_.write("profile", profile(around, 1));
    for (int i = 0; i < kills && !HasFatalFailure(); ++i) {
      const std::string left = kill_a_rewriter(number_in(folder_.read("profile")) + 1);
      const std::string file = folder_.read("profile");
      if (is_whole(file, around)) continue;
      ++found.mixed;
      if (lacks_a_key(file, around)) ++found.lacking;
      EXPECT_TRUE(is_whole(left, around)) << "the temporary copy does not help either";
      folder_.write("profile", profile(around, 1));
    }
    std::printf("%d kills: %d files mixed, %d of them lack a key\n", kills, found.mixed,
                found.lacking);
    return found;
  }

 private:
  [[noreturn]] void rewrite_for_ever(int number) {
    die_with_the_parent();
    // A name that is known before the file exists, so that the test finds what a kill leaves.
    std::snprintf(course_.temporary, sizeof course_.temporary, "/tmp/K7%06x",
                  static_cast<unsigned>(getpid()));
    const With naming(fake_mkstemp, [this](char *name) {
      std::strcpy(name, course_.temporary);
      return open(name, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    });
    for (;; ++number) {
      ++course_.rewrites;
      if (orla_cfg_write_private_profile_string("Main", "Value", value_of_rewrite(number).c_str(),
                                                path_.c_str()) != 1)
        _exit(1);
    }
  }

  // Returns the content of the temporary copy that is left.
  std::string kill_a_rewriter(int number) {
    course_.rewrites = 0;
    const pid_t process = fork();
    if (process == 0) rewrite_for_ever(number);
    while (course_.rewrites < 2 && waitpid(process, nullptr, WNOHANG) == 0) {
    }
    for (auto left = moment_() % kLongestWait; left != 0; --left)
      static_cast<void>(course_.rewrites.load());
    kill(process, SIGKILL);
    int status = 0;
    EXPECT_EQ(waitpid(process, &status, 0), process) << "a rewrite failed";
    const std::string left = content_of(course_.temporary);
    unlink(course_.temporary);
    return left;
  }

  static constexpr unsigned kLongestWait = 200000;

  const TempDir folder_;
  const std::string path_ = folder_.path("profile");
  void *const memory_;
  Course &course_;
  std::minstd_rand moment_{1};
};

constexpr int kFewLines = 10;     // below and above: less than a page
constexpr int kManyLines = 2500;  // 150 KB

TEST_F(ProfileKilled, OfFewLinesIsWholeAfterEachOf100Kills) {
  EXPECT_EQ(kill_often(100, kFewLines).mixed, 0);
}

// A kill can end a write of many pages between two of them.
TEST_F(ProfileKilled, OfManyLinesIsWholeAfterAlmostEachOf40Kills) {
  EXPECT_LE(kill_often(40, kManyLines).mixed, 8);
}

using LongProfileKilled = ProfileKilled;

TEST_F(LongProfileKilled, OfFewLinesIsWholeAfterEachOf3000Kills) {
  EXPECT_EQ(kill_often(3000, kFewLines).mixed, 0);
}

TEST_F(LongProfileKilled, OfManyLinesIsWholeAfterAlmostEachOf500Kills) {
  EXPECT_LE(kill_often(500, kManyLines).mixed, 40);
}

}  // namespace
