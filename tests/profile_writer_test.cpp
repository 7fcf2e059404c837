// Profile files: the writer, its temporary name and its copy.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <orla/profile.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "fakes/file_calls.h"
#include "kit/environment.h"
#include "kit/guarded_buffer.h"
#include "kit/temp_dir.h"

namespace {

constexpr const char *kDefaultPath = ORLA_DEFAULT_PROFILE_PATH;
constexpr const char *kTemporary = "/tmp/K7memory";
const std::string kTwoSections = "[Main]\nPort=5\n\n[Other]\nA=1\n";

int write_port(const char *path = "f") {
  return orla_cfg_write_private_profile_string("Main", "Port", "7", path);
}

bool opens_for_writing(int flags) { return (flags & O_ACCMODE) == O_WRONLY; }

bool is_temporary(const char *path) { return std::strncmp(path, "/tmp/K7", 7) == 0; }

// What a test finds after one write into a file in memory.
struct Result {
  int status;
  std::string file;
  std::size_t files;  // the target's own is one

  bool operator==(const Result &) const = default;
};

std::ostream &operator<<(std::ostream &out, const Result &result) {
  return out << result.status << " " << testing::PrintToString(result.file) << ", " << result.files
             << " files";
}

Result write_into(const std::string &file, const char *section, const char *key,
                  const char *value) {
  MemoryFiles files;
  files.put("f", file);
  const int status = orla_cfg_write_private_profile_string(section, key, value, "f");
  return {status, files.get("f"), files.count()};
}

Result written(const std::string &file) { return {1, file, 1}; }

TEST(ProfileWriter, CreatesAMissingFileWithTheHeaderAndTheEntry) {
  MemoryFiles files;
  EXPECT_EQ(write_port(), 1);
  EXPECT_EQ(files.get("f"), "[Main]\nPort=7\n");
  EXPECT_EQ(files.count(), 1U);
}

TEST(ProfileWriter, ReplacesTheEntryInItsPlace) {
  EXPECT_EQ(write_into(kTwoSections, "Main", "Port", "7"),
            written("[Main]\nPort=7\n\n[Other]\nA=1\n"));
  EXPECT_EQ(write_into(kTwoSections, "Other", "A", "2"),
            written("[Main]\nPort=5\n\n[Other]\nA=2\n"));
}

TEST(ProfileWriter, PutsANewEntryBeforeTheEmptyLineThatEndsTheSection) {
  EXPECT_EQ(write_into(kTwoSections, "Main", "Host", "h"),
            written("[Main]\nPort=5\nHost=h\n\n[Other]\nA=1\n"));
  EXPECT_EQ(write_into("[Main]\n\n\nA=1\n", "Main", "Host", "h"),
            written("[Main]\nHost=h\n\n\nA=1\n"));
}

TEST(ProfileWriter, PutsANewEntryAtTheEndOfAFileWithoutThatEmptyLine) {
  EXPECT_EQ(write_into("[Main]\nPort=5\n", "Main", "Host", "h"),
            written("[Main]\nPort=5\nHost=h\n"));
  EXPECT_EQ(write_into("[Main]\n", "Main", "Host", "h"), written("[Main]\nHost=h\n"));
}

TEST(ProfileWriter, AppendsANewSectionAfterAnEmptyLine) {
  EXPECT_EQ(write_into("[Main]\nPort=5\n", "New", "K", "v"),
            written("[Main]\nPort=5\n\n[New]\nK=v\n"));
  EXPECT_EQ(write_into("[Main]\n\n", "New", "K", "v"), written("[Main]\n\n\n[New]\nK=v\n"));
}

TEST(ProfileWriter, BeginsAnEmptyFileWithAnEmptyLine) {
  EXPECT_EQ(write_into("", "New", "K", "v"), written("\n[New]\nK=v\n"));
}

TEST(ProfileWriter, ReplacesTheFirstLineThatBeginsWithTheKeyWhateverFollowsIt) {
  EXPECT_EQ(write_into("[Main]\nPortNumber=77\n", "Main", "Port", "7"),
            written("[Main]\nPort=7\n"));
  EXPECT_EQ(write_into("[Main]\nPortNumber=77\nPort=5\n", "Main", "Port", "7"),
            written("[Main]\nPort=7\nPort=5\n"));
}

TEST(ProfileWriter, IgnoresLetterCaseAndWritesTheKeyAsItIsGiven) {
  EXPECT_EQ(write_into("[main]\nport=5\n", "MAIN", "Port", "7"), written("[main]\nPort=7\n"));
}

TEST(ProfileWriter, TakesOnlyAHeaderThatIsTheWholeLine) {
  EXPECT_EQ(write_into("[Maintenance]\nPort=5\n", "Main", "Port", "7"),
            written("[Maintenance]\nPort=5\n\n[Main]\nPort=7\n"));
  EXPECT_EQ(write_into("[Main] \nPort=5\n", "Main", "Port", "7"),
            written("[Main] \nPort=5\n\n[Main]\nPort=7\n"));
}

TEST(ProfileWriter, LooksForTheKeyInTheSectionsBelowUpToAnEmptyLine) {
  EXPECT_EQ(write_into("[Main]\nA=1\n[Other]\nPort=5\n", "Main", "Port", "7"),
            written("[Main]\nA=1\n[Other]\nPort=7\n"));
  EXPECT_EQ(write_into("[Main]\nA=1\n\n[Other]\nPort=5\n", "Main", "Port", "7"),
            written("[Main]\nA=1\nPort=7\n\n[Other]\nPort=5\n"));
}

TEST(ProfileWriter, EmptyKeyReplacesEvenAnEmptyLine) {
  EXPECT_EQ(write_into("[Main]\n\nA=1\n", "Main", "", "v"), written("[Main]\n=v\nA=1\n"));
  EXPECT_EQ(write_into("[Main]\nA=1\n", "Main", "", "v"), written("[Main]\n=v\n"));
}

TEST(ProfileWriter, LosesALastLineWithoutLineFeed) {
  EXPECT_EQ(write_into("[Main]\nPort=5\nHost=h", "Main", "Port", "7"), written("[Main]\nPort=7\n"));
  EXPECT_EQ(write_into("[Main]", "Main", "Port", "7"), written("\n[Main]\nPort=7\n"));
}

TEST(ProfileWriter, LosesEverythingFromAByte255On) {
  EXPECT_EQ(write_into("[Main]\nA=1\nB=\xFF\nPort=5\n", "Main", "Port", "7"),
            written("[Main]\nA=1\nPort=7\n"));
}

TEST(ProfileWriter, RewritesCarriageReturnsAwayInEveryLine) {
  EXPECT_EQ(write_into("A=1\r\n[Main]\r\nPort=5\r\n\r\n[Ot\rher]\r\n", "Main", "Port", "7"),
            written("A=1\n[Main]\nPort=7\n\n[Other]\n"));
}

TEST(ProfileWriter, KeepsZeroBytesInTheLinesItCopies) {
  const std::string zero(1, '\0');
  EXPECT_EQ(write_into("a" + zero + "b\n[Main]\nc" + zero + "\nPort=5\n" + zero + "d\n", "Main",
                       "Port", "7"),
            written("a" + zero + "b\n[Main]\nc" + zero + "\nPort=7\n" + zero + "d\n"));
}

TEST(ProfileWriter, TakesALineThatBeginsWithAZeroByteForEmptyAndKeepsIt) {
  const std::string line("\0d\n", 3);
  EXPECT_EQ(write_into("[Main]\n" + line, "Main", "Port", "7"), written("[Main]\nPort=7\n" + line));
}

TEST(ProfileWriter, CopiesLinesOfAnyLength) {
  for (const std::size_t length : {511U, 512U, 513U, 4095U, 4096U, 4097U, 65536U, 1000000U}) {
    const std::string line = std::string(length, 'x') + "\n";
    const std::string value(length, 'v');
    EXPECT_EQ(
        write_into(line + "[Main]\n" + line + "Port=5\n" + line, "Main", "Port", value.c_str()),
        written(line + "[Main]\n" + line + "Port=" + value + "\n" + line));
    EXPECT_EQ(write_into("", value.c_str(), "K", "v"), written("\n[" + value + "]\nK=v\n"));
  }
}

TEST(ProfileWriter, RewritesAFileOf100Megabytes) {
  std::string file = "[Main]\nPort=5\n";
  while (file.size() < 100000000)
    file += "one entry=of very many\n";
  std::string expected = file;
  expected[12] = '7';
  EXPECT_TRUE(write_into(file, "Main", "Port", "7") == written(expected));
}

TEST(ProfileWriter, ChecksNothingInItsArguments) {
  EXPECT_EQ(write_into("[Main]\n", "Main", "a=b", "c\nd"), written("[Main]\na=b=c\nd\n"));
  EXPECT_EQ(write_into("", "a\nb", "", ""), written("\n[a\nb]\n=\n"));
}

TEST(ProfileWriter, DefaultPathStandsForTheFileThatTheEnvironmentNames) {
  MemoryFiles files;
  files.put(kDefaultPath, "");
  files.put("other", "");
  const WithVariable set("ORLA_CONFIG", "named");
  EXPECT_EQ(write_port(kDefaultPath), 1);
  EXPECT_EQ(write_port("other"), 1);
  EXPECT_EQ(files.get(kDefaultPath), "");
  EXPECT_EQ(files.get("named"), "[Main]\nPort=7\n");
  EXPECT_EQ(files.get("other"), "\n[Main]\nPort=7\n");
  const WithVariable unset("ORLA_CONFIG", nullptr);
  EXPECT_EQ(write_port(kDefaultPath), 1);
  EXPECT_EQ(files.get(kDefaultPath), "\n[Main]\nPort=7\n");
}

// What fails, and what is left.

class ProfileWriterFailing : public testing::Test {
 protected:
  ProfileWriterFailing() { files_.put("f", kTwoSections); }

