// Profiles under load: read by many while one rewrites, and rewritten where a file system is full.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <orla/profile.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>
#include <string>
#include <vector>

#include "kit/processes.h"
#include "kit/temp_dir.h"
#include "plain/profile.h"

namespace {

// ---- Read by many while one rewrites ------------------------------------------------------------
//
// The file has three pages. Neither entry crosses the end of a page: one is in the first page, one
// in the last. Their values keep their length, so two states of the text differ only in the values.
// Each key is always there: no reader gives the default. A value must be whole, of one rewrite, and
// not older than the one before.
//
// The kernel does not keep a read and a write of the same bytes apart: a few of a million reads
// find a mixture. Such a read is repeated; few may need that.

constexpr const char *kDefault = "no value";
constexpr int kNoNumber = -1;
constexpr std::size_t kRepeats = 20;
constexpr int kReaders = 8;

// The number of the rewrite, repeated, so that a mixture of two is seen.
std::string text_of_rewrite(int number) {
  char digits[16];
  std::snprintf(digits, sizeof digits, "%05d.", number);
  std::string text;
  for (std::size_t i = 0; i < kRepeats; ++i)
    text += digits;
  return text;
}

// 11111, 22222 and so on.
int number_of_rewrite(int number) { return 11111 * (1 + number % 9); }

std::string filler(char letter) {
  std::string lines;
  for (int i = 0; i < 90; ++i)
    lines += "Filler" + std::to_string(100 + i) + "=" + std::string(40, letter) + "\n";
  return lines;
}

std::string three_pages(int number) {
  std::string file = "[Main]\nName=" + text_of_rewrite(number) + "\n" + filler('x') + filler('y');
  return file + "Port=" + std::to_string(number_of_rewrite(number)) + "\n\n[Other]\nA=1\n";
}

bool stands_inside_a_page(const std::string &file, const char *key) {
  const std::size_t begin = file.find(key);
  return begin / 4096 == file.find('\n', begin) / 4096;
}

// What the processes share.
struct Course {
  std::atomic<bool> is_over = false;
  std::atomic<int> values = 0;   // texts read
  std::atomic<int> repeats = 0;  // reads that were repeated
};

// Less than a page. "A" becomes longer and shorter by 60 characters, which moves "Port" across byte
// 2,048, where the first read ends.
std::string two_thirds_of_a_page() {
  std::string file = "[Main]\nA=1\n";
  for (int i = 100; i < 243; ++i)
    file += "K" + std::to_string(i) + "=filler..\n";
  file += "Port=5\n";
  for (int i = 100; i < 160; ++i)
    file += "L" + std::to_string(i) + "=filler..\n";
  return file;
}

class ProfileReadByMany : public testing::Test {
 protected:
  ProfileReadByMany()
      : memory_(mmap(nullptr, sizeof(Course), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                     -1, 0)),
        course_(*new (memory_) Course) {}
  ~ProfileReadByMany() override { munmap(memory_, sizeof(Course)); }

  // Rewrites in batches, each in a process of its own, since every rewrite costs a descriptor.
  int rewrite_all(int count) {
    constexpr int kBatch = 200;  // 400 rewrites, well below any limit
    bool right = true;
    for (int first = 1; first <= count && right; first += kBatch) {
      const int end = std::min(first + kBatch, count + 1);
      right = succeeds_apart([=, this] { return rewrite(first, end); });
    }
    course_.is_over = true;
    return right ? 0 : 1;
  }

  // Two rewrites for each number, one of each key.
  int rewrite(int first, int end) {
    for (int number = first; number < end; ++number) {
      const std::string port = std::to_string(number_of_rewrite(number));
      if (!write("Name", text_of_rewrite(number)) || !write("Port", port)) return 1;
    }
    return 0;
  }

  bool write(const char *key, const std::string &value) {
    if (orla_cfg_write_private_profile_string("Main", key, value.c_str(), path_.c_str()) == 1)
      return true;
    std::perror("rewrite");
    return false;
  }

  // Reads until everything is written, and then once more: that must be the last text.
  int read_on(int last) {
    int latest = 0;
    while (!course_.is_over)
      if (!text_is_right_at_last(latest) || !number_is_right_at_last()) return 1;
    return text_is_right(latest) && latest == last ? 0 : 1;
  }

  bool text_is_right_at_last(int &latest) {
    return text_is_right(latest) || (++course_.repeats, text_is_right(latest));
  }

