// The profile functions on random files, against the plain way of the same.

#include <gtest/gtest.h>
#include <orla/profile.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "fakes/file_calls.h"
#include "kit/temp_dir.h"
#include "plain/profile.h"

namespace {

// Longer searches are the fuzzers' work.
#if defined(__SANITIZE_ADDRESS__)
constexpr int kShare = 4;
#else
constexpr int kShare = 1;
#endif
constexpr int kManyFiles = 200000 / kShare;
constexpr int kSomeFiles = 40000 / kShare;
constexpr int kDiskFiles = 4000 / kShare;
constexpr int kLargeFiles = 2000 / kShare;

class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}

  std::size_t below(std::size_t bound) { return engine_() % bound; }

  template <typename Value, std::size_t kCount>
  Value of(const Value (&values)[kCount]) {
    return values[below(kCount)];
  }

 private:
  std::minstd_rand engine_;
};

const char *const kSections[] = {"", "a", "ab", "abc", "B", "[a", "a]"};
const char *const kKeys[] = {"", "a", "K", "key", "a=", "[", " "};
const char *const kFallbacks[] = {"", "d", "default", "a default that is longer than the buffer"};
const char *const kValues[] = {"", "v", " 1 ", "x=y", "a value\r"};

// Bits of which files are made: what the grammar turns on, near-misses of it, and single characters.
const std::string kPieces[] = {
    "[a]\n",
    "[A]\r\n",
    "[ab]\n",
    "[aB\r]\n",
    "[abc]\n",
    "[]\n",
    " [a]\n",
    "[a] \n",
    "[[a]\n",
    "[ab",
    "a=1\n",
    "key=12\n",
    "KEY=123456\n",
    "k = 7\n",
    "K=  \n",
    "K=\t\n",
    "a=b=c\n",
    "key\n",
    "\n",
    "\n",
    "\r\n",
    "[",
    "]",
    "=",
    "\r",
    "\n",
    "a",
    "A",
    "k",
    "7",
    " ",
    std::string(1, '\0'),
    std::string("\0\n", 2),
    "\xFE",
};

std::string random_file(Random &random, std::size_t pieces) {
  std::string file;
  for (std::size_t i = 0; i < pieces; ++i) {
    file += random.of(kPieces);
    // Rare enough that what follows matters too.
    if (random.below(60) == 0) file += '\xFF';
  }
  return file;
}

std::string shown(const std::string &file) { return testing::PrintToString(file); }

// Asks both readers one random question.
void compare_readers(Random &random, const char *path, const std::string &file) {
  const char *section = random.of(kSections);
  const char *key = random.of(kKeys);
  const char *fallback = random.of(kFallbacks);
  ASSERT_EQ(orla_cfg_get_private_profile_int(section, key, -7, path),
            plain::read_int(file, section, key, -7))
      << "[" << section << "] " << key << " in " << shown(file);
  std::vector<char> expected(2 + random.below(12));
  std::vector<char> text(expected.size(), 'x');
  const unsigned length = plain::read_string(file, section, key, fallback, expected);
  ASSERT_EQ(orla_cfg_get_private_profile_string(section, key, fallback, text.data(),
                                                static_cast<unsigned>(text.size()), path),
            length)
      << "[" << section << "] " << key << " in " << shown(file);
  ASSERT_EQ(text, expected) << "[" << section << "] " << key << " in " << shown(file);
}

struct Write {
  const char *section;
  const char *key;
  const char *value;
};

Write random_write(Random &random) {
  return {random.of(kSections), random.of(kKeys), random.of(kValues)};
}

void compare_writer(Random &random, MemoryFiles &files, const std::string &file) {
  const Write write = random_write(random);
  ASSERT_EQ(orla_cfg_write_private_profile_string(write.section, write.key, write.value, "f"), 1);
  ASSERT_EQ(files.get("f"), plain::write(file, write.section, write.key, write.value))
      << "[" << write.section << "] " << write.key << " into " << shown(file);
  ASSERT_EQ(files.count(), 1U) << "a temporary file stayed behind";
}

TEST(ProfileRandom, ReadersAgreeWithThePlainWay) {
  Random random(1);
  MemoryFiles files;
  for (int i = 0; i < kManyFiles && !testing::Test::HasFatalFailure(); ++i) {
    const std::string file = random_file(random, random.below(40));
    files.put("f", file);
    compare_readers(random, "f", file);
  }
}