  // One write, with `failing` as the open of everything.
  template <typename Failing>
  int write_with_open(Failing failing) {
    const With opening(fake_open, [&](const char *path, int flags, mode_t) {
      const int error = failing(path, flags);
      errno = error;
      return error != 0 ? -1 : files_.open(path, flags);
    });
    return write_port();
  }

  MemoryFiles files_;
};

TEST_F(ProfileWriterFailing, TemporaryFileThatDoesNotOpenStaysBehindEmpty) {
  EXPECT_EQ(write_with_open([](const char *path, int) { return is_temporary(path) ? EACCES : 0; }),
            0);
  EXPECT_EQ(files_.get("f"), kTwoSections);
  EXPECT_EQ(files_.count(), 2U);
  EXPECT_EQ(files_.get(kTemporary), "");
}

constexpr int kLastError = 133;  // EHWPOISON

bool means_missing_or_unreadable(int error) {
  return error == ENOENT || error == EACCES || error == EPERM;
}

// A disk that hiccups, a server that is away, a process without a descriptor left: the target is
// still there, and is not replaced by a single key.
TEST_F(ProfileWriterFailing, TargetIsReplacedOnlyWhenItIsMissingOrMayNotBeRead) {
  for (int error = 1; error <= kLastError; ++error) {
    files_.put("f", kTwoSections);
    const bool replaced = means_missing_or_unreadable(error);
    EXPECT_EQ(write_with_open([error](const char *path, int flags) {
                return !is_temporary(path) && !opens_for_writing(flags) ? error : 0;
              }),
              replaced ? 1 : 0)
        << std::strerror(error);
    EXPECT_EQ(files_.get("f"), replaced ? "[Main]\nPort=7\n" : kTwoSections)
        << std::strerror(error);
    EXPECT_EQ(files_.count(), 1U) << "a temporary file stayed behind";
  }
}

// What is done with the temporary file meanwhile may fail for a reason of its own.
TEST_F(ProfileWriterFailing, WhyTheTargetDidNotOpenIsNotForgotten) {
  for (const auto &[of_target, of_others] : {std::pair(ESTALE, ENOENT), std::pair(ENOENT, EIO)}) {
    files_.put("f", kTwoSections);
    const int error = of_others;
    const With closing(fake_close, [error](int descriptor) {
      fake_close.real(descriptor);
      errno = error;
      return 0;
    });
    const With cutting(fake_truncate, [error](const char *, off_t) {
      errno = error;
      return -1;
    });
    const With removing(fake_unlink, [error](const char *) {
      errno = error;
      return -1;
    });
    EXPECT_EQ(write_with_open([result = of_target](const char *path, int flags) {
                return !is_temporary(path) && !opens_for_writing(flags) ? result : 0;
              }),
              of_target == ENOENT ? 1 : 0);
  }
}

TEST_F(ProfileWriterFailing, TargetIsLeftEmptyWhenTheCopyCannotBeOpenedAgain) {
  EXPECT_EQ(write_with_open([](const char *path, int flags) {
              return is_temporary(path) && !opens_for_writing(flags) ? EIO : 0;
            }),
            0);
  EXPECT_EQ(files_.get("f"), "");
  EXPECT_EQ(files_.count(), 1U);
}

bool is_on_temporary(int descriptor) {
  char path[64] = {};
  const std::string link = std::string("/proc/self/fd/") + std::to_string(descriptor);
  return readlink(link.c_str(), path, sizeof path - 1) > 0 && is_temporary(path);
}

// The temporary files that are made while the object lives.
struct TemporaryNames {
  std::vector<std::string> names;
  std::vector<int> descriptors;

