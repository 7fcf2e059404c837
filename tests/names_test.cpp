// User, group and node names, and the companion library's provider.

#include <gtest/gtest.h>
#include <orla/names.h>
#include <orla/trace.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "fakes/heap.h"
#include "fakes/host.h"
#include "fakes/linker.h"
#include "fakes/users.h"
#include "kit/errno_after.h"
#include "kit/guarded_buffer.h"
#include "kit/modules.h"

// Of the companion, which this program is linked with.
extern "C" int orla_node_name(char *out);

namespace {

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

constexpr uid_t kUser = 4711;
constexpr gid_t kGroup = 4712;

// One user and one group; their names may be written to, as in the C library.
class Host {
 public:
  Host(const char *user, const char *group_name) {
    std::strcpy(user_, user);
    std::strcpy(group_, group_name);
    passwd_.pw_name = user_;
    record_.gr_name = group_;
  }
  const char *user() const { return user_; }
  const char *group_name() const { return group_; }

 private:
  char user_[64];
  char group_[64];
  passwd passwd_ = {};
  group record_ = {};
  With<uid_t()> uid_{fake_getuid, [] { return kUser; }};
  With<gid_t()> gid_{fake_getgid, [] { return kGroup; }};
  With<passwd *(uid_t)> users_{fake_getpwuid,
                               [this](uid_t id) { return id == kUser ? &passwd_ : nullptr; }};
  With<group *(gid_t)> groups_{fake_getgrgid,
                               [this](gid_t id) { return id == kGroup ? &record_ : nullptr; }};
};

const std::string kName31 = "0123456789012345678901234567890";
const std::string kName40 = kName31 + "123456789";

TEST(UserAndGroupName, AreThoseOfTheEntriesOfTheRealIds) {
  const Host host("alice", "staff");
  GuardedBuffer out(6);  // no more is written than the name needs
  orla_get_user_name(out.data());
  EXPECT_STREQ(out.data(), "alice");
  orla_get_group_name(out.data());
  EXPECT_STREQ(out.data(), "staff");
}

TEST(UserAndGroupName, Of31CharactersAreWholeAndTheEntriesUntouched) {
  const Host host(kName31.c_str(), kName31.c_str());
  GuardedBuffer out(ORLA_NAME_SIZE);
  orla_get_user_name(out.data());
  EXPECT_EQ(out.data(), kName31);
  orla_get_group_name(out.data());
  EXPECT_EQ(out.data(), kName31);
  EXPECT_EQ(host.user(), kName31);
  EXPECT_EQ(host.group_name(), kName31);
}

TEST(UserAndGroupName, OfMoreAreCutInTheEntriesThemselves) {
  for (const std::string &name : {kName31 + "1", kName40}) {
    const Host host(name.c_str(), name.c_str());
    GuardedBuffer out(ORLA_NAME_SIZE);
    orla_get_user_name(out.data());
    EXPECT_EQ(out.data(), kName31);
    EXPECT_EQ(host.user(), kName31);
    EXPECT_EQ(host.group_name(), name);
    orla_get_group_name(out.data());
    EXPECT_EQ(out.data(), kName31);
    EXPECT_EQ(host.group_name(), kName31);
  }
}

TEST(Overrides, AreNullAtLoad) {
  EXPECT_EQ(orla_ls_user, nullptr);
  EXPECT_EQ(orla_ls_group, nullptr);
}

TEST(Overrides, ReplaceTheSystemsNamesEachItsOwn) {
  const Host host("alice", "staff");
  char out[ORLA_NAME_SIZE];
  orla_ls_user = "somebody";
  orla_get_user_name(out);
  EXPECT_STREQ(out, "somebody");
  orla_get_group_name(out);
  EXPECT_STREQ(out, "staff");
  orla_ls_user = nullptr;
  orla_ls_group = "some group";
  orla_get_user_name(out);
  EXPECT_STREQ(out, "alice");
  orla_get_group_name(out);
  EXPECT_STREQ(out, "some group");
}

TEST(Overrides, AreCutAt31Characters) {
  for (const std::string &name : {kName31, kName40}) {
    orla_ls_user = name.c_str();
    orla_ls_group = name.c_str();
    GuardedBuffer out(ORLA_NAME_SIZE);
    orla_get_user_name(out.data());
    EXPECT_EQ(out.data(), kName31);
    GuardedBuffer again(ORLA_NAME_SIZE);
    orla_get_group_name(again.data());
    EXPECT_EQ(again.data(), kName31);
  }
}

TEST(Overrides, FillTheRestOfTheBufferWithZeros) {
  orla_ls_user = "abc";
  orla_ls_group = "";
  GuardedBuffer out(ORLA_NAME_SIZE);
  orla_get_user_name(out.data());
  std::string expected = "abc";
  expected.resize(ORLA_NAME_SIZE);
  EXPECT_EQ(std::string(out.data(), ORLA_NAME_SIZE), expected);
  GuardedBuffer empty(ORLA_NAME_SIZE);
  orla_get_group_name(empty.data());
  EXPECT_EQ(std::string(empty.data(), ORLA_NAME_SIZE), std::string(32, '\0'));
}

// The C library sets it even when it succeeds, for example after a missing database.
TEST(UserAndGroupName, AreUnknownWithoutAnEntryAndLeaveErrnoAlone) {
  const With users(fake_getpwuid, [](uid_t) {
    errno = ENOENT;
    return static_cast<passwd *>(nullptr);
  });
  const With groups(fake_getgrgid, [](gid_t) {
    errno = ENOENT;
    return static_cast<group *>(nullptr);
  });
  for (const auto get_name : {orla_get_user_name, orla_get_group_name}) {
    GuardedBuffer out(8);
    EXPECT_EQ(errno_after([&] { get_name(out.data()); }), 4711);
    EXPECT_STREQ(out.data(), "unknown");
  }
}

// The dynamic linker finds the library at `path`, or none, when it is asked for the companion.
class Companion {
 public:
  explicit Companion(const char *path = nullptr) : path_(path) {}

