// Profile files: the integer reader, the string reader, the line reader and the profile in force.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <orla/profile.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <string>

#include "fakes/file_calls.h"
#include "fakes/secure_getenv.h"
#include "kit/environment.h"
#include "kit/errno_after.h"
#include "kit/guarded_buffer.h"
#include "kit/temp_dir.h"

namespace {

constexpr int kNothing = -77;
constexpr const char *kDefaultPath = ORLA_DEFAULT_PROFILE_PATH;

std::string bytes(std::initializer_list<const char *> parts, char between) {
  std::string all;
  for (const char *part : parts) {
    if (part != *parts.begin()) all += between;
    all += part;
  }
  return all;
}

int read_int(const std::string &file, const char *section = "Main", const char *key = "Port") {
  MemoryFiles files;
  files.put("f", file);
  return orla_cfg_get_private_profile_int(section, key, kNothing, "f");
}

struct Answer {
  std::string text;
  unsigned length = 0;

  bool operator==(const Answer &) const = default;
};

std::ostream &operator<<(std::ostream &out, const Answer &answer) {
  return out << '"' << answer.text << "\" of " << answer.length;
}

// The text goes up to the first zero byte, or the end of the buffer.
Answer ask_string(const char *path, const char *section, const char *key, const char *fallback,
                  unsigned size = 64) {
  GuardedBuffer buffer(size);
  const unsigned length =
      orla_cfg_get_private_profile_string(section, key, fallback, buffer.data(), size, path);
  return {std::string(buffer.data(), strnlen(buffer.data(), size)), length};
}

Answer read_string(const std::string &file, const char *section, const char *key,
                   const char *fallback = "none", unsigned size = 64) {
  MemoryFiles files;
  files.put("f", file);
  return ask_string("f", section, key, fallback, size);
}

Answer name_of(const std::string &file, const char *fallback = "none", unsigned size = 64) {
  return read_string(file, "Main", "Name", fallback, size);
}

const Answer kNone = {"none", 4};

struct Row {
  std::string file;
  int value;
};

class ProfileInt : public testing::Test {
 protected:
  static void expect(std::initializer_list<Row> rows) {
    for (const Row &row : rows)
      EXPECT_EQ(read_int(row.file), row.value) << testing::PrintToString(row.file);
  }
};

TEST_F(ProfileInt, IsFoundInALongProfileFromAPipe) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const std::string text = "[Main]\n" + std::string(3000, 'x') + "\nPort=5\n";
  ASSERT_EQ(write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  ASSERT_EQ(close(ends[1]), 0);
  const std::string path = "/dev/fd/" + std::to_string(ends[0]);
  EXPECT_EQ(orla_cfg_get_private_profile_int("Main", "Port", 1, path.c_str()), 5);
  close(ends[0]);
}

TEST_F(ProfileInt, IsFoundBySectionAndKeyInAnyLetterCase) {
  for (const char *section : {"Main", "main", "MAIN"})
    for (const char *key : {"Port", "PORT", "port"})
      EXPECT_EQ(read_int("[Main]\nPort=5\n", section, key), 5) << section << " " << key;
}

TEST_F(ProfileInt, TakesTheLettersAToZAndNoNeighbourOfThemInEitherCase) {
  EXPECT_EQ(read_int("[AZ]\nAZ=5\n", "az", "az"), 5);
  EXPECT_EQ(read_int("[az]\naz=5\n", "AZ", "AZ"), 5);
  const char *neighbours[][2] = {{"@", "`"}, {"[", "{"}};
  for (const auto &pair : neighbours) {
    const std::string file = std::string("[M]\n") + pair[0] + "=5\n";
    EXPECT_EQ(read_int(file, "M", pair[1]), kNothing) << pair[0];
  }
}

TEST_F(ProfileInt, ComparesLettersOutsideAsciiUnchangedInAnyLocale) {
  EXPECT_EQ(read_int("[\xC4]\n\xC4=5\n", "\xC4", "\xC4"), 5);
  for (const char *locale : {"C", "de_DE.ISO-8859-1", "C.UTF-8"}) {
    setlocale(LC_ALL, locale);
    EXPECT_EQ(read_int("[\xC4]\nPort=5\n", "\xE4", "Port"), kNothing);
    EXPECT_EQ(read_int("[Main]\n\xC4=5\n", "Main", "\xE4"), kNothing);
    // The neighbours of the letters, which a mask of bit 5 would mix up.
    EXPECT_EQ(read_int("[@]\n`=5\n", "`", "`"), kNothing);
    EXPECT_EQ(read_int("[Main]\n{=5\n", "Main", "["), kNothing);
  }
}

TEST_F(ProfileInt, IsTheDefaultWithoutSectionOrKey) {
  expect({{"", kNothing},
          {"\n", kNothing},
          {"Port=5\n", kNothing},
          {"[Other]\nPort=5\n", kNothing},
          {"[Main]\n", kNothing},
          {"[Main]\nHost=5\n", kNothing},
          {"Port=5\n[Main]\n", kNothing}});
}

TEST_F(ProfileInt, TakesOnlyAHeaderThatIsTheWholeLine) {
  expect({{"[Main] \nPort=5\n", kNothing},
          {" [Main]\nPort=5\n", kNothing},
          {"[Main\nPort=5\n", kNothing},
          {"[Mai]\nPort=5\n", kNothing},
          {"[Maintenance]\nPort=5\n", kNothing},
          {"[ Main ]\nPort=5\n", kNothing},
          {"[Main]]\nPort=5\n", kNothing},
          {"x[Main]\nPort=5\n", kNothing},
          {"[[Main]\nPort=5\n", kNothing},
          {"[Main]\nPort=5\n", 5},
          {"[x][Main]\n[Main]\nPort=5\n", 5},
          {"[Main \n\n[Main]\nPort=5\n", 5}});
}

TEST_F(ProfileInt, FindsAnEmptySectionNameInEmptyBrackets) {
  EXPECT_EQ(read_int("x\n[]\nPort=5\n", ""), 5);
  EXPECT_EQ(read_int("x\nPort=5\n", ""), kNothing);
}

TEST_F(ProfileInt, TakesTheFirstLineThatBeginsWithTheKeyWhateverFollowsIt) {
  expect({{"[Main]\nPortNumber=77\nPort=5\n", 77},
          {"[Main]\nPort=5\nPort=6\n", 5},
          {"[Main]\n Port=6\nxPort=7\nPort=5\n", 5},
          {"[Main]\nPor=6\nPort=5\n", 5},
          {"[Main]\nPortless\nPort=5\n", kNothing}});
}

// No line holds a line feed, so such a name is found nowhere; two lines that look like it are no
// header.
TEST_F(ProfileInt, FindsNoSectionWithALineFeedInItsName) {
  EXPECT_EQ(read_int("[a\nb]\nPort=5\n", "a\nb"), kNothing);
  EXPECT_EQ(read_string("[a\nbc\nName=x\n", "a\nbc", "Name"), kNone);
}

TEST_F(ProfileInt, FindsAnEmptyKeyInTheFirstLineOfTheSection) {
  EXPECT_EQ(read_int("[Main]\nA=1\nB=2\n", "Main", ""), 1);
}

TEST_F(ProfileInt, KeyMayHoldTheEqualsSignAndMore) {
  EXPECT_EQ(read_int("[Main]\nA=1=2\n", "Main", "A=1="), 2);
}

TEST_F(ProfileInt, SectionEndsAtAnEmptyLineButNotAtALineOfSpaces) {
  expect({{"[Main]\n\nPort=5\n", kNothing},
          {"[Main]\n\r\r\nPort=5\n", kNothing},
          {"[Main]\n \nPort=5\n", 5},
          {"\n\n[Main]\nPort=5\n", 5}});
}

TEST_F(ProfileInt, SectionIsLookedForOnlyOnceEvenWhenItsEntriesStandFurtherDown) {
  expect({{"[Main]\nA=1\n\n[Main]\nPort=5\n", kNothing}});
}

TEST_F(ProfileInt, SearchRunsOnIntoTheNextSection) {
  expect({{"[Main]\nA=1\n[Other]\nPort=5\n", 5}, {"[Main]\nA=1\n\n[Other]\nPort=5\n", kNothing}});
}

TEST_F(ProfileInt, KeyMayBeginAHeader) {
  EXPECT_EQ(read_int("[Main]\n[Port=5\n", "Main", "[Port"), 5);
}

TEST_F(ProfileInt, HasNoCommentSyntax) {
  expect({{"[Main]\n;Port=4\n#Port=4\nPort=5;6\n", 5}});
  EXPECT_EQ(read_int("[Main]\n;Port=4\n", "Main", ";Port"), 4);
}

TEST_F(ProfileInt, ValueIsAfterTheLastEqualsSign) {
  expect({{"[Main]\nPort=1=2\n", 2}, {"[Main]\nPort==3\n", 3}, {"[Main]\nPort=1=\n", kNothing}});
}

TEST_F(ProfileInt, IsTheDefaultForAnEmptyOrALongValueOrNone) {
  expect({{"[Main]\nPort\n", kNothing},
          {"[Main]\nPort=\n", kNothing},
          {"[Main]\nPort=123456\n", kNothing},
          {"[Main]\nPort=1     \n", kNothing},
          {"[Main]\nPort=12345\n", 12345},
          {"[Main]\nPort=99999\n", 99999},
          {"[Main]\nPort=00007\n", 7}});
}

TEST_F(ProfileInt, TakesTheDigitsUpToTheFirstOtherCharacter) {
  expect({{"[Main]\nPort=12ab\n", 12}, {"[Main]\nPort=1 2\n", 1}, {"[Main]\nPort=3.9\n", 3}});
}

TEST_F(ProfileInt, IsZeroNotTheDefaultForAValueThatDoesNotStartWithADigit) {
  expect({{"[Main]\nPort= 7\n", 0},
          {"[Main]\nPort = 5\n", 0},
          {"[Main]\nPort=-5\n", 0},
          {"[Main]\nPort=+5\n", 0},
          {"[Main]\nPort=/\n", 0},
          {"[Main]\nPort=:\n", 0},
          {"[Main]\nPort=abc\n", 0},
          {"[Main]\nPort=     \n", 0}});
}

TEST_F(ProfileInt, DropsCarriageReturnsWhereverTheyStand) {
  expect({{"[Main]\r\nPort=5\r\n", 5}, {"\r[M\rain]\r\r\nP\rort\r=\r1\r2\r3\r4\r5\r\n", 12345}});
}

TEST_F(ProfileInt, DoesNotSeeALastLineWithoutLineFeed) {
  expect({{"[Main]\nPort=5", kNothing}, {"[Main]", kNothing}});
}

TEST_F(ProfileInt, TakesAByte255ForTheEndOfTheFile) {
  expect({{"[Main]\n\xFFPort=5\n", kNothing},
          {"[Main]\nPort=5\xFF\n", kNothing},
          {"\xFF[Main]\nPort=5\n", kNothing},
          {"[Main]\nPort=5\n\xFF", 5}});
}

TEST_F(ProfileInt, ZeroByteEndsTheTextOfItsLine) {
  expect({{bytes({"[Main]", "x\nPort=5\n"}, '\0'), 5},
          {bytes({"[Main]\nPort=5", "6\n"}, '\0'), 5},
          {bytes({"[Main]\nPort=5", "=6\n"}, '\0'), 5},
          {bytes({"[Main]\nPort", "=6\n"}, '\0'), kNothing},
          {bytes({"[Main]\nPo", "rt=6\nPort=5\n"}, '\0'), 5},
          {bytes({"[Main]\n", "x\nPort=5\n"}, '\0'), kNothing}});
}

TEST_F(ProfileInt, LinesSectionsAndKeysMayHaveAnyLength) {
  for (const std::size_t length : {509U, 510U, 511U, 512U, 4095U, 4096U, 65536U, 1000000U}) {
    const std::string name(length, 'n');
    EXPECT_EQ(read_int(name + "\n[" + name + "]\n" + name + "=5\n", name.c_str(), name.c_str()), 5);
    EXPECT_EQ(read_int("[" + name + "]\nPort=" + name + "=7\n", name.c_str()), 7);
  }
}

TEST_F(ProfileInt, NeverConsultsTheEnvironment) {
  MemoryFiles files;
  files.put(kDefaultPath, "[Main]\nPort=1\n");
  files.put("named", "[Main]\nPort=2\n");
  const WithVariable variable("ORLA_CONFIG", "named");
  EXPECT_EQ(orla_cfg_get_private_profile_int("Main", "Port", kNothing, kDefaultPath), 1);
}

TEST_F(ProfileInt, ReadsAFileThatCannotBeReadOnAsFarAsItCame) {
  MemoryFiles files;
  std::string file = "[Main]\nA=1\n" + std::string(5000, 'x') + "\nPort=5\n";
  files.put("f", file);
  int reads = 0;
  const With failing(fake_read, [&](int descriptor, void *out, std::size_t size) -> ssize_t {
    if (reads++ == 0) return fake_read.real(descriptor, out, size);
    errno = EIO;
    return -1;
  });
  EXPECT_EQ(orla_cfg_get_private_profile_int("Main", "Port", kNothing, "f"), kNothing);
  EXPECT_EQ(reads, 2);
  reads = 0;
  EXPECT_EQ(orla_cfg_get_private_profile_int("Main", "A", kNothing, "f"), 1);
  EXPECT_EQ(reads, 2);
}

TEST_F(ProfileInt, ReadsALongFileInLargeBlocksAndStopsAtTheLineThatAnswers) {
  const std::string entry = "[Main]\nPort=5\n";
  const std::string rest(1000000, '\n');
  const struct {
    std::string file;
    int fewest_reads;
    int most_reads;
  } rows[] = {{rest + entry, 0, 20},
              {entry + rest, 2, 2}};  // the first block, and once more from the start
  for (const auto &row : rows) {
    int reads = 0;
    const With counting(fake_read, [&](int descriptor, void *out, std::size_t size) {
      ++reads;
      EXPECT_EQ(size % 2048, 0U);
      return fake_read.real(descriptor, out, size);
    });
    EXPECT_EQ(read_int(row.file), 5);
    EXPECT_GE(reads, row.fewest_reads);
    EXPECT_LE(reads, row.most_reads);
  }
}

TEST_F(ProfileInt, TakesMemoryForALongLineOfAtMostTwiceItsLength) {
  constexpr std::size_t kLength = 600000;
  MemoryFiles files;
  files.put("f", "[Main]\n" + std::string(kLength, 'x') + "\nPort=5\n");
  std::size_t largest = 0;
  const With measuring(fake_realloc, [&](void *earlier, std::size_t size) {
    largest = std::max(largest, size);
    return fake_realloc.real(earlier, size);
  });
  EXPECT_EQ(orla_cfg_get_private_profile_int("Main", "Port", kNothing, "f"), 5);
  EXPECT_GT(largest, kLength);
  EXPECT_LE(largest, 2 * kLength);
}

TEST_F(ProfileInt, ReadsOnAfterASignal) {
  MemoryFiles files;
  files.put("f", "[Main]\nPort=5\n");
  int reads = 0;
  const With interrupted(fake_read, [&](int descriptor, void *out, std::size_t size) -> ssize_t {
    if (reads++ > 0) return fake_read.real(descriptor, out, size);
    errno = EINTR;
    return -1;
  });
  EXPECT_EQ(orla_cfg_get_private_profile_int("Main", "Port", kNothing, "f"), 5);
}

TEST_F(ProfileInt, EndsAtTheEndOfTheFileWhateverFailedEarlier) {
  MemoryFiles files;
  files.put("f", "[Main]\n");
  errno = EINTR;
  EXPECT_EQ(orla_cfg_get_private_profile_int("Main", "Port", kNothing, "f"), kNothing);
}

TEST_F(ProfileInt, ClosesTheFileInAProcessWithoutStandardInputToo) {
  const TempDir folder;
  const std::string path = folder.write("f", "[Main]\nPort=5\n");
  close(STDIN_FILENO);  // so that the file becomes descriptor 0
  EXPECT_EQ(orla_cfg_get_private_profile_int("Main", "Port", kNothing, path.c_str()), 5);
  EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1);
}