  void expect_gone(std::size_t count) const {
    EXPECT_EQ(names.size(), count);
    for (const std::string &name : names)
      EXPECT_FALSE(std::filesystem::exists(name)) << name;
  }

  const With<int(char *)> naming{fake_mkstemp, [this](char *name) {
                                   descriptors.push_back(fake_mkstemp.real(name));
                                   names.emplace_back(name);
                                   return descriptors.back();
                                 }};
};

TEST(ProfileWriterCopy, ThatCouldNotBeWrittenWholeNeverReachesTheTarget) {
  const TempDir folder;
  const std::string large = kTwoSections + std::string(100000, '\n');
  for (const std::string &file : {kTwoSections, large}) {
    for (int good_writes = 0; good_writes < (file == large ? 2 : 1); ++good_writes) {
      const std::string path = folder.write("f", file);
      TemporaryNames temporary;
      int writes = 0;
      const With full(fake_write,
                      [&](int descriptor, const void *data, std::size_t size) -> ssize_t {
                        if (!is_on_temporary(descriptor) || writes++ < good_writes)
                          return fake_write.real(descriptor, data, size);
                        errno = ENOSPC;
                        return -1;
                      });
      EXPECT_EQ(write_port(path.c_str()), 0);
      EXPECT_GT(writes, good_writes);
      EXPECT_EQ(folder.read("f"), file);
      temporary.expect_gone(1);
    }
  }
}

TEST(ProfileWriterCopy, WithAHoleInTheMiddleNeverReachesTheTarget) {
  const TempDir folder;
  const std::string large = kTwoSections + std::string(300000, '\n');
  const std::string path = folder.write("f", large);
  int writes = 0;
  const With failing_once(fake_write,
                          [&](int descriptor, const void *data, std::size_t size) -> ssize_t {
                            if (!is_on_temporary(descriptor) || ++writes != 2)
                              return fake_write.real(descriptor, data, size);
                            errno = EIO;
                            return -1;
                          });
  EXPECT_EQ(write_port(path.c_str()), 0);
  EXPECT_GE(writes, 2);
  EXPECT_EQ(folder.read("f"), large);
}

TEST(ProfileWriterCopy, WhoseLastBytesFailAtTheCloseNeverReachesTheTarget) {
  const TempDir folder;
  const std::string path = folder.write("f", kTwoSections);
  const With failing(fake_close, [&](int descriptor) {
    const bool fails = is_on_temporary(descriptor);
    fake_close.real(descriptor);
    errno = EIO;
    return fails ? -1 : 0;
  });
  EXPECT_EQ(write_port(path.c_str()), 0);
  EXPECT_EQ(folder.read("f"), kTwoSections);
}

TEST(ProfileWriterCopy, OfATargetThatCannotBeReadToItsEndNeverReachesIt) {
  const std::string large = kTwoSections + std::string(100000, '\n');
  for (const int good_reads : {0, 1}) {
    MemoryFiles files;
    files.put("f", large);
    int reads = 0;
    const With failing(fake_read, [&](int descriptor, void *out, std::size_t size) -> ssize_t {
      if (reads++ < good_reads) return fake_read.real(descriptor, out, size);
      errno = EIO;
      return -1;
    });
    EXPECT_EQ(write_port(), 0);
    EXPECT_TRUE(files.get("f") == large);
    EXPECT_EQ(files.count(), 1U);
  }
}

TEST(ProfileWriterCopy, OfATargetWhoseLinesExceedTheMemoryNeverReachesIt) {
  const std::string file = kTwoSections + std::string(1000000, 'x') + "\n";
  MemoryFiles files;
  files.put("f", file);
  const With short_of_memory(fake_realloc, [](void *earlier, std::size_t size) -> void * {
    return size > 500000 ? nullptr : fake_realloc.real(earlier, size);
  });
  EXPECT_EQ(write_port(), 0);
  EXPECT_TRUE(files.get("f") == file);
  EXPECT_EQ(files.count(), 1U);
}

TEST(ProfileWriterCopy, IsWrittenOnAfterASignal) {
  MemoryFiles files;
  files.put("f", kTwoSections);
  int calls = 0;
  const With interrupted(fake_write,
                         [&](int descriptor, const void *data, std::size_t size) -> ssize_t {
                           if (calls++ % 2 == 1) return fake_write.real(descriptor, data, size);
                           errno = EINTR;
                           return -1;
                         });
  EXPECT_EQ(write_port(), 1);
  EXPECT_EQ(files.get("f"), "[Main]\nPort=7\n\n[Other]\nA=1\n");
}

TEST(ProfileWriterCopy, IsNotWholeWhenTheSystemTakesNothing) {
  MemoryFiles files;
  files.put("f", kTwoSections);
  const With taking_nothing(fake_write, [](int, const void *, std::size_t) {
    errno = EINTR;  // of an earlier call: this one does not fail
    return ssize_t{0};
  });
  EXPECT_EQ(write_port(), 0);
  EXPECT_EQ(files.get("f"), kTwoSections);
}

TEST(ProfileWriterCopy, IsWrittenInWholePagesAndCopiedByOneWrite) {
  MemoryFiles files;
  files.put("f", kTwoSections + std::string(200000, '\n'));
  std::vector<std::size_t> sizes;
  const With measuring(fake_write, [&](int descriptor, const void *data, std::size_t size) {
    sizes.push_back(size);
    return fake_write.real(descriptor, data, size);
  });
  EXPECT_EQ(write_port(), 1);
  const std::size_t whole = kTwoSections.size() + 200000;
  ASSERT_GT(sizes.size(), 2U);
  EXPECT_EQ(sizes.back(), whole);
  // The temporary file ends in a piece of a page.
  std::for_each(sizes.begin(), sizes.end() - 2,
                [](std::size_t size) { EXPECT_EQ(size % 4096, 0U); });
}

TEST(ProfileWriterCopy, GoesOnInSmallBlocksWhileThereIsNoMemory) {
  MemoryFiles files;
  files.put("f", kTwoSections + std::string(100000, '\n'));
  const With none(fake_realloc, [](void *, std::size_t) { return nullptr; });
  EXPECT_EQ(write_port(), 1);
  EXPECT_EQ(files.get("f"), "[Main]\nPort=7\n\n[Other]\nA=1\n" + std::string(100000, '\n'));
}

TEST(ProfileWriterCopy, EndsAtTheEndOfTheFileWhateverFailedEarlier) {
  MemoryFiles files;
  files.put("f", kTwoSections);
  const With reading(fake_read, [](int descriptor, void *out, std::size_t size) {
    errno = EINTR;  // of an earlier call: this one does not fail
    return fake_read.real(descriptor, out, size);
  });
  EXPECT_EQ(copy_file("f", "copy"), 0);
  EXPECT_EQ(files.get("copy"), kTwoSections);
}

TEST(ProfileWriter, NewFileThatCannotBeWrittenWholeIsAFailure) {
  MemoryFiles files;
  const With full(fake_write, [](int, const void *, std::size_t) -> ssize_t {
    errno = ENOSPC;
    return -1;
  });
  EXPECT_EQ(write_port(), 0);
  EXPECT_EQ(files.count(), 1U);
}

TEST(ProfileWriter, NewFileWhoseCloseFailsIsAFailure) {
  MemoryFiles files;
  int closes = 0;
  const With failing(fake_close, [&](int descriptor) {
    fake_close.real(descriptor);
    return ++closes == 2 ? -1 : 0;  // the first is the temporary file's
  });
  EXPECT_EQ(write_port(), 0);
  EXPECT_EQ(closes, 2);
}

// Room on the target's file system.

auto no_room(int error = ENOSPC) {
  return With(fake_fallocate, [error](int, int, off64_t, off64_t) {
    errno = error;
    return -1;
  });
}

// Grants all room, and counts how often it is asked for.
auto room(int &count) {
  return With(fake_fallocate, [&count](int, int, off64_t, off64_t) {
    ++count;
    return 0;
  });
}

// Every file is said to be a regular one of this size.
auto file_of(std::uint64_t size, unsigned blocks = 0) {
  return With(fake_statx, [size, blocks](int, const char *, int, unsigned, struct statx *out) {
    *out = {};
    out->stx_mode = S_IFREG;
    out->stx_size = size;
    out->stx_blocks = blocks;
    return 0;
  });
}

class ProfileRoom : public testing::Test {
 protected:
  // Rewrites a small file, to one that needs more room when `value` is long.
  int write(const std::string &value) {
    path_ = folder_.write("f", kTwoSections);
    return orla_cfg_write_private_profile_string("Main", "Port", value.c_str(), path_.c_str());
  }