  std::vector<std::string> asked;

 private:
  const char *path_;
  With<void *(const char *, int)> open_{fake_dlopen, [this](const char *name, int flags) {
                                          asked.emplace_back(name);
                                          return path_ != nullptr ? fake_dlopen.real(path_, flags)
                                                                  : nullptr;
                                        }};
};

std::string node_name() {
  GuardedBuffer out(ORLA_NODE_NAME_SIZE);
  orla_get_node_name(out.data());
  return out.data();
}

TEST(NodeName, IsOfTheCompanionWhichIsOpenedByItsBareNameOnceAndKept) {
  const Companion companion(kProviderModule);
  for (int call = 0; call < 3; ++call)
    EXPECT_EQ(node_name(), "node-of-a-module");
  EXPECT_EQ(companion.asked, std::vector<std::string>{"liborlanode.so"});
  EXPECT_NE(fake_dlopen.real(kProviderModule, RTLD_NOW | RTLD_NOLOAD), nullptr);
}

TEST(NodeName, IsEmptyWithoutACompanionEvenInTheFallbackDirectoryTouchesOneByteAndPrintsNothing) {
  const Companion none;
  GuardedBuffer out(1);
  CaptureStdout();
  orla_get_node_name(out.data());
  EXPECT_EQ(GetCapturedStdout(), "");
  EXPECT_EQ(out.data()[0], '\0');
  EXPECT_EQ(none.asked,
            (std::vector<std::string>{"liborlanode.so", "/opt/tav/ls/dll/liborlanode.so"}));
}

TEST(NodeName, IsEmptyWhenTheProviderReturnsZeroWhateverItWrote) {
  const Companion companion(kProviderWithoutNameModule);
  EXPECT_EQ(node_name(), "");
}

TEST(NodeName, IsEmptyWhenTheCompanionHasNoProviderWhichTheLoaderSaysAtEveryCallAndClosesIt) {
  const Companion companion(kGoodModule);
  for (int call = 0; call < 2; ++call) {
    CaptureStdout();
    EXPECT_EQ(node_name(), "");
    const std::string printed = GetCapturedStdout();
    EXPECT_TRUE(printed.starts_with("Error looking up procedure orla_node_name\n,")) << printed;
    EXPECT_EQ(fake_dlopen.real(kGoodModule, RTLD_NOW | RTLD_NOLOAD), nullptr);
  }
}

TEST(NodeName, IsEmptyWhenTheHeapIsExhausted) {
  GuardedBuffer out(ORLA_NODE_NAME_SIZE);
  {
    const HeapExhausted heap;
    orla_get_node_name(out.data());
  }
  EXPECT_STREQ(out.data(), "");
}

TEST(NodeName, IsTriedAgainAfterAFailure) {
  {
    const Companion none;
    EXPECT_EQ(node_name(), "");
  }
  const Companion companion(kProviderModule);
  EXPECT_EQ(node_name(), "node-of-a-module");
}

TEST(NodeName, IsTheHostsOwnWithItsDotsOutOfTheBox) {
  const With host(fake_uname, [](utsname *out) {
    std::memset(out, 'x', sizeof *out);
    std::strcpy(out->nodename, "node.example.org");
    return 0;
  });
  EXPECT_EQ(node_name(), "node.example.org");
}

TEST(NodeName, IsEmptyWhenTheKernelDoesNotAnswerAndLeavesErrnoAlone) {
  const With host(fake_uname, [](utsname *) {
    errno = EFAULT;
    return -1;
  });
  for (int call = 0; call < 2; ++call)  // the first one opens the companion
    EXPECT_EQ(errno_after([] { EXPECT_EQ(node_name(), ""); }), 4711);
}

TEST(Provider, WritesNoMoreThan65Bytes) {
  const With host(fake_uname, [](utsname *out) {
    std::memset(out, 'n', sizeof *out);
    out->nodename[64] = '\0';
    return 0;
  });
  GuardedBuffer out(ORLA_NODE_NAME_SIZE);
  EXPECT_EQ(orla_node_name(out.data()), 1);
  EXPECT_EQ(out.data(), std::string(64, 'n'));
}

TEST(Provider, ReturnsZeroAndWritesNothingWhenTheKernelDoesNotAnswer) {
  const With host(fake_uname, [](utsname *) { return -1; });
  char out[] = "as it was";
  EXPECT_EQ(orla_node_name(out), 0);
  EXPECT_STREQ(out, "as it was");
}

}  // namespace