TEST(ProfileRandom, WriterAgreesWithThePlainWay) {
  Random random(2);
  MemoryFiles files;
  for (int i = 0; i < kManyFiles && !testing::Test::HasFatalFailure(); ++i) {
    const std::string file = random_file(random, random.below(40));
    files.put("f", file);
    compare_writer(random, files, file);
  }
}

TEST(ProfileRandom, BytesMayArriveInPiecesOfAnySize) {
  Random random(3);
  MemoryFiles files;
  const With few(fake_read, [&](int descriptor, void *out, std::size_t size) {
    return fake_read.real(descriptor, out, std::min(size, 1 + random.below(9)));
  });
  for (int i = 0; i < kSomeFiles && !testing::Test::HasFatalFailure(); ++i) {
    const std::string file = random_file(random, random.below(30));
    files.put("f", file);
    compare_readers(random, "f", file);
    compare_writer(random, files, file);
  }
}

TEST(ProfileRandom, BytesMayBeTakenInPiecesOfAnySize) {
  Random random(4);
  MemoryFiles files;
  const With few(fake_write, [&](int descriptor, const void *data, std::size_t size) {
    return fake_write.real(descriptor, data, std::min(size, 1 + random.below(9)));
  });
  for (int i = 0; i < kSomeFiles / 10 && !testing::Test::HasFatalFailure(); ++i) {
    const std::string file = random_file(random, random.below(30));
    files.put("f", file);
    compare_writer(random, files, file);
  }
}

// Files and lines around the sizes at which a reader of blocks changes its ways.
std::string random_large_file(Random &random) {
  static const std::size_t kCorners[] = {511, 4095, 4096, 4097, 8192, 16384, 65535, 65536, 131072};
  std::string file = random_file(random, random.below(20));
  for (std::size_t i = random.below(4); i > 0; --i) {
    const std::size_t size = random.of(kCorners) + random.below(5) - 2;
    switch (random.below(3)) {
      case 0:
        file += std::string(size, "x \r="[random.below(4)]);
        break;
      case 1:
        file.resize(std::max(file.size(), size), 'x');
        break;
      default:
        while (file.size() < size)
          file += random.below(2) == 0 ? "entry=1\n" : "entry=2\r\n";
    }
    file += random_file(random, random.below(20));
  }
  return file;
}

TEST(ProfileRandom, LargeFilesAndLongLinesMakeNoDifference) {
  Random random(5);
  MemoryFiles files;
  for (int i = 0; i < kLargeFiles && !testing::Test::HasFatalFailure(); ++i) {
    const std::string file = random_large_file(random);
    files.put("f", file);
    compare_readers(random, "f", file);
    compare_writer(random, files, file);
  }
}

TEST(ProfileRandom, FilesOfTheFileSystemMakeNoDifference) {
  Random random(6);
  const TempDir folder;
  const std::string path = folder.path("profile.ini");
  const With closing(fake_mkstemp, [](char *name) {
    const int descriptor = fake_mkstemp.real(name);
    close(descriptor);  // tens of thousands would exceed what a process may have
    return descriptor;
  });
  for (int i = 0; i < kDiskFiles && !testing::Test::HasFatalFailure(); ++i) {
    const std::string file = random_file(random, random.below(40));
    folder.write("profile.ini", file);
    compare_readers(random, path.c_str(), file);
    const Write write = random_write(random);
    ASSERT_EQ(
        orla_cfg_write_private_profile_string(write.section, write.key, write.value, path.c_str()),
        1);
    ASSERT_EQ(folder.read("profile.ini"), plain::write(file, write.section, write.key, write.value))
        << "[" << write.section << "] " << write.key << " into " << shown(file);
  }
}

TEST(ProfileRandom, LineReaderAgreesWithThePlainWay) {
  Random random(7);
  for (int i = 0; i < kSomeFiles && !testing::Test::HasFatalFailure(); ++i) {
    std::string file = random_file(random, 1 + random.below(40)) + "\n";
    if (random.below(10) == 0) file.insert(random.below(file.size()), 505 + random.below(15), 'x');
    std::FILE *stream = fmemopen(file.data(), file.size(), "r");
    plain::Reader reader(file);
    std::string expected;
    char line[ORLA_PROFILE_LINE_SIZE];
    for (;;) {
      const bool more = reader.read_line(expected);
      ASSERT_EQ(orla_i_cfg_read_line(stream, line), more ? 1 : 0) << shown(file);
      if (!more) break;
      expected.resize(std::min<std::size_t>(expected.size(), 511));
      ASSERT_EQ(std::string(line, expected.size() + 1), expected + '\0') << shown(file);
    }
    std::fclose(stream);
  }
}

}  // namespace