  static std::string with_port(const std::string &value) {
    return std::string("[Main]\nPort=") + value + "\n\n[Other]\nA=1\n";
  }

  const std::string long_value_ = std::string(200000, 'v');
  const TempDir folder_;
  std::string path_;
};

TEST_F(ProfileRoom, ThatIsNotThereLeavesTheTargetUntouched) {
  for (const int error : {ENOSPC, EDQUOT, EFBIG, EIO}) {
    const auto full = no_room(error);
    TemporaryNames temporary;
    EXPECT_EQ(write(long_value_), 0) << std::strerror(error);
    EXPECT_EQ(folder_.read("f"), kTwoSections);
    temporary.expect_gone(1);
  }
}

// Some file systems keep what they got of a reservation that failed.
TEST_F(ProfileRoom, ThatIsNotThereWhollyIsGivenBack) {
  const auto full = no_room();
  int given_back = 0;
  const With truncating(fake_ftruncate, [&](int descriptor, off64_t size) {
    EXPECT_EQ(size, static_cast<off64_t>(kTwoSections.size()));
    return ++given_back == 1 ? (errno = EINTR, -1) : fake_ftruncate.real(descriptor, size);
  });
  EXPECT_EQ(write(long_value_), 0);
  EXPECT_EQ(given_back, 2);  // the first time a signal came between
  EXPECT_EQ(folder_.read("f"), kTwoSections);
}

// Of one that cannot be given back nothing but the room is lost.
TEST_F(ProfileRoom, ThatCannotBeGivenBackLeavesTheTargetUntouched) {
  const auto full = no_room();
  int tried = 0;
  const With truncating(fake_ftruncate, [&](int, off64_t) {
    ++tried;
    errno = EIO;
    return -1;
  });
  EXPECT_EQ(write(long_value_), 0);
  EXPECT_EQ(tried, 1);
  EXPECT_EQ(folder_.read("f"), kTwoSections);
}

TEST_F(ProfileRoom, IsGivenBackOnATargetOf5Gigabytes) {
  constexpr std::uint64_t kSize = 5368709120;
  const auto full = no_room();
  const auto telling = file_of(kSize);
  std::vector<off64_t> sizes;
  const With cutting(fake_ftruncate, [&](int, off64_t size) {
    sizes.push_back(size);
    return 0;
  });
  EXPECT_EQ(write(long_value_), 0);
  EXPECT_EQ(sizes, std::vector<off64_t>{kSize});
}

// To cut the target without knowing its size would lose what it holds.
TEST_F(ProfileRoom, IsNotGivenBackWhereTheSizeOfTheTargetCannotBeTold) {
  const auto full = no_room();
  const With untold(fake_statx, [](int, const char *, int, unsigned, struct statx *) {
    errno = EIO;
    return -1;
  });
  const With truncating(fake_ftruncate, [](int, off64_t size) {
    ADD_FAILURE() << "cut at " << size;
    return 0;
  });
  EXPECT_EQ(write(long_value_), 0);
  EXPECT_EQ(folder_.read("f"), kTwoSections);
}

TEST_F(ProfileRoom, IsGivenBackWhenTheTargetThenDoesNotOpen) {
  const With opening(fake_open, [&](const char *path, int flags, mode_t mode) {
    if (path == path_ && (flags & O_CREAT) != 0) {
      errno = EACCES;
      return -1;
    }
    return fake_open.real(path, flags, mode);
  });
  EXPECT_EQ(write(long_value_), 0);
  EXPECT_EQ(folder_.read("f"), kTwoSections);
  struct stat status;
  ASSERT_EQ(stat(path_.c_str(), &status), 0);
  EXPECT_LT(status.st_blocks * 512, 100000);
}

// The block count includes what the file system keeps beside the data, so it does not decide alone.
TEST_F(ProfileRoom, IsReservedForAnyTextLongerThanTheFile) {
  for (const unsigned blocks : {0U, 1U, 8U}) {
    const auto telling = file_of(kTwoSections.size(), blocks);
    int reserved = 0;
    const auto reserving = room(reserved);
    EXPECT_EQ(write("7"), 1);  // as long as before
    EXPECT_EQ(reserved, blocks == 0);
    EXPECT_EQ(write("77"), 1);
    EXPECT_EQ(reserved, 1 + (blocks == 0));
  }
}

// A file with holes holds less than its size says: a block is 512 bytes, whatever the file system.
TEST_F(ProfileRoom, IsReservedForATextLongerThanTheBlocksOfTheFile) {
  const auto telling = file_of(1000000, 8);
  int reserved = 0;
  const auto reserving = room(reserved);
  const std::size_t others = with_port("").size();
  EXPECT_EQ(write(std::string(4096 - others, '7')), 1);
  EXPECT_EQ(reserved, 0);
  EXPECT_EQ(write(std::string(4097 - others, '7')), 1);
  EXPECT_EQ(reserved, 1);
}

TEST_F(ProfileRoom, IsTakenForGrantedWhereTheFileSystemCannotReserve) {
  for (const int error : {EOPNOTSUPP, ENOSYS}) {
    const auto unable = no_room(error);
    EXPECT_EQ(write(long_value_), 1);
    EXPECT_EQ(folder_.read("f"), with_port(long_value_));
  }
}

TEST_F(ProfileRoom, IsAskedForAgainAfterASignal) {
  int calls = 0;
  const With interrupted(fake_fallocate, [&](int, int, off64_t, off64_t) {
    errno = EINTR;
    return calls++ == 0 ? -1 : 0;
  });
  EXPECT_EQ(write(long_value_), 1);
  EXPECT_EQ(calls, 2);
}

TEST_F(ProfileRoom, IsNotAskedForWhereTheFileHasIt) {
  const With full(fake_fallocate, [](int, int, off64_t, off64_t) {
    ADD_FAILURE() << "nothing more is needed";
    return -1;
  });
  path_ = folder_.write("f", with_port(long_value_));
  EXPECT_EQ(orla_cfg_write_private_profile_string("Main", "Port", "7", path_.c_str()), 1);
  EXPECT_EQ(folder_.read("f"), with_port("7"));
}

TEST_F(ProfileRoom, IsAskedForWhereTheFilesOwnCannotBeTold) {
  const With failing(fake_statx,
                     [](int, const char *, int, unsigned, struct statx *) { return -1; });
  int calls = 0;
  const auto reserving = room(calls);
  EXPECT_EQ(write("7"), 1);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(folder_.read("f"), with_port("7"));
}

TEST_F(ProfileRoom, CannotBeReservedOnATargetThatDoesNotOpenForWriting) {
  const With opening(fake_open, [&](const char *path, int flags, mode_t mode) {
    if (path == path_ && opens_for_writing(flags)) {
      errno = EACCES;
      return -1;
    }
    return fake_open.real(path, flags, mode);
  });
  EXPECT_EQ(write(long_value_), 0);
  EXPECT_EQ(folder_.read("f"), kTwoSections);
}

struct Opened {
  std::string path;
  int flags;
  mode_t mode;

