// The trace file under load: many processes that append to it at once, one that rotates it often,
// and several that share it through many rotations.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <orla/trace.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "fakes/clock.h"
#include "fakes/file_status.h"
#include "kit/environment.h"
#include "kit/processes.h"
#include "kit/temp_dir.h"

namespace {

constexpr std::size_t kLimit = ORLA_TRACE_ROTATION_SIZE;

void trace(std::string message) { TavTrace(message.data()); }

// Tracing on, into a file of a folder of its own, at 2007-02-03 09:05:07 in New York.
class TraceLoad : public testing::Test {
 protected:
  TraceLoad() { orlalib_verbose = 255; }
  ~TraceLoad() override {
    TavTrace(nullptr);
    orlalib_verbose = 0;
  }

  static std::string stamp_of(pid_t process) {
    return "02/03/2007  9:05:07 " + std::to_string(process) + " ";
  }

  TempDir folder_;
  WithZone zone_{kNewYork};
  WithVariable path_{"K7LOG_PATH", folder_.path("trace").c_str()};
  ClockAt clock_{1170511507};
};

constexpr std::size_t kProcesses = 16;
constexpr std::size_t kLinesEach = 2500;
constexpr std::size_t kLongestLine = 100;  // so that a round stays within the limit
static_assert(kProcesses * kLinesEach * kLongestLine <= kLimit);

// Lines of many lengths, no two alike.
std::string message_of(std::size_t process, std::size_t number) {
  return "p" + std::to_string(process) + " n" + std::to_string(number) + " " +
         std::string((7 * number + process) % 50, static_cast<char>('a' + process)) + "\n";
}

class TraceOfManyProcesses : public TraceLoad {
 protected:
  // All append at the same time; returns their ids.
  std::vector<pid_t> append_at_once() {
    Processes processes;
    for (std::size_t process = 0; process < kProcesses; ++process) {
      processes.add([process] {
        for (std::size_t number = 0; number < kLinesEach; ++number)
          trace(message_of(process, number));
        return 0;
      });
    }
    const std::vector<pid_t> ids = processes.ids();
    EXPECT_EQ(processes.run(), 0);
    return ids;
  }

  // Takes the lines in the order of the file: each must be the next one of a process.
  void expect_every_line_whole_and_in_order(const std::vector<pid_t> &ids) {
    const std::string content = folder_.read("trace");
    std::vector<std::size_t> taken(kProcesses, 0);
    for (std::size_t at = 0; at < content.size();) {
      const std::size_t end = std::min(content.find('\n', at), content.size() - 1) + 1;
      const std::string_view line(content.data() + at, end - at);
      at = end;
      const std::size_t process = process_of(line, ids);
      ASSERT_LT(process, kProcesses) << line;
      ASSERT_LE(line.size(), kLongestLine);
      ASSERT_EQ(line, stamp_of(ids[process]) + message_of(process, taken[process]++));
    }
    EXPECT_EQ(taken, std::vector<std::size_t>(kProcesses, kLinesEach));
  }

  void append_and_check(int rounds) {
    for (int round = 0; round < rounds; ++round) {
      const std::vector<pid_t> ids = append_at_once();
      ASSERT_NO_FATAL_FAILURE(expect_every_line_whole_and_in_order(ids));
      ASSERT_FALSE(folder_.holds("trace.1"));
      std::filesystem::remove(folder_.path("trace"));
    }
  }

 private:
  static std::size_t process_of(std::string_view line, const std::vector<pid_t> &ids) {
    std::size_t process = 0;
    while (process < ids.size() &&
           line.substr(0, stamp_of(ids[process]).size()) != stamp_of(ids[process]))
      ++process;
    return process;
  }
};

TEST_F(TraceOfManyProcesses, HoldsEach40000LinesWholeAndInTheOrderOfTheirProcess) {
  append_and_check(1);
}

using LongTraceOfManyProcesses = TraceOfManyProcesses;

TEST_F(LongTraceOfManyProcesses, HoldsEachOf200000LinesInFiveFilesBelowTheLimit) {
  append_and_check(5);
}

// Lines of 60 to 1,559 bytes, whatever the number of digits of the process id.
class TraceOfManyRotations : public TraceLoad {
 protected:
  std::string line(std::size_t number) const {
    const std::string head = stamp_ + "n" + std::to_string(number) + " ";
    const std::size_t length = 60 + 37 * number % 1500;
    return head + std::string(length - head.size() - 1, static_cast<char>('a' + number % 26)) +
           "\n";
  }

  std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(folder_.path("")))
      names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }

  // Keeps what the file must hold meanwhile, and looks at each file as it is rotated: so every line
  // that was ever written has been seen once, in its place.
  void write_and_check(std::size_t bytes) {
    std::string current;
    std::string rotated;
    std::size_t number = 0;
    for (std::size_t written = 0; written < bytes || current.empty(); ++number) {
      const std::string next = line(number);
      trace(next.substr(stamp_.size()));
      written += next.size();
      current += next;
      if (current.size() <= kLimit) continue;
      ASSERT_FALSE(folder_.holds("trace")) << number;
      ASSERT_TRUE(folder_.read("trace.1") == current) << number;
      rotated.swap(current);
      current.clear();
    }
    EXPECT_EQ(files(), (std::vector<std::string>{"trace", "trace.1"}));
    EXPECT_TRUE(folder_.read("trace") == current);
    EXPECT_TRUE(folder_.read("trace.1") == rotated);
    EXPECT_GT(rotated.size(), kLimit);
    EXPECT_EQ(current.substr(current.size() - line(number - 1).size()), line(number - 1));
  }

 private:
  const std::string stamp_ = stamp_of(getpid());
};