TEST_F(ProfileInt, IsTheDefaultForAFolder) {
  const TempDir folder;
  EXPECT_EQ(orla_cfg_get_private_profile_int("Main", "Port", kNothing, folder.path("").c_str()),
            kNothing);
}

TEST_F(ProfileInt, ReadsAFileOf100Megabytes) {
  MemoryFiles files;
  std::string file = "[Main]\n";
  while (file.size() < 100000000)
    file += "[Filler]\nanother=entry\nand=one more\n";
  files.put("f", file + "Port=5\n");
  EXPECT_EQ(orla_cfg_get_private_profile_int("Main", "Port", kNothing, "f"), 5);
  EXPECT_EQ(orla_cfg_get_private_profile_int("Absent", "Port", kNothing, "f"), kNothing);
}

TEST_F(ProfileInt, ReadsAFileOf100MegabytesWithoutALineFeed) {
  EXPECT_EQ(read_int(std::string(100000000, 'x')), kNothing);
}

TEST_F(ProfileInt, GoesOnInSmallBlocksWhileThereIsNoMemory) {
  MemoryFiles files;
  std::string file = "[Main]\n";
  while (file.size() < 100000)
    file += "another=entry\n";
  files.put("f", file + "Port=5\n");
  files.put("g", file + std::string(5000, 'x') + "\nPort=5\n");
  const With none(fake_realloc, [](void *, std::size_t) { return nullptr; });
  EXPECT_EQ(orla_cfg_get_private_profile_int("Main", "Port", kNothing, "f"), 5);
  EXPECT_EQ(orla_cfg_get_private_profile_int("Main", "Port", kNothing, "g"), kNothing);
}