  bool operator==(const Opened &) const = default;
};

std::ostream &operator<<(std::ostream &out, const Opened &opened) {
  return out << opened.path << " with " << std::oct << opened.flags << " " << opened.mode;
}

constexpr int kOfAnySize = O_LARGEFILE | O_CLOEXEC;
constexpr int kRead = O_RDONLY | kOfAnySize;
constexpr int kWrite = O_WRONLY | kOfAnySize;
constexpr int kCreate = O_WRONLY | O_CREAT | kOfAnySize;

// Another process that fills the disk would take what is given up, however briefly. The files may
// have any size, and no program inherits their descriptors.
TEST_F(ProfileRoom, IsReservedBeforeTheCopyAndKeptUntilItIsThere) {
  std::vector<Opened> all;
  const With opening(fake_open, [&](const char *path, int flags, mode_t mode) {
    all.push_back({is_temporary(path) ? "copy" : path == path_ ? "target" : path, flags, mode});
    return fake_open.real(path, flags, mode);
  });
  const With reserving(fake_fallocate, [&](int file, int mode, off64_t offset, off64_t size) {
    EXPECT_EQ(offset, 0);
    EXPECT_EQ(size, static_cast<off64_t>(with_port(long_value_).size()));
    EXPECT_EQ(folder_.read("f"), kTwoSections);
    all.push_back({"room", mode, 0});
    return fake_fallocate.real(file, mode, offset, size);
  });
  const With cutting(fake_ftruncate, [](int, off64_t size) {
    ADD_FAILURE() << "cut at " << size;
    return 0;
  });
  EXPECT_EQ(write(long_value_), 1);
  EXPECT_EQ(folder_.read("f"), with_port(long_value_));
  EXPECT_EQ(
      all, (std::vector<Opened>{Opened{"copy", kCreate, 0666}, Opened{"target", kRead, 0},
                                Opened{"target", kWrite, 0}, Opened{"room", FALLOC_FL_KEEP_SIZE, 0},
                                Opened{"target", kCreate, 0666}, Opened{"copy", kRead, 0}}));
  all.clear();
  ASSERT_EQ(unlink(path_.c_str()), 0);
  EXPECT_EQ(write_port(path_.c_str()), 1);
  EXPECT_EQ(all, (std::vector<Opened>{Opened{"copy", kCreate, 0666}, Opened{"target", kRead, 0},
                                      Opened{"target", kCreate | O_TRUNC, 0666}}));
}

// Files of the file system.

TEST(ProfileWriterFile, IsRewrittenInPlaceWithItsInodeAndPermissions) {
  const TempDir folder;
  const std::string path = folder.write("f", kTwoSections);
  ASSERT_EQ(chmod(path.c_str(), 0640), 0);
  ASSERT_EQ(link(path.c_str(), folder.path("link").c_str()), 0);
  EXPECT_EQ(write_port(path.c_str()), 1);
  struct stat status;
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640U);
  EXPECT_EQ(folder.read("link"), "[Main]\nPort=7\n\n[Other]\nA=1\n");
}