  bool number_is_right_at_last() {
    return number_is_right() || (++course_.repeats, number_is_right());
  }

  bool text_is_right(int &latest) {
    char text[kRepeats * 8];
    orla_cfg_get_private_profile_string("Main", "Name", kDefault, text, sizeof text, path_.c_str());
    ++course_.values;
    const int number = std::atoi(text);
    const bool right = number >= latest && text == text_of_rewrite(number);
    if (!right) std::fprintf(stderr, "after %05d: %s\n", latest, text);
    if (right) latest = number;
    return right;
  }

  bool number_is_right() {
    const int number = orla_cfg_get_private_profile_int("Main", "Port", kNoNumber, path_.c_str());
    const bool right = number >= 11111 && number <= 99999 && number % 11111 == 0;
    if (!right) std::fprintf(stderr, "Port is %d\n", number);
    return right;
  }

  void read_while_rewriting(int rewrites) {
    const int last = rewrites / 2;  // each counts for two: one of either key
    ASSERT_TRUE(stands_inside_a_page(three_pages(0), "Name="));
    ASSERT_TRUE(stands_inside_a_page(three_pages(0), "Port="));
    Processes processes;
    for (int i = 0; i < kReaders; ++i)
      processes.add([=, this] { return read_on(last); });
    processes.add([=, this] { return rewrite_all(last); });
    EXPECT_EQ(processes.run(), 0);
    EXPECT_EQ(folder_.read("profile"), three_pages(last));
    EXPECT_LE(course_.repeats, 5 + course_.values / 4000);  // 5 for the short run
    RecordProperty("values", course_.values);
  }

  // Makes the value "A" longer and shorter until the reader is done.
  int move_text() {
    bool right = true;
    while (right && !course_.is_over)
      right = succeeds_apart([this] {
        for (int i = 0; i < 200 && !course_.is_over; ++i)
          if (!write("A", std::string(i % 2 == 0 ? 61 : 1, 'x'))) return 1;
        return 0;
      });
    return right ? 0 : 1;
  }

  // Each read that gives the default counts as one to be repeated.
  int read_moving_text(int reads) {
    char text[16];
    for (int i = 0; i < reads; ++i) {
      course_.repeats +=
          orla_cfg_get_private_profile_int("Main", "Port", kNoNumber, path_.c_str()) != 5;
      orla_cfg_get_private_profile_string("Main", "Port", kDefault, text, sizeof text,
                                          path_.c_str());
      course_.repeats += std::strcmp(text, "5") != 0;
    }
    course_.is_over = true;
    return 0;
  }