TEST_F(ProfileInt, ClosesTheFileOnEveryPath) {
  MemoryFiles files;
  files.put("f", "[Main]\nPort=5\n");
  int opened = 0;
  const With closing(fake_close, [&](int descriptor) {
    --opened;
    return fake_close.real(descriptor);
  });
  for (const char *section : {"Main", "Other"}) {
    for (const char *key : {"Port", "Host"}) {
      opened += 2;
      orla_cfg_get_private_profile_int(section, key, kNothing, "f");
      ask_string("f", section, key, "none");
      EXPECT_EQ(opened, 0) << section << " " << key;
    }
  }
}

TEST_F(ProfileInt, OpensFilesOfAnySizeForReadingOnlyAndIsTheDefaultForThoseThatDoNotOpen) {
  const With opening(fake_open, [](const char *path, int flags, mode_t) {
    EXPECT_STREQ(path, "f");
    EXPECT_EQ(flags & O_ACCMODE, O_RDONLY);
    EXPECT_EQ(flags & O_LARGEFILE, O_LARGEFILE);
    EXPECT_EQ(flags & O_CLOEXEC, O_CLOEXEC);
    errno = EACCES;
    return -1;
  });
  EXPECT_EQ(orla_cfg_get_private_profile_int("Main", "Port", kNothing, "f"), kNothing);
}