TEST(ProfileWriterFile, IsRewrittenThroughASymbolicLink) {
  const TempDir folder;
  const std::string path = folder.write("f", kTwoSections);
  const std::string link = folder.path("link");
  ASSERT_EQ(symlink(path.c_str(), link.c_str()), 0);
  EXPECT_EQ(write_port(link.c_str()), 1);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_NE(folder.read("f"), kTwoSections);
}

TEST(ProfileWriterFile, IsCreatedWithTheOrdinaryModeUnderTheMask) {
  const TempDir folder;
  for (const mode_t mask : {0U, 022U, 077U}) {
    const std::string path = folder.path(std::to_string(mask));
    const mode_t earlier = umask(mask);
    EXPECT_EQ(write_port(path.c_str()), 1);
    umask(earlier);
    struct stat status;
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0666U & ~mask);
  }
}

TEST(ProfileWriterFile, InAMissingFolderIsAFailure) {
  const TempDir folder;
  EXPECT_EQ(write_port(folder.path("missing/f").c_str()), 0);
}

TEST(ProfileWriterFile, ThatIsAFolderIsAFailure) {
  const TempDir folder;
  EXPECT_EQ(write_port(folder.path("").c_str()), 0);
  EXPECT_TRUE(std::filesystem::is_directory(folder.path("")));
}

TEST(ProfileWriterFile, ThatIsADeviceIsWrittenWithoutReservingRoom) {
  const With reserving(fake_fallocate, [](int, int, off64_t, off64_t) {
    ADD_FAILURE() << "a device has no room to reserve";
    return -1;
  });
  EXPECT_EQ(write_port("/dev/null"), 1);
}

std::size_t open_descriptors() {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator("/proc/self/fd"))
    ++count;
  return count;
}

TEST(ProfileWriterFile, LeavesOneDescriptorOpenPerRewriteAndNoTemporaryFile) {
  const TempDir folder;
  const std::string path = folder.path("f");
  TemporaryNames temporary;
  const std::size_t before = open_descriptors();
  for (std::size_t i = 1; i <= 3; ++i) {
    EXPECT_EQ(write_port(path.c_str()), 1);  // created first, then rewritten
    EXPECT_EQ(open_descriptors(), before + i);
  }
  temporary.expect_gone(3);
}

