// A set-user-ID program of root's: the environment of the user who starts it steers none of its
// files.

#include <grp.h>
#include <gtest/gtest.h>
#include <orla/trace.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "kit/captured.h"
#include "kit/environment.h"
#include "kit/temp_dir.h"

namespace {

constexpr uid_t kAnybody = 65534;
constexpr std::size_t kLimit = ORLA_TRACE_ROTATION_SIZE;

// The program, and files that only root may touch. The library is the one in the build folder: the
// program's run path is followed with the rights that it runs with.
class SetUserId : public testing::Test {
 protected:
  void SetUp() override {
#ifdef ORLA_SANITIZED
    GTEST_SKIP() << "a sanitizer's runtime follows the environment of whoever starts the program";
#endif
    if (geteuid() != 0) GTEST_SKIP() << "only root can make such a program";
    std::filesystem::copy_file(PRIVILEGED, program_);
    ASSERT_EQ(chmod(folder_.path("").c_str(), 0711), 0);
    ASSERT_EQ(chmod(program_.c_str(), 04755), 0);
    if (output_of("nothing", kAnybody) != "root\n")
      GTEST_SKIP() << "set-user-ID programs get no other rights in " << folder_.path("");
    const std::string profile = folder_.write("profile", "[Main]\nSecret=42\n");
    ASSERT_EQ(chmod(profile.c_str(), 0600), 0);
  }

  // What the program prints for this user.
  std::string output_of(const char *what, uid_t user) const {
    Captured out(STDOUT_FILENO);
    const pid_t child = fork();
    if (child == 0) {
      const bool is_user = setgroups(0, nullptr) == 0 && setgid(user) == 0 && setuid(user) == 0;
      if (is_user) execl(program_.c_str(), "privileged", what, nullptr);
      _exit(127);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    return out.text();
  }

  TempDir folder_;
  std::string program_ = folder_.path("privileged");
  WithVariable service_switch_{"K7LIB_VERB", "y"};
  WithVariable thread_switch_{"K7THR_VERB", "y"};
  WithVariable trace_{"K7LOG_PATH", folder_.path("trace").c_str()};
  WithVariable config_{"ORLA_CONFIG", folder_.path("profile").c_str()};
};

TEST_F(SetUserId, ProgramTracesNothingForWhoeverStartsIt) {
  EXPECT_EQ(output_of("service", kAnybody), "root\n");
  EXPECT_FALSE(folder_.holds("trace"));
  output_of("service", 0);
  EXPECT_TRUE(folder_.holds("trace")) << "for root it is to be made";
}

TEST_F(SetUserId, ProgramCreatesNoTraceFileOfTheirsWhenItTracesByItself) {
  EXPECT_EQ(output_of("line", kAnybody), "root\nline\n");
  EXPECT_FALSE(folder_.holds("trace"));
  EXPECT_EQ(output_of("line", 0), "root\n");
  EXPECT_TRUE(folder_.holds("trace"));
}

TEST_F(SetUserId, ProgramNeitherAppendsToNorRenamesAFileOfTheirChoice) {
  folder_.write("trace", std::string(kLimit, 'x'));
  output_of("line", kAnybody);
  EXPECT_EQ(std::filesystem::file_size(folder_.path("trace")), kLimit);
  EXPECT_FALSE(folder_.holds("trace.1"));
  output_of("line", 0);
  EXPECT_GT(std::filesystem::file_size(folder_.path("trace.1")), kLimit);
}

TEST_F(SetUserId, ProgramReadsNoProfileOfTheirChoice) {
  EXPECT_EQ(output_of("profile", kAnybody), "root\nnone 0\n");
  EXPECT_EQ(output_of("profile", 0), "root\n42 1\n");
}

}  // namespace