TEST(ProfileString, IsTheTextAfterTheLastEqualsSignWithItsSpaces) {
  EXPECT_EQ(name_of("[Main]\nName=orla\n"), (Answer{"orla", 4}));
  EXPECT_EQ(name_of("[Main]\nName = 5\n"), (Answer{" 5", 2}));
  EXPECT_EQ(name_of("[Main]\nName= a b  \n"), (Answer{" a b  ", 6}));
  EXPECT_EQ(read_string("[Main]\nURL=a=b\n", "Main", "URL"), (Answer{"b", 1}));
}

TEST(ProfileString, IsTheDefaultForWhateverIsNotFound) {
  EXPECT_EQ(name_of(""), kNone);
  EXPECT_EQ(name_of("[Other]\nName=a\n"), kNone);
  EXPECT_EQ(name_of("[Main]\nHost=a\n"), kNone);
  EXPECT_EQ(name_of("[Main]\nName\n"), kNone);
  EXPECT_EQ(name_of("[Main]\n\nName=a\n"), kNone);
  EXPECT_EQ(name_of("[Main]\nName=a"), kNone);
  EXPECT_EQ(name_of("[Main]\nName=a\xFF\n"), kNone);
  const MemoryFiles files;
  EXPECT_EQ(ask_string("missing", "Main", "Name", "none"), kNone);
}