// A child inherits it, and would read a profile that only its owner may read; and it would hold the
// room of the copy in /tmp for as long as the process lives.
TEST(ProfileWriterFile, LeavesADescriptorThatReadsNothingAndHoldsNoRoom) {
  const TempDir folder;
  const std::string path = folder.write("f", kTwoSections + std::string(300000, '\n'));
  TemporaryNames temporary;
  EXPECT_EQ(write_port(path.c_str()), 1);
  const auto full = no_room();
  EXPECT_EQ(orla_cfg_write_private_profile_string("Main", "Long", std::string(9000, 'v').c_str(),
                                                  path.c_str()),
            0);
  ASSERT_EQ(temporary.descriptors.size(), 2U);
  for (const int descriptor : temporary.descriptors) {
    struct stat status;
    ASSERT_EQ(fstat(descriptor, &status), 0);
    EXPECT_EQ(status.st_size, 0);
    EXPECT_EQ(status.st_blocks, 0);
  }
}

// Rewrites at the real limit of descriptors. Each makes the file longer, so that room is reserved.
class ProfileWriterLimit : public testing::TestWithParam<rlim_t> {};

INSTANTIATE_TEST_SUITE_P(Descriptors, ProfileWriterLimit, testing::Range<rlim_t>(32, 40));

TEST_P(ProfileWriterLimit, LosesNothingDownToTheLastDescriptor) {
  const TempDir folder;
  const std::string path = folder.write("f", kTwoSections);
  TemporaryNames temporary;
  rlimit earlier;
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &earlier), 0);
  const rlimit few = {GetParam(), earlier.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
  std::string value;
  int failures = 0;
  while (failures < 8) {
    const std::string next = value + "7";
    if (orla_cfg_write_private_profile_string("Main", "Port", next.c_str(), path.c_str()) == 1) {
      value = next;
    } else {
      ++failures;
    }
  }
  setrlimit(RLIMIT_NOFILE, &earlier);
  EXPECT_EQ(folder.read("f"), "[Main]\nPort=" + value + "\n\n[Other]\nA=1\n");
  for (const std::string &name : temporary.names)
    unlink(name.c_str());  // those that could not be opened
}

TEST(ProfileWriterErrno, IsLeftAloneOnSuccess) {
  const TempDir folder;
  const std::string path = folder.path("f");
  const std::string copy = folder.path("copy");
  errno = 4711;
  EXPECT_EQ(write_port(path.c_str()), 1);  // created
  EXPECT_EQ(errno, 4711);
  EXPECT_EQ(orla_cfg_write_private_profile_string("Main", "Port", "77777", path.c_str()), 1);
  EXPECT_EQ(errno, 4711);
  EXPECT_EQ(copy_file(path.c_str(), copy.c_str()), 0);
  EXPECT_EQ(errno, 4711);
  EXPECT_EQ(copy_file(path.c_str(), "/dev/full"), 0);
  EXPECT_EQ(errno, 4711);
}

TEST(ProfileWriterErrno, TellsWhyAFileWasNotWritten) {
  const TempDir folder;
  const std::string path = folder.write("f", kTwoSections);
  errno = 0;
  EXPECT_EQ(write_port(folder.path("missing/f").c_str()), 0);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(copy_file(folder.path("missing").c_str(), path.c_str()), 1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(copy_file(path.c_str(), folder.path("").c_str()), 1);
  EXPECT_EQ(errno, EISDIR);
  const auto full = no_room(EDQUOT);
  const With removing(fake_unlink, [](const char *name) {
    fake_unlink.real(name);
    errno = EIO;
    return -1;
  });
  folder.write("f", kTwoSections);
  EXPECT_EQ(orla_cfg_write_private_profile_string("Main", "Port", "77777", path.c_str()), 0);
  EXPECT_EQ(errno, EDQUOT);
}

TEST(TemporaryName, IsACreatedEmptyFileOfTheOwnersAlone) {
  GuardedBuffer name(ORLA_TEMPORARY_NAME_SIZE);
  ASSERT_EQ(create_temporary_name(name.data()), 0);
  const std::string path = name.data();
  EXPECT_EQ(path.size(), 13U);
  EXPECT_TRUE(is_temporary(path.c_str()));
  EXPECT_EQ(path.find("XXXXXX"), std::string::npos);
  struct stat status;
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode, S_IFREG | 0600U);
  EXPECT_EQ(status.st_size, 0);
  unlink(path.c_str());
}

TEST(TemporaryName, IsMadeFromTheTemplateByMkstempWhoseDescriptorStaysOpen) {
  const With naming(fake_mkstemp, [](char *name) {
    EXPECT_STREQ(name, "/tmp/K7XXXXXX");
    return 5;
  });
  const With closing(fake_close, [](int descriptor) {
    ADD_FAILURE() << "descriptor " << descriptor << " was closed";
    return 0;
  });
  char name[ORLA_TEMPORARY_NAME_SIZE];
  EXPECT_EQ(create_temporary_name(name), 0);
}

TEST(TemporaryName, IsOneOnFailure) {
  const With failing(fake_mkstemp, [](char *) { return -1; });
  char name[ORLA_TEMPORARY_NAME_SIZE];
  EXPECT_EQ(create_temporary_name(name), 1);
}

constexpr std::size_t kLargestWrite = 1048576;

TEST(CopyFile, CopiesEveryByteOfFilesOfAnySize) {
  const std::string all = std::string("a\0b\r\n\xFF\n", 8);
  for (const std::size_t size :
       {0U, 1U, 511U, 512U, 513U, 4095U, 4096U, 4097U, 1048575U, 1048576U, 1048577U, 3000000U}) {
    MemoryFiles files;
    std::string content;
    while (content.size() < size)
      content += all;
    content.resize(size);
    files.put("from", content);
    files.put("to", "earlier content");
    EXPECT_EQ(copy_file("from", "to"), 0);
    EXPECT_TRUE(files.get("to") == content) << size;
    EXPECT_TRUE(files.get("from") == content) << size;
  }
}

TEST(CopyFile, OfADeviceOntoItselfSucceeds) { EXPECT_EQ(copy_file("/dev/null", "/dev/null"), 0); }