  const TempDir folder_;
  const std::string path_ = folder_.write("profile", three_pages(0));
  void *const memory_;
  Course &course_;
};

TEST_F(ProfileReadByMany, IsOfOneRewriteAndNeverTheDefaultDuring100Rewrites) {
  read_while_rewriting(100);
}

TEST_F(ProfileReadByMany, FindsAKeyThatMovesAcrossByte2048) {
  constexpr int kReads = 20000;  // of either reader
  const std::string file = two_thirds_of_a_page();
  ASSERT_LT(file.find("Port="), 2048U);
  ASSERT_GT(file.find("Port=") + 60, 2048U);
  ASSERT_LT(file.size() + 60, 4096U);
  folder_.write("profile", file);
  Processes processes;
  processes.add([this] { return read_moving_text(kReads); });
  processes.add([this] { return move_text(); });
  EXPECT_EQ(processes.run(), 0);
  EXPECT_LE(course_.repeats, 2 * kReads / 4000);
}

using LongProfileReadByMany = ProfileReadByMany;

TEST_F(LongProfileReadByMany, IsOfOneRewriteAndNeverTheDefaultDuring10000Rewrites) {
  read_while_rewriting(10000);
  EXPECT_GT(course_.values, 10000);  // readers that all came too late would prove nothing
}

// ---- Rewritten where a file system is full ------------------------------------------------------
//
// In a mount namespace of its own the test mounts small file systems in memory: one for /tmp, where
// the temporary copy goes, and one below it for the target.

constexpr std::size_t kPage = 4096;
constexpr const char *kTargetFolder = "/tmp/target";
constexpr const char *kTarget = "/tmp/target/profile";
constexpr std::size_t kSome = 20;
constexpr std::size_t kMany = 1000;

bool write_whole(const char *path, const char *text) {
  const int file = open(path, O_WRONLY);
  const bool written = file >= 0 && write(file, text, std::strlen(text)) >= 0;
  close(file);
  return written;
}

// Mounts of its own for this process, as root or as a user who may be root of a namespace.
bool enter_own_mounts() {
  const uid_t user = geteuid();
  const gid_t group = getegid();
  if (unshare(CLONE_NEWNS) != 0) {
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    write_whole("/proc/self/setgroups", "deny");
    if (!write_whole("/proc/self/uid_map", ("0 " + std::to_string(user) + " 1").c_str()))
      return false;
    if (!write_whole("/proc/self/gid_map", ("0 " + std::to_string(group) + " 1").c_str()))
      return false;
  }
  return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

bool mount_memory(const char *folder, const std::string &options) {
  mkdir(folder, 0755);
  return mount("tmpfs", folder, "tmpfs", 0, options.c_str()) == 0;
}

std::string size_option(std::size_t pages) { return "size=" + std::to_string(pages * kPage); }

std::size_t free_pages(const char *folder) {
  struct statvfs status;
  if (statvfs(folder, &status) != 0) return 0;
  return status.f_bfree * status.f_frsize / kPage;
}

// Takes all room of a file system but `left` pages.
void leave_pages(const std::string &folder, std::size_t left) {
  const std::string path = folder + "/filler";
  unlink(path.c_str());
  const int file = open(path.c_str(), O_WRONLY | O_CREAT, 0600);
  const auto taken = static_cast<off_t>((free_pages(folder.c_str()) - left) * kPage);
  if (taken > 0) posix_fallocate(file, 0, taken);
  close(file);
  ASSERT_EQ(free_pages(folder.c_str()), left);
}

void take_all_inodes(const std::string &folder) {
  for (int i = 0;; ++i) {
    const int file = open((folder + "/file" + std::to_string(i)).c_str(), O_WRONLY | O_CREAT, 0600);
    if (file < 0) break;
    close(file);
  }
  ASSERT_EQ(errno, ENOSPC);
}

std::string content_of(const char *path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<std::string> names_in(const char *folder) {
  std::vector<std::string> names;
  for (const auto &entry : std::filesystem::directory_iterator(folder))
    names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

// Five pages of keys.
constexpr std::size_t kKeys = 400;
constexpr std::size_t kTargetPages = 5;

std::string key(std::size_t number) { return "Key" + std::to_string(1000 + number); }

std::string many_keys() {
  std::string file = "[Main]\n";
  for (std::size_t i = 0; i < kKeys; ++i)
    file += key(i) + "=" + std::string(30 + i % 20, static_cast<char>('a' + i % 26)) + "\n";
  return file;
}

// A process that takes all free room of the target's file system, as soon as there is any. Now and
// then it gives a few pages back, so that some rewrites succeed.
class Competitor {
 public:
  Competitor() : process_(fork()) {
    if (process_ == 0) fill_for_ever();
  }
  ~Competitor() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  Competitor(const Competitor &) = delete;
  Competitor &operator=(const Competitor &) = delete;

 private:
  [[noreturn]] static void fill_for_ever() {
    const std::string page(kPage, 'f');
    die_with_the_parent();
    const int file = open("/tmp/target/filler", O_RDWR | O_CREAT, 0600);
    for (off_t size = 0, round = 0;; ++round) {
      while (pwrite(file, page.data(), page.size(), size) == static_cast<ssize_t>(page.size()))
        size += static_cast<off_t>(page.size());
      const off_t given_back = static_cast<off_t>(page.size()) * (round / 64 % 4);
      if (round % 64 != 0 || size < given_back) continue;
      size -= given_back;
      if (ftruncate(file, size) != 0) _exit(1);
    }
  }

  pid_t process_;
};

class ProfileOnAFullDisk : public testing::Test {
 protected:
  void mount_both(const std::string &temporary_options, const std::string &target_options) {
    if (!enter_own_mounts() || !mount_memory("/tmp", temporary_options))
      GTEST_SKIP() << "no mounts of its own for this process: " << std::strerror(errno);
    ASSERT_TRUE(mount_memory(kTargetFolder, target_options)) << std::strerror(errno);
    std::ofstream(kTarget, std::ios::binary) << before_;
    ASSERT_EQ((before_.size() + kPage - 1) / kPage, kTargetPages);
  }

  // One rewrite, in a process of its own as it costs a descriptor, and with it the room of the
  // temporary copy. `result` is what it must say.
  static void rewrite(std::size_t number, const std::string &value, int result) {
    ASSERT_TRUE(succeeds_apart([&] {
      const std::string name = key(number % kKeys);
      const int got =
          orla_cfg_write_private_profile_string("Main", name.c_str(), value.c_str(), kTarget);
      return got == result ? 0 : 1;
    })) << number;
  }

  // Nothing has changed: the target, byte for byte, the room, and the files in either file system.
  void expect_untouched(std::size_t temporary_left, std::size_t target_left) {
    ASSERT_TRUE(content_of(kTarget) == before_);
    ASSERT_EQ(free_pages("/tmp"), temporary_left);
    ASSERT_EQ(free_pages(kTargetFolder), target_left);
    ASSERT_EQ(names_in("/tmp"), names_in_tmp_);
  }

  void rewrite_without_room_for_the_copy(std::size_t rewrites) {
    mount_both(size_option(16), size_option(64));
    if (IsSkipped()) return;
    const std::size_t target_left = free_pages(kTargetFolder);
    for (std::size_t i = 0; i < rewrites; ++i) {
      const std::size_t left = i % kTargetPages;
      ASSERT_NO_FATAL_FAILURE(leave_pages("/tmp", left));
      ASSERT_NO_FATAL_FAILURE(rewrite(i, std::string(i % 100, 'N'), 0));
      ASSERT_NO_FATAL_FAILURE(expect_untouched(left, target_left)) << i;
    }
    leave_pages("/tmp", kTargetPages + 1);
    rewrite(7, "value", 1);
    EXPECT_EQ(content_of(kTarget), plain::write(before_, "Main", key(7).c_str(), "value"));
  }

  void rewrite_without_an_inode_for_the_copy(std::size_t rewrites) {
    mount_both(size_option(16) + ",nr_inodes=8", size_option(64));
    if (IsSkipped()) return;
    take_all_inodes("/tmp");
    names_in_tmp_ = names_in("/tmp");
    const std::size_t temporary_left = free_pages("/tmp");
    const std::size_t target_left = free_pages(kTargetFolder);
    for (std::size_t i = 0; i < rewrites; ++i) {
      ASSERT_NO_FATAL_FAILURE(rewrite(i, std::string(i % 100, 'N'), 0));
      ASSERT_NO_FATAL_FAILURE(expect_untouched(temporary_left, target_left)) << i;
    }
  }

  // Each value needs at least one page more than there are.
  void rewrite_without_room_for_the_target(std::size_t rewrites) {
    mount_both(size_option(64), size_option(16));
    if (IsSkipped()) return;
    names_in_tmp_ = {"target"};
    const std::size_t temporary_left = free_pages("/tmp");
    for (std::size_t i = 0; i < rewrites; ++i) {
      const std::size_t left = i % kTargetPages;
      ASSERT_NO_FATAL_FAILURE(leave_pages(kTargetFolder, left));
      ASSERT_NO_FATAL_FAILURE(rewrite(i, std::string((left + 1) * kPage + i, 'N'), 0));
      ASSERT_NO_FATAL_FAILURE(expect_untouched(temporary_left, left)) << i;
    }
  }

  // A text that needs no more room than the file has can be written even when the file system is
  // full.
  void rewrite_within_the_room_of_the_target(std::size_t rewrites) {
    mount_both(size_option(64), size_option(16));
    if (IsSkipped()) return;
    ASSERT_NO_FATAL_FAILURE(leave_pages(kTargetFolder, 0));
    std::string expected = before_;
    for (std::size_t i = 0; i < rewrites; ++i) {
      const std::string value(30, static_cast<char>('A' + i % 26));
      expected = plain::write(expected, "Main", key(i % kKeys).c_str(), value.c_str());
      ASSERT_NO_FATAL_FAILURE(rewrite(i, value, 1));
      ASSERT_TRUE(content_of(kTarget) == expected) << i;
    }
  }

  void rewrite_beside_a_competitor(std::size_t rewrites) {
    names_in_tmp_ = {"target"};
    std::string expected = before_;
    std::size_t succeeded = 0;
    const Competitor competitor;
    for (std::size_t i = 0; i < rewrites && !HasFatalFailure(); ++i) {
      const std::string name = key(i % 3);
      const std::string value(i * 3701 % (2 * kPage), static_cast<char>('A' + i % 26));
      const bool written = succeeds_apart([&] {
        return orla_cfg_write_private_profile_string("Main", name.c_str(), value.c_str(),
                                                     kTarget) == 1
                   ? 0
                   : 1;
      });
      if (written) expected = plain::write(expected, "Main", name.c_str(), value.c_str());
      succeeded += written ? 1 : 0;
      ASSERT_TRUE(content_of(kTarget) == expected) << "rewrite " << i << ", result " << written;
    }
    EXPECT_EQ(names_in("/tmp"), names_in_tmp_);
    std::printf("%zu of %zu rewrites succeeded\n", succeeded, rewrites);
    EXPECT_GT(succeeded, 0U);
  }

  void rewrite_beside_a_competitor_in_memory(std::size_t rewrites) {
    mount_both(size_option(64), size_option(24));
    if (!IsSkipped()) rewrite_beside_a_competitor(rewrites);
  }

  void rewrite_beside_a_competitor_on_ext4(std::size_t rewrites) {
    if (!enter_own_mounts() || !mount_memory("/tmp", size_option(1024)))
      GTEST_SKIP() << "no mounts of its own for this process: " << std::strerror(errno);
    mkdir(kTargetFolder, 0755);
    if (std::system("truncate -s 2M /tmp/image && PATH=$PATH:/sbin:/usr/sbin &&"
                    " mkfs.ext4 -q -O ^has_journal /tmp/image 2>/dev/null &&"
                    " mount -o loop /tmp/image /tmp/target 2>/dev/null") != 0)
      GTEST_SKIP() << "no ext4 on a loop device for this process";
    unlink("/tmp/image");
    std::ofstream(kTarget, std::ios::binary) << before_;
    rewrite_beside_a_competitor(rewrites);
    umount2(kTargetFolder, MNT_DETACH);
  }

 private:
  const std::string before_ = many_keys();
  std::vector<std::string> names_in_tmp_ = {"filler", "target"};
};

TEST_F(ProfileOnAFullDisk, KeepsEveryKeyWithTooLittleRoomForTheTemporaryCopy) {
  rewrite_without_room_for_the_copy(kSome);
}

TEST_F(ProfileOnAFullDisk, KeepsEveryKeyWithoutAnInodeForTheTemporaryCopy) {
  rewrite_without_an_inode_for_the_copy(kSome);
}

TEST_F(ProfileOnAFullDisk, KeepsEveryKeyWithTooLittleRoomForTheTarget) {
  rewrite_without_room_for_the_target(kSome);
}

TEST_F(ProfileOnAFullDisk, TakesValuesThatAreNoLongerThanTheOldOnes) {
  rewrite_within_the_room_of_the_target(kSome);
}

TEST_F(ProfileOnAFullDisk, KeepsEveryKeyIn40RewritesBesideACompetitorInMemory) {
  rewrite_beside_a_competitor_in_memory(40);
}

TEST_F(ProfileOnAFullDisk, KeepsEveryKeyIn40RewritesBesideACompetitorOnExt4) {
  rewrite_beside_a_competitor_on_ext4(40);
}

using LongProfileOnAFullDisk = ProfileOnAFullDisk;

TEST_F(LongProfileOnAFullDisk, KeepsEveryKeyIn400RewritesBesideACompetitorInMemory) {
  rewrite_beside_a_competitor_in_memory(400);
}

TEST_F(LongProfileOnAFullDisk, KeepsEveryKeyIn400RewritesBesideACompetitorOnExt4) {
  rewrite_beside_a_competitor_on_ext4(400);
}

TEST_F(LongProfileOnAFullDisk, KeepsEveryKeyIn1000RewritesWithTooLittleRoomForTheTemporaryCopy) {
  rewrite_without_room_for_the_copy(kMany);
}

TEST_F(LongProfileOnAFullDisk, KeepsEveryKeyIn1000RewritesWithoutAnInodeForTheTemporaryCopy) {
  rewrite_without_an_inode_for_the_copy(kMany);
}

TEST_F(LongProfileOnAFullDisk, KeepsEveryKeyIn1000RewritesWithTooLittleRoomForTheTarget) {
  rewrite_without_room_for_the_target(kMany);
}

TEST_F(LongProfileOnAFullDisk, TakesEachOf1000ValuesThatAreNoLongerThanTheOldOnes) {
  rewrite_within_the_room_of_the_target(kMany);
}

}  // namespace