TEST(ProfileString, IsTheDefaultForAnEmptyValueOrSpaces) {
  EXPECT_EQ(name_of("[Main]\nName=\n"), kNone);
  EXPECT_EQ(name_of("[Main]\nName=   \n"), kNone);
  EXPECT_EQ(name_of("[Main]\nName=a=\n"), kNone);
}

TEST(ProfileString, TakesATabForText) {
  EXPECT_EQ(name_of("[Main]\nName=\t\n"), (Answer{"\t", 1}));
}

TEST(ProfileString, NullDefaultLeavesABlankValueAsItIs) {
  EXPECT_EQ(name_of("[Main]\nName=   \n", nullptr), (Answer{"   ", 3}));
  EXPECT_EQ(name_of("[Main]\nName=\n", nullptr), (Answer{"", 0}));
}

TEST(ProfileString, NullDefaultIsAnEmptyTextWhereNothingIsFound) {
  const MemoryFiles no_files;
  EXPECT_EQ(ask_string("missing", "Main", "Name", nullptr), (Answer{"", 0}));
  EXPECT_EQ(name_of("[Other]\n", nullptr), (Answer{"", 0}));
  EXPECT_EQ(name_of("[Main]\n", nullptr), (Answer{"", 0}));
  EXPECT_EQ(name_of("[Main]\nName\n", nullptr), (Answer{"", 0}));
}

TEST(ProfileString, BlankIsAskedOfTheWholeValueNotOfWhatFits) {
  EXPECT_EQ(name_of("[Main]\nName=   a\n", "x", 3), (Answer{"  ", 2}));
}

TEST(ProfileString, ComparesAsManyCharactersOfAHeaderAsTheNameHas) {
  for (const char *header : {"[Main]", "[Mai", "[Maintenance]", "[mAI", "[Main] ", "[Mai]n"})
    EXPECT_EQ(name_of(header + std::string("\nName=a\n")), (Answer{"a", 1})) << header;
  for (const char *header : {"[Ma", " [Main]", "[Man]", "Main", ""})
    EXPECT_EQ(name_of(header + std::string("\nName=a\n")), kNone) << header;
}