TEST(CopyFile, DoesNotNoticeWhatCannotBeWrittenAndGoesOnAfterIt) {
  MemoryFiles files;
  files.put("from", std::string(kLargestWrite, 'a') + "b");
  files.put("to", "earlier content");
  int writes = 0;
  const With failing(fake_write,
                     [&](int descriptor, const void *data, std::size_t size) -> ssize_t {
                       errno = ENOSPC;
                       return writes++ == 0 ? -1 : fake_write.real(descriptor, data, size);
                     });
  EXPECT_EQ(copy_file("from", "to"), 0);
  EXPECT_EQ(files.get("to"), "b");
}

// A process that is killed meanwhile, or a reader, finds a file that was never empty.
TEST(CopyFile, NeverEmptiesTheDestination) {
  for (const std::size_t size : {0U, 1U, 5U, 6U, 7U, 100U, 5000U}) {
    MemoryFiles files;
    const std::string content(size, 'n');
    files.put("from", content);
    files.put("to", "the old");
    const With writing(fake_write, [&](int descriptor, const void *data, std::size_t length) {
      EXPECT_EQ(files.get("to"), "the old");
      lseek(descriptor, 0, SEEK_SET);
      return fake_write.real(descriptor, data, length);
    });
    std::string before_the_cut;
    const With cutting(fake_ftruncate, [&](int descriptor, off64_t length) {
      EXPECT_EQ(length, static_cast<off64_t>(size));
      before_the_cut = files.get("to");
      return fake_ftruncate.real(descriptor, length);
    });
    EXPECT_EQ(copy_file("from", "to"), 0);
    EXPECT_EQ(files.get("to"), content);
    // What is left of a longer file is hidden from readers of profiles until it is cut off.
    EXPECT_EQ(before_the_cut,
              size < 7 ? content + '\xFF' + std::string("the old").substr(size + 1) : "");
  }
}

TEST(CopyFile, WritesUpToAMegabyteAtOnce) {
  for (const std::size_t size :
       std::vector<std::size_t>{1, 4095, 4096, 100000, kLargestWrite, kLargestWrite + 1}) {
    MemoryFiles files;
    files.put("from", std::string(size, 'a'));
    files.put("to",
              std::string(size + 10, 'b'));  // so that a byte after the content is written too
    std::vector<std::size_t> sizes;
    const With measuring(fake_write, [&](int descriptor, const void *data, std::size_t length) {
      sizes.push_back(length);
      return fake_write.real(descriptor, data, length);
    });
    EXPECT_EQ(copy_file("from", "to"), 0);
    EXPECT_EQ(files.get("to").size(), size);
    EXPECT_EQ(sizes.front(), std::min<std::size_t>(size + 1, kLargestWrite));
    EXPECT_EQ(sizes.size(), size < kLargestWrite ? 1U : 2U);
  }
}

TEST(CopyFile, WritesWhatASourceHasThatGrowsOrShrinksMeanwhile) {
  for (const std::size_t told : {0U, 10U, 5000U, 100000U, 9000000U}) {
    MemoryFiles files;
    const std::string content(50000, 'a');
    files.put("from", content);
    const With telling(
        fake_statx, [&](int file, const char *path, int flags, unsigned mask, struct statx *out) {
          const int status = fake_statx.real(file, path, flags, mask, out);
          if (out->stx_size == content.size()) out->stx_size = told;
          return status;
        });
    EXPECT_EQ(copy_file("from", "to"), 0);
    EXPECT_TRUE(files.get("to") == content) << told;
  }
}

TEST(CopyFile, CutsTheDestinationWhereItsSizeCannotBeToldBeforeOrAtAll) {
  for (const bool always : {false, true}) {
    MemoryFiles files;
    files.put("from", "new");
    files.put("to", "earlier content");
    int asked = 0;
    const With untold(
        fake_statx, [&](int file, const char *path, int flags, unsigned mask, struct statx *out) {
          errno = ENOSYS;
          return always || ++asked == 2 ? -1 : fake_statx.real(file, path, flags, mask, out);
        });
    EXPECT_EQ(copy_file("from", "to"), 0);
    EXPECT_EQ(files.get("to"), "new");
  }
}

TEST(CopyFile, PutsNothingButTheContentIntoAPipe) {
  const TempDir folder;
  const std::string from = folder.write("from", "all of it");
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  EXPECT_EQ(copy_file(from.c_str(), ("/proc/self/fd/" + std::to_string(ends[1])).c_str()), 0);
  char got[64];
  EXPECT_EQ(read(ends[0], got, sizeof got), 9);
  close(ends[0]);
  close(ends[1]);
}

TEST(CopyFile, EmptiesAFileThatIsCopiedOntoItselfByALinkToIt) {
  const TempDir folder;
  const std::string from = folder.write("from", "content");
  const std::string to = folder.path("to");
  ASSERT_EQ(link(from.c_str(), to.c_str()), 0);
  EXPECT_EQ(copy_file(from.c_str(), to.c_str()), 0);
  EXPECT_EQ(folder.read("from"), "");
}

TEST(CopyFile, DoesNotNoticeWhatCannotBeRead) {
  MemoryFiles files;
  files.put("from", "a");
  const With failing(fake_read, [](int, void *, std::size_t) -> ssize_t {
    errno = EIO;
    return -1;
  });
  EXPECT_EQ(copy_file("from", "to"), 0);
  EXPECT_EQ(files.get("to"), "");
}

TEST(CopyFile, ReadsOnAfterASignal) {
  MemoryFiles files;
  files.put("from", "a");
  int reads = 0;
  const With interrupted(fake_read, [&](int descriptor, void *out, std::size_t size) -> ssize_t {
    errno = EINTR;
    return reads++ == 0 ? -1 : fake_read.real(descriptor, out, size);
  });
  EXPECT_EQ(copy_file("from", "to"), 0);
  EXPECT_EQ(files.get("to"), "a");
}

}  // namespace
