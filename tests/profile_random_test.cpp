// The profile functions on random files, compared with the plain version.

#include <gtest/gtest.h>
#include <orla/profile.h>
#include <strings.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "fakes/file_calls.h"
#include "kit/temp_dir.h"
#include "plain/profile.h"

namespace {

// Longer searches are the fuzzers' work.
constexpr int kManyFiles = 50000;
constexpr int kSomeFiles = 10000;
constexpr int kDiskFiles = 1000;
constexpr int kLargeFiles = 500;

class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}

  std::size_t below(std::size_t bound) { return engine_() % bound; }

  template <typename Value, std::size_t kCount>
  const Value &of(const Value (&values)[kCount]) {
    return values[below(kCount)];
  }

 private:
  std::minstd_rand engine_;
};

const char *const kSections[] = {"", "a", "ab", "abc", "B", "[a", "a]"};
const char *const kKeys[] = {"", "a", "K", "key", "a=", "[", " "};
const char *const kFallbacks[] = {"", "d", "default", "a default that is longer than the buffer"};
const char *const kValues[] = {"", "v", " 1 ", "x=y", "a value\r"};

// Pieces that files are made of: what the grammar looks for, texts close to that, and single
// characters.
const std::string kPieces[] = {
    // Headers, and texts close to them.
    "[a]\n", "[A]\r\n", "[ab]\n", "[aB\r]\n", "[abc]\n", "[]\n", " [a]\n", "[a] \n", "[[a]\n",
    "[ab",
    // Entries.
    "a=1\n", "key=12\n", "KEY=123456\n", "k = 7\n", "K=  \n", "K=\t\n", "a=b=c\n", "key\n",
    // Ends of lines and single characters.
    "\n", "\n", "\r\n", "[", "]", "=", "\r", "\n", "a", "A", "k", "7", " ", std::string(1, '\0'),
    std::string("\0\n", 2), "\xFE"};

std::string random_file(Random &random, std::size_t pieces) {
  std::string file;
  for (std::size_t i = 0; i < pieces; ++i) {
    file += random.of(kPieces);
    // Rare enough that the text after it often matters too.
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

// Files and lines around the sizes at which a reader of blocks works differently.
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
    close(descriptor);  // a thousand come close to what a process may have
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

// ---- What the format's page promises ------------------------------------------------------------
//
// "Both readers find every key of a file, with its value, when ...": the conditions, over the lines
// of a file, and what then must hold.

bool begins(const std::string &line, const std::string &text) {
  return strncasecmp(line.c_str(), text.c_str(), text.size()) == 0;
}

bool begins_any(const std::vector<std::string> &lines, const std::string &text) {
  return std::any_of(lines.begin(), lines.end(),
                     [&](const std::string &line) { return begins(line, text); });
}

struct FoundEntry {
  std::string section;
  std::string key;
  std::string value;
};

// The name in a header, or nothing.
std::string section_of(const std::string &line) {
  if (line.size() < 3 || line.front() != '[' || line.find(']') != line.size() - 1) return "";
  return line.substr(1, line.size() - 2);
}

// The entries of a file of which the promise is made; none otherwise.
std::optional<std::vector<FoundEntry>> entries_of(const std::string &file) {
  std::vector<FoundEntry> entries;
  std::vector<std::string> above;             // all lines
  std::vector<std::string> above_in_section;  // since the header
  std::string section;                        // empty: between two sections
  if (!file.empty() && file.back() != '\n') return {};
  if (file.find('\0') != std::string::npos || file.find('\xFF') != std::string::npos) return {};
  plain::Reader reader(file);
  for (std::string line; reader.read_line(line); above.push_back(line)) {
    const std::string name = section_of(line);
    if (line.empty()) {
      section.clear();
    } else if (!name.empty()) {
      if (!section.empty() || begins_any(above, "[" + name.substr(0, name.size() - 1))) return {};
      section = name;
      above_in_section.clear();
    } else {
      const std::size_t equals = line.find('=');
      if (section.empty() || equals == 0 || equals == std::string::npos ||
          line.find('=', equals + 1) != std::string::npos ||
          begins_any(above_in_section, line.substr(0, equals)))
        return {};
      entries.push_back({section, line.substr(0, equals), line.substr(equals + 1)});
      above_in_section.push_back(line);
    }
  }
  if (!section.empty()) return {};
  return entries;
}

const std::string kNames[] = {"Main", "Main1", "Ma", "Other", "o", "Node1", "Node2", "a]x", "b=c"};
const std::string kOwnKeys[] = {"Port", "PortNumber", "Po", "port", "Host", "[k", "x", " y", ""};
const std::string kOwnValues[] = {"", "1", "0099", "99999", "123456", " 5", "a b", "a=b", "v]"};

// Sections as they should be, for the most part.
std::string random_profile(Random &random) {
  std::string file;
  for (std::size_t sections = random.below(4); sections > 0; --sections) {
    file += "[" + random.of(kNames) + "]\n";
    for (std::size_t entries = random.below(4); entries > 0; --entries)
      file += random.of(kOwnKeys) + "=" + random.of(kOwnValues) + "\n";
    if (random.below(10) != 0) file += "\n";
    if (random.below(20) == 0) file += random.of(kPieces);
  }
  return file;
}

void expect_found(const FoundEntry &entry, const std::string &file) {
  char text[32];
  orla_cfg_get_private_profile_string(entry.section.c_str(), entry.key.c_str(), nullptr, text,
                                      sizeof text, "f");
  ASSERT_EQ(text, entry.value) << "[" << entry.section << "] " << entry.key << " in "
                               << shown(file);
  if (entry.value.empty() || entry.value.size() > 5 ||
      entry.value.find_first_not_of("0123456789") != std::string::npos)
    return;
  ASSERT_EQ(orla_cfg_get_private_profile_int(entry.section.c_str(), entry.key.c_str(), -7, "f"),
            std::stoi(entry.value))
      << "[" << entry.section << "] " << entry.key << " in " << shown(file);
}

TEST(ProfileRandom, EveryKeyIsFoundWhereTheFormatsPagePromisesIt) {
  Random random(8);
  MemoryFiles files;
  int found = 0;
  int no_promise = 0;
  for (int i = 0; i < kManyFiles && !testing::Test::HasFatalFailure(); ++i) {
    const std::string file = random_profile(random);
    const auto entries = entries_of(file);
    if (!entries) {
      ++no_promise;
      continue;
    }
    files.put("f", file);
    for (const FoundEntry &entry : *entries) {
      ASSERT_NO_FATAL_FAILURE(expect_found(entry, file));
      ++found;
    }
  }
  EXPECT_GT(found, kManyFiles / 10);
  EXPECT_GT(no_promise, kManyFiles / 10);
}

}  // namespace