TEST(ProfileString, TakesAnyBracketForANameOfOneCharacter) {
  EXPECT_EQ(read_string("x\n[other\nName=a\n", "M", "Name"), (Answer{"a", 1}));
}

TEST(ProfileString, TakesTheFirstLineForTheHeaderOfAnEmptyName) {
  EXPECT_EQ(read_string("Name=a\nName=b\n", "", "Name"), (Answer{"b", 1}));
  EXPECT_EQ(read_string("\nName=b\n", "", "Name"), (Answer{"b", 1}));
  EXPECT_EQ(read_string("[Main]", "", "Name"), kNone);
}

TEST(ProfileString, SearchRunsOnIntoTheNextSectionAndFindsTheFirstMatch) {
  EXPECT_EQ(name_of("[Main]\nA=1\n[Other]\nNameless=b\nName=a\n"), (Answer{"b", 1}));
}

TEST(ProfileString, ValueIsCutToTheBuffer) {
  EXPECT_EQ(name_of("[Main]\nName=abcdef\n", "none", 7), (Answer{"abcdef", 6}));
  EXPECT_EQ(name_of("[Main]\nName=abcdef\n", "none", 6), (Answer{"abcde", 5}));
  EXPECT_EQ(name_of("[Main]\nName=abcdef\n", "none", 2), (Answer{"a", 1}));
}

TEST(ProfileString, FillsTheRestOfTheBufferWithZeroBytes) {
  MemoryFiles files;
  files.put("f", "[Main]\nName=abc\n");
  for (const char *key : {"Name", "None"}) {
    GuardedBuffer buffer(20);
    orla_cfg_get_private_profile_string("Main", key, "abc", buffer.data(), 20, "f");
    EXPECT_EQ(std::string(buffer.data(), 20), "abc" + std::string(17, '\0')) << key;
  }
}

TEST(ProfileString, DefaultThatFillsTheBufferLeavesNoTerminator) {
  EXPECT_EQ(name_of("", "12345", 6), (Answer{"12345", 5}));
  EXPECT_EQ(name_of("", "123456", 6), (Answer{"123456", 6}));
  EXPECT_EQ(name_of("", "1234567", 6), (Answer{"123456", 7}));
}

TEST(ProfileString, SizeOneIsAnEmptyTextAndSizeZeroNothing) {
  EXPECT_EQ(name_of("[Main]\nName=abc\n", "none", 1), (Answer{"", 0}));
  EXPECT_EQ(name_of("", "none", 1), (Answer{"", 0}));
  EXPECT_EQ(name_of("[Main]\nName=abc\n", "none", 0), (Answer{"", 0}));
  EXPECT_EQ(orla_cfg_get_private_profile_string("Main", "Name", "none", nullptr, 0, "f"), 0U);
}

TEST(ProfileString, ZeroByteEndsTheValue) {
  EXPECT_EQ(name_of(bytes({"[Main]\nName=ab", "c\n"}, '\0')), (Answer{"ab", 2}));
  EXPECT_EQ(name_of(bytes({"[Main]\nName= ", "c\n"}, '\0')), kNone);
}

TEST(ProfileString, ValueMayHaveAnyLength) {
  for (const unsigned length : {505U, 506U, 507U, 4096U, 70000U, 300000U}) {
    const std::string value(length, 'v');
    const std::string file = "[Main]\r\nName=" + value + "\r\nNext=1\n";
    EXPECT_EQ(name_of(file, "none", length + 1), (Answer{value, length}));
    EXPECT_EQ(name_of(file, "none", length), (Answer{value.substr(1), length - 1}));
  }
}

TEST(ProfileString, DefaultPathStandsForTheFileThatTheEnvironmentNames) {
  MemoryFiles files;
  files.put(kDefaultPath, "[Main]\nName=of the default\n");
  files.put("named", "[Main]\nName=of the named\n");
  files.put("other", "[Main]\nName=of the other\n");
  const WithVariable unset("ORLA_CONFIG", nullptr);
  EXPECT_EQ(ask_string(kDefaultPath, "Main", "Name", "none").text, "of the default");
  const WithVariable set("ORLA_CONFIG", "named");
  EXPECT_EQ(ask_string(kDefaultPath, "Main", "Name", "none").text, "of the named");
  EXPECT_EQ(ask_string("other", "Main", "Name", "none").text, "of the other");
}

