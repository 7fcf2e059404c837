// A set-user-ID program that a stranger starts: his environment names no profile of it.

#include <grp.h>
#include <gtest/gtest.h>
#include <orla/profile.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "kit/captured.h"
#include "kit/processes.h"
#include "kit/temp_dir.h"

namespace {

constexpr uid_t kStranger = 65534;

// What the program prints when the stranger starts it with ORLA_CONFIG set.
std::string printed_for_a_stranger(const std::string &program, const std::string &config) {
  Captured out(STDOUT_FILENO);
  succeeds_apart([&] {
    setenv("ORLA_CONFIG", config.c_str(), 1);
    if (setgroups(0, nullptr) != 0 || setgid(kStranger) != 0 || setuid(kStranger) != 0) return 1;
    execl(program.c_str(), program.c_str(), nullptr);
    return 1;
  });
  return out.text();
}

TEST(ProfilePrivileged, TakesNoProfileFromAStrangersEnvironment) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer does not run with another's rights";
#endif
  if (geteuid() != 0) GTEST_SKIP() << "only root makes a program that runs as somebody else";
  const TempDir folder;
  struct statvfs status;
  ASSERT_EQ(statvfs(folder.path("").c_str(), &status), 0);
  if ((status.f_flag & ST_NOSUID) != 0)
    GTEST_SKIP() << "this file system does not honour the set-user-ID bit";
  ASSERT_EQ(chmod(folder.path("").c_str(), 0755), 0);
  const std::string config = folder.write("named", "[Main]\nName=of the stranger\n");
  const std::string program = folder.path("program");
  std::filesystem::copy_file(PRINT_PROFILE, program);
  ASSERT_EQ(chmod(program.c_str(), 0755), 0);
  const std::string as_himself = printed_for_a_stranger(program, config);
  if (as_himself.empty()) GTEST_SKIP() << "the library is in a folder that others cannot enter";
  EXPECT_EQ(as_himself, config + " 1 of the stranger\n");
  ASSERT_EQ(chmod(program.c_str(), 04755), 0);
  const std::string as_root = printed_for_a_stranger(program, config);
  EXPECT_EQ(as_root.find(ORLA_DEFAULT_PROFILE_PATH " 0 "), 0U) << as_root;
  EXPECT_EQ(as_root.find("stranger"), std::string::npos) << as_root;
}

}  // namespace