TEST_F(TraceOfManyRotations, Of10MegabytesIsTwoWholeFilesOfLinesThatFollowEachOther) {
  write_and_check(10000000);
}

using LongTraceOfManyRotations = TraceOfManyRotations;

TEST_F(LongTraceOfManyRotations, Of100MegabytesIsTwoWholeFilesOfLinesThatFollowEachOther) {
  write_and_check(100000000);
}

// Several processes write lines of one length through many rotations. A predecessor has had its
// time once a filled file replaces it: its lines count as kept. They are lost when a file that is
// not full replaces it.
class TraceOfSharedRotations : public TraceLoad {
 protected:
  static constexpr std::size_t kSharing = 4;
  static constexpr std::size_t kRotations = 10;
  static constexpr std::size_t kLineLength = 400;
  static constexpr std::size_t kLinesOfEach = (kRotations * kLimit / kLineLength + 1000) / kSharing;

  // How many lines of a round are in no file.
  std::size_t lost_in_a_round() {
    write_at_once();
    Seen seen(kSharing * kLinesOfEach, false);
    for (const auto &entry : std::filesystem::directory_iterator(folder_.path("")))
      look_at(entry.path().filename(), seen);
    std::filesystem::remove_all(folder_.path(""));
    std::filesystem::create_directory(folder_.path(""));
    return static_cast<std::size_t>(std::count(seen.begin(), seen.end(), false));
  }

  // Whether the processes share the stream that their parent opened.
  bool opened_before_ = false;
  std::size_t rotations_ = 0;

 private:
  using Seen = std::vector<bool>;

  static std::string line(std::size_t number) {
    std::string text = "n" + std::to_string(number) + " ";
    return text + std::string(kLineLength - text.size() - 1, 'x') + "\n";
  }

  void write_at_once() {
    if (opened_before_) trace("opened\n");
    int all_done[2];
    ASSERT_EQ(pipe(all_done), 0);
    Processes processes;
    for (std::size_t process = 0; process < kSharing; ++process)
      processes.add([&, process] { return write_and_save(process, all_done); });
    close(all_done[0]);
    close(all_done[1]);
    EXPECT_EQ(processes.run(), 0);
    if (opened_before_) TavTrace(nullptr);
  }

  int write_and_save(std::size_t process, const int (&all_done)[2]) {
    std::vector<int> replaced;
    const With rename(fake_rename, [&](const char *from, const char *to) {
      struct stat status;
      const bool filled = stat(from, &status) == 0 && std::size_t(status.st_size) > kLimit;
      const int earlier = open(to, O_RDONLY);
      if (filled && earlier >= 0) replaced.push_back(earlier);
      return fake_rename.real(from, to);
    });
    for (std::size_t number = process; number < kSharing * kLinesOfEach; number += kSharing)
      trace(line(number));
    close(all_done[1]);
    char none;
    while (read(all_done[0], &none, 1) != 0) {
    }
    for (const int descriptor : replaced)
      std::filesystem::copy_file(
          "/proc/self/fd/" + std::to_string(descriptor),
          folder_.path(std::to_string(process) + "." + std::to_string(descriptor)));
    return 0;
  }

  void look_at(const std::string &file, Seen &seen) {
    std::istringstream lines(folder_.read(file));
    for (std::string text; std::getline(lines, text);) {
      if (text.find("opened") != std::string::npos) continue;  // the parent's
      const std::size_t at = text.find(" n") + 2;
      const std::size_t number = std::strtoul(text.c_str() + at, nullptr, 10);
      ASSERT_EQ(text.substr(at - 1) + "\n", line(number)) << text;
      ASSERT_FALSE(seen[number]) << number;
      seen[number] = true;
    }
    rotations_ += file != "trace";
  }
};

TEST_F(TraceOfSharedRotations, LosesNoneOf100000LinesOf4ProcessesThroughTenRotations) {
  EXPECT_EQ(lost_in_a_round(), 0U);
  EXPECT_GE(rotations_, kRotations);
}

TEST_F(TraceOfSharedRotations, LosesNoneWhenTheProcessesInheritTheOpenFile) {
  opened_before_ = true;
  EXPECT_EQ(lost_in_a_round(), 0U);
  EXPECT_GE(rotations_, kRotations);
}

using LongTraceOfSharedRotations = TraceOfSharedRotations;

TEST_F(LongTraceOfSharedRotations, LosesNoLineThrough200Rotations) {
  for (int round = 0; round < 20; ++round)
    ASSERT_EQ(lost_in_a_round(), 0U) << round;
  EXPECT_GE(rotations_, 20 * kRotations);
}

TEST_F(LongTraceOfSharedRotations, LosesNoLineThrough200RotationsOfInheritedFiles) {
  opened_before_ = true;
  for (int round = 0; round < 20; ++round)
    ASSERT_EQ(lost_in_a_round(), 0U) << round;
  EXPECT_GE(rotations_, 20 * kRotations);
}

}  // namespace