TEST(ProfileString, NoOtherSpellingOfTheDefaultPathStandsForIt) {
  MemoryFiles files;
  files.put("named", "[Main]\nName=a\n");
  const WithVariable set("ORLA_CONFIG", "named");
  for (const char *path : {"/opt/tav/ls/conf/K7LS.INI", "/opt/tav/ls/conf/k7ls.ini ",
                           "/opt//tav/ls/conf/k7ls.ini", "/opt/tav/ls/conf/k7ls.in"})
    EXPECT_EQ(ask_string(path, "Main", "Name", "none"), kNone) << path;
}

TEST(ProfileString, FileOfTheEnvironmentThatDoesNotOpenHasNoFallback) {
  MemoryFiles files;
  files.put(kDefaultPath, "[Main]\nName=a\n");
  for (const char *name : {"missing", ""}) {
    const WithVariable set("ORLA_CONFIG", name);
    EXPECT_EQ(ask_string(kDefaultPath, "Main", "Name", "none"), kNone);
  }
}

// The environment of the user who starts a privileged program names none of its files.
TEST(ProfileString, EnvironmentNamesNoFileInSecureMode) {
  MemoryFiles files;
  files.put(kDefaultPath, "[Main]\nName=of the default\n");
  files.put("named", "[Main]\nName=of the named\n");
  const WithVariable set("ORLA_CONFIG", "named");
  const With secure(fake_secure_getenv, [](const char *) -> char * { return nullptr; });
  EXPECT_EQ(ask_string(kDefaultPath, "Main", "Name", "none").text, "of the default");
}

TEST(ProfileErrno, IsLeftAloneByTheReaders) {
  const TempDir folder;
  const std::string path = folder.write("f", "[Main]\nName=5\n" + std::string(10000, '\n'));
  const WithVariable set("ORLA_CONFIG", folder.path("missing").c_str());
  const std::string missing = folder.path("missing");
  const std::string folder_itself = folder.path("");
  const With failing_close(fake_close, [](int descriptor) {
    fake_close.real(descriptor);
    errno = EIO;
    return -1;
  });
  for (const std::string &file : {path, missing, folder_itself}) {
    for (const char *section : {"Main", "Absent"}) {
      errno = 4711;
      orla_cfg_get_private_profile_int(section, "Name", 1, file.c_str());
      EXPECT_EQ(errno, 4711) << file;
      ask_string(file.c_str(), section, "Name", "none");
      EXPECT_EQ(errno, 4711) << file;
    }
  }
  char in_force[ORLA_PROFILE_PATH_SIZE];
  orla_cfg_file(in_force, nullptr);
  EXPECT_EQ(errno, 4711);
}

TEST(ProfileErrno, IsLeftAloneByTheLineReader) {
  char line[ORLA_PROFILE_LINE_SIZE];
  std::FILE *stream = std::fopen("/", "r");
  ASSERT_NE(stream, nullptr);
  const auto read = [&] { EXPECT_EQ(orla_i_cfg_read_line(stream, line), 0); };
  EXPECT_EQ(errno_after(read), 4711);  // a folder cannot be read
  std::fclose(stream);
}

struct InForce {
  std::string path;
  char from_environment = 9;

  bool operator==(const InForce &) const = default;
};

InForce profile_in_force() {
  GuardedBuffer path(ORLA_PROFILE_PATH_SIZE);
  InForce in_force;
  orla_cfg_file(path.data(), &in_force.from_environment);
  in_force.path = path.data();
  return in_force;
}

// Each of these is a process of its own, so that each makes the first call.

TEST(ProfilePath, IsTheFileThatTheVariableNamesWhenItOpensAndIsSettledByTheFirstCall) {
  MemoryFiles files;
  files.put("named", "");
  files.put("later", "");
  const WithVariable set("ORLA_CONFIG", "named");
  int closed = 0;
  const With closing(fake_close, [&](int descriptor) {
    ++closed;
    return fake_close.real(descriptor);
  });
  EXPECT_EQ(profile_in_force(), (InForce{"named", 1}));
  EXPECT_EQ(closed, 1);
  const WithVariable changed("ORLA_CONFIG", "later");
  EXPECT_EQ(profile_in_force(), (InForce{"named", 1}));
}

TEST(ProfilePath, IsTheDefaultWhenTheNamedFileDoesNotOpen) {
  const MemoryFiles files;
  const WithVariable set("ORLA_CONFIG", "missing");
  EXPECT_EQ(profile_in_force(), (InForce{kDefaultPath, 0}));
  EXPECT_EQ(ask_string(kDefaultPath, "Main", "Name", "none"), kNone);
}

TEST(ProfilePath, IsTheDefaultInSecureMode) {
  MemoryFiles files;
  files.put("named", "");
  const WithVariable set("ORLA_CONFIG", "named");
  const With secure(fake_secure_getenv, [](const char *) -> char * { return nullptr; });
  EXPECT_EQ(profile_in_force(), (InForce{kDefaultPath, 0}));
}

