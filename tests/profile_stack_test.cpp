// Profile functions in threads with small stacks: no more than three pages of them are the
// library's.

#include <gtest/gtest.h>
#include <orla/profile.h>
#include <pthread.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "kit/temp_dir.h"

namespace {

// What the thread works on; its own stack has no room for texts.
struct Work {
  std::string path;
  std::string copy;
  std::FILE *stream = nullptr;
  char text[64] = "";
  char name[ORLA_TEMPORARY_NAME_SIZE] = "";
  char in_force[ORLA_PROFILE_PATH_SIZE] = "";
  char line[ORLA_PROFILE_LINE_SIZE] = "";
  int number = 0;
  int results[5] = {};
};

extern "C" void *use_every_profile_function(void *argument) {
  Work &work = *static_cast<Work *>(argument);
  const char *path = work.path.c_str();
  work.results[0] = orla_cfg_write_private_profile_string("Main", "Port", "7", path);
  work.number = orla_cfg_get_private_profile_int("Main", "Port", -1, path);
  orla_cfg_get_private_profile_string("Main", "Name", "none", work.text, sizeof work.text, path);
  work.results[1] = copy_file(path, work.copy.c_str());
  work.results[2] = create_temporary_name(work.name);
  work.results[3] = orla_i_cfg_read_line(work.stream, work.line);
  orla_cfg_file(work.in_force, nullptr);
  work.results[4] = orla_cfg_write_private_profile_string("New", "Key", "v", work.copy.c_str());
  return argument;
}

class ProfileInThread : public testing::TestWithParam<std::size_t> {};

INSTANTIATE_TEST_SUITE_P(Stack, ProfileInThread, testing::Values(16384, 24576, 32768));

TEST_P(ProfileInThread, NeedsNoMoreStackThanItHas) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer takes stack of its own";
#endif
  const TempDir folder;
  for (const int lines : {1, 20000}) {
    std::string file = "[Main]\nName=orla\nPort=5\n";
    for (int i = 0; i < lines; ++i)
      file += "one entry=of many\n";
    Work work;
    work.path = folder.write("f", file);
    work.copy = folder.path("copy");
    work.stream = std::fopen(work.path.c_str(), "r");
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    pthread_t thread;
    if (pthread_attr_setstacksize(&attributes, GetParam()) != 0 ||
        pthread_create(&thread, &attributes, use_every_profile_function, &work) != 0)
      GTEST_SKIP() << "this host has no threads with such a stack";
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
    std::fclose(work.stream);
    std::remove(work.name);
    EXPECT_EQ(work.number, 7);
    EXPECT_STREQ(work.text, "orla");
    EXPECT_STREQ(work.line, "[Main]");
    EXPECT_NE(work.in_force[0], '\0');
    const int expected[] = {1, 0, 0, 1, 1};
    EXPECT_EQ(std::memcmp(work.results, expected, sizeof expected), 0);
    EXPECT_EQ(orla_cfg_get_private_profile_int("Main", "Port", -1, work.copy.c_str()), 7);
  }
}

}  // namespace