TEST(ProfilePath, IsTheDefaultWithoutTheVariableAndIsSettledByTheFirstCall) {
  MemoryFiles files;
  const WithVariable unset("ORLA_CONFIG", nullptr);
  EXPECT_EQ(profile_in_force(), (InForce{kDefaultPath, 0}));
  files.put("later", "");
  const WithVariable set("ORLA_CONFIG", "later");
  EXPECT_EQ(profile_in_force(), (InForce{kDefaultPath, 0}));
}

TEST(ProfilePath, FlagMayBeNull) {
  const MemoryFiles files;
  char path[ORLA_PROFILE_PATH_SIZE];
  const WithVariable unset("ORLA_CONFIG", nullptr);
  orla_cfg_file(path, nullptr);
  EXPECT_STREQ(path, kDefaultPath);
}

TEST(ProfilePath, MayHave255Characters) {
  MemoryFiles files;
  const std::string name(255, 'n');
  files.put(name, "");
  const WithVariable set("ORLA_CONFIG", name.c_str());
  EXPECT_EQ(profile_in_force(), (InForce{name, 1}));
}

TEST(ProfilePath, NameOf256CharactersCountsAsAFileThatDoesNotOpen) {
  MemoryFiles files;
  const std::string name(256, 'n');
  files.put(name, "");
  const WithVariable set("ORLA_CONFIG", name.c_str());
  EXPECT_EQ(profile_in_force(), (InForce{kDefaultPath, 0}));
}

class ProfileLine : public testing::Test {
 protected:
  void open(const std::string &content) {
    if (stream_ != nullptr) std::fclose(stream_);
    content_ = content;
    stream_ = fmemopen(content_.data(), content_.size(), "r");
  }
  ~ProfileLine() override {
    if (stream_ != nullptr) std::fclose(stream_);
  }

  int read() { return orla_i_cfg_read_line(stream_, line_.data()); }
  std::string line() { return line_.data(); }

  std::string content_;
  std::FILE *stream_ = nullptr;
  GuardedBuffer line_{ORLA_PROFILE_LINE_SIZE};
};

TEST_F(ProfileLine, IsReadWithoutItsLineFeedAndCarriageReturns) {
  open("one\n\r\rt\rwo\r\n\n");
  EXPECT_EQ(read(), 1);
  EXPECT_EQ(line(), "one");
  EXPECT_EQ(read(), 1);
  EXPECT_EQ(line(), "two");
  EXPECT_EQ(read(), 1);
  EXPECT_EQ(line(), "");
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(read(), 0);
}

TEST_F(ProfileLine, WithoutLineFeedIsLostAndLeavesTheBufferUnterminated) {
  open("abc");
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(std::string(line_.data(), 5), "abcZZ");
}

TEST_F(ProfileLine, StreamStandsRightAfterAByte255) {
  open("one\nab\xFFrest\n");
  EXPECT_EQ(read(), 1);
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(std::ftell(stream_), 7);
  EXPECT_EQ(std::feof(stream_), 0);
  EXPECT_EQ(read(), 1);
  EXPECT_EQ(line(), "rest");
}

TEST_F(ProfileLine, StreamStandsRightAfterTheLineFeed) {
  open("one\ntwo\n");
  EXPECT_EQ(read(), 1);
  EXPECT_EQ(std::ftell(stream_), 4);
}

TEST_F(ProfileLine, Of511CharactersIsWhole) {
  const std::string longest(511, 'x');
  open("\r" + longest + "\r\nnext\n");
  EXPECT_EQ(read(), 1);
  EXPECT_EQ(line(), longest);
  EXPECT_EQ(read(), 1);
  EXPECT_EQ(line(), "next");
}

TEST_F(ProfileLine, OfMoreCharactersKeepsItsFirst511) {
  for (const std::size_t length : {512U, 513U, 100000U}) {
    open(std::string(511, 'x') + std::string(length - 511, 'y') + "\nnext\n");
    EXPECT_EQ(read(), 1);
    EXPECT_EQ(line(), std::string(511, 'x'));
    EXPECT_EQ(read(), 1);
    EXPECT_EQ(line(), "next");
  }
}

TEST_F(ProfileLine, KeepsAZeroByte) {
  open(bytes({"a", "b\n"}, '\0'));
  EXPECT_EQ(read(), 1);
  EXPECT_EQ(std::string(line_.data(), 4), bytes({"a", "b", ""}, '\0'));
}

}  // namespace
