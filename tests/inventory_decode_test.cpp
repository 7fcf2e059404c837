// What processors and kernels report, decoded from captured bytes.

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "inventory/cpu_decode.h"
#include "plain/processors.h"

namespace {

using orla::figure_source;
using orla::FigureSource;

std::uint32_t word(const char *four_characters) {
  std::uint32_t value;
  std::memcpy(&value, four_characters, sizeof value);
  return value;
}

TEST(Vendor, IsReadFromEbxEdxAndEcxInThatOrder) {
  EXPECT_TRUE(orla::is_genuine_intel(word("Genu"), word("ineI"), word("ntel")));
  EXPECT_FALSE(orla::is_genuine_intel(word("Genu"), word("ntel"), word("ineI")));
  EXPECT_FALSE(orla::is_genuine_intel(word("Auth"), word("enti"), word("cAMD")));
  EXPECT_FALSE(orla::is_genuine_intel(word("Genu"), word("ineI"), word("nteL")));
  EXPECT_FALSE(orla::is_genuine_intel(word("genu"), word("ineI"), word("ntel")));
}

struct LeafRow {
  std::uint32_t eax;
  std::uint32_t ebx;
  int logical_processors;
};

TEST(LogicalProcessors, AreRecognisedOnFamily15Alone) {
  const LeafRow rows[] = {
      {0x00000F29, 0x0002080B, 2},    // Pentium 4 with hyper-threading
      {0x00000F64, 0x02040800, 4},    // Pentium D Extreme Edition
      {0x00000F12, 0x00010808, 0},    // one logical processor per package
      {0x00000F12, 0x00000808, 0},    // no figure
      {0x00000F29, 0x00FF0000, 255},  // the largest
      {0x00000F29, 0xFF02FFFF, 2},    // the other bits do not count
      {0x000006FB, 0x00020800, 0},    // family 6 with two cores
      {0x000C06F2, 0x00200800, 0},    // family 6 with 32
      {0x00100F42, 0x00040800, 4},    // the extended family does not count
      {0xFFFFFFFF, 0xFFFFFFFF, 255}, {0xFFFFF0FF, 0x00020000, 0},
      {0x00000E00, 0x00020000, 0},   {0x00000700, 0x00020000, 0},
  };
  for (const LeafRow &row : rows) {
    EXPECT_EQ(orla::logical_processors_per_package(row.eax, row.ebx), row.logical_processors)
        << std::hex << row.eax << ' ' << row.ebx;
  }
}

TEST(KernelRelease, SaysWhereTheFigureIs) {
  const struct {
    const char *release;
    FigureSource source;
  } rows[] = {
      {"2.4.18-3smp", FigureSource::kernel_log},
      {"2.4.18-3", FigureSource::kernel_log},
      {"2.4.20-8", FigureSource::cpuinfo},
      {"2.6.9-22.ELsmp", FigureSource::cpuinfo},
      {"2.2.19-7", FigureSource::cpuinfo},  // patch 19: the fields are tested one by one
      {"3.10.0-957", FigureSource::cpuinfo},
      {"6.1.0-18-amd64", FigureSource::cpuinfo},
      {"3.", FigureSource::cpuinfo},  // the major number alone is read
      {"3x", FigureSource::cpuinfo},
      {"2.5.", FigureSource::cpuinfo},
      {"2.4.19.", FigureSource::cpuinfo},
      {"2.4.18.", FigureSource::kernel_log},
      {"2.4.18", FigureSource::unusable},  // every field needs a character after it
      {"2.4.20", FigureSource::unusable},
      {"2.6", FigureSource::unusable},
      {"10", FigureSource::unusable},
      {"", FigureSource::unusable},
      {"2", FigureSource::unusable},
      {"2.", FigureSource::unusable},
      {"2.4", FigureSource::unusable},
      {"2.4.", FigureSource::unusable},
      {"x", FigureSource::unusable},
      {"-x", FigureSource::unusable},
      {"vendor-3.1-x", FigureSource::kernel_log},  // major 0, minor 3, patch 1
      {"vendor-5.1-x", FigureSource::cpuinfo},     // major 0, minor 5
      {"2.-4-1-", FigureSource::kernel_log},       // what is no digit is skipped before the minor
      {"2.4.-1", FigureSource::kernel_log},        // but not before the patch number, which is 0
      {"2.4.x", FigureSource::kernel_log},
      {"2.4..", FigureSource::kernel_log},
      {"002.004.018-", FigureSource::kernel_log},
      {"2.4.019-", FigureSource::cpuinfo},
      {"2200000000.x", FigureSource::cpuinfo},  // from 2147483648 on it is the largest int
      {"99999999999999999999.x", FigureSource::cpuinfo},
      {"2.99999999999999999999.", FigureSource::cpuinfo},
      {"4294967296.4.18-", FigureSource::cpuinfo},
  };
  for (const auto &row : rows)
    EXPECT_EQ(figure_source(row.release), row.source) << row.release;
}

// Feeds lines as /proc/cpuinfo gives them; -1 means a figure that cannot be used.
int figure_of(std::initializer_list<const char *> lines) {
  orla::SiblingsFigure figure;
  for (const char *line : lines) {
    if (!figure.take(line)) return -1;
  }
  return figure.value();
}

TEST(CpuinfoFigure, IsTheDecimalNumberOfSiblingsAndThreadsLines) {
  EXPECT_EQ(figure_of({"siblings\t: 2\n"}), 2);
  EXPECT_EQ(figure_of({"processor\t: 0\n", "siblings\t: 2\n", "core id\t\t: 0\n"}), 2);
  EXPECT_EQ(figure_of({"threads\t\t: 4\n"}), 4);
  EXPECT_EQ(figure_of({"threads per core : 4\n"}), -1);
  EXPECT_EQ(figure_of({"siblings : 2\n", "siblings : 2\n", "threads : 2\n"}), 2);
  EXPECT_EQ(figure_of({"siblings :2"}), 2);
  EXPECT_EQ(figure_of({"siblings : 010\n"}), 10);  // decimal, whatever it begins with
  EXPECT_EQ(figure_of({"siblings : 0x10\n"}), 0);
  EXPECT_EQ(figure_of({"siblings-per-package \t\v\f\r : 8"}), 8);
  EXPECT_EQ(figure_of({"threadsX\n: 3"}), 3);  // a line feed is white space too
  EXPECT_EQ(figure_of({"siblings :"}), 0);
  EXPECT_EQ(figure_of({"siblings : many\n"}), 0);
  EXPECT_EQ(figure_of({"siblings : -3\n"}), -3);
  EXPECT_EQ(figure_of({"siblings : 2 : 4\n"}), 2);
}

TEST(CpuinfoFigure, IsZeroWithoutSuchALine) {
  EXPECT_EQ(figure_of({}), 0);
  EXPECT_EQ(figure_of({"processor\t: 0\n", "", "\n", " siblings : 2\n", "Siblings : 2\n",
                       "thread : 2", "sibling : 2"}),
            0);
}

TEST(CpuinfoFigure, IsUnusableWithoutAColonAfterTheBlanks) {
  EXPECT_EQ(figure_of({"siblings: 2\n"}), -1);
  EXPECT_EQ(figure_of({"siblings:2\n"}), -1);
  EXPECT_EQ(figure_of({"siblings 2\n"}), -1);
  EXPECT_EQ(figure_of({"siblings"}), -1);
  EXPECT_EQ(figure_of({"siblings   "}), -1);
  EXPECT_EQ(figure_of({"siblings : 2\n", "threads\n"}), -1);
}

TEST(CpuinfoFigure, IsUnusableWhenPackagesDisagree) {
  EXPECT_EQ(figure_of({"siblings : 2\n", "siblings : 4\n"}), -1);
  EXPECT_EQ(figure_of({"siblings : 2\n", "threads : 4\n"}), -1);
  EXPECT_EQ(figure_of({"siblings : 2\n", "siblings : 0\n"}), -1);
  // A zero before the first figure is no disagreement.
  EXPECT_EQ(figure_of({"siblings : 0\n", "siblings : 0\n", "siblings : 2\n"}), 2);
}

TEST(KernelLogFigure, CountsEveryOccurrence) {
  const struct {
    const char *log;
    int count;
  } rows[] = {
      {"", 0},
      {"<6>CPU: Physical Processor ID: 0\n", 0},
      {"<4>cpu_sibling_map[0] = 1\n<4>cpu_sibling_map[1] = 0\n", 2},
      {"cpu_sibling_map[0] = 1\n", 1},
      {"<4>and cpu_sibling_map[0] and cpu_sibling_map[1]", 2},
      {"cpu_sibling_map", 0},
      {"cpu_sibling_map[", 1},
      {"cpu_sibling_map(", 0},
      {"ccpu_sibling_map[cpu_sibling_map[", 2},
      {"cpu_sibling_cpu_sibling_map[", 1},
      {"<12345678>cpu_sibling_map[", 1},
      {"<cpu_sibling_map[\n<<>cpu_sibling_map[", 2},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(orla::count_sibling_maps(row.log), row.count) << row.log;
    EXPECT_EQ(plain::kernel_log_figure(row.log), row.count) << row.log;
  }
}

// Pieces of releases and of lines, in any order.
std::string random_text(std::mt19937 &random, std::initializer_list<const char *> pieces) {
  std::string text;
  for (auto count = random() % 8; count > 0; --count)
    text += pieces.begin()[random() % pieces.size()];
  return text;
}

TEST(KernelRelease, EqualsThePlainWayOnRandomReleases) {
  std::mt19937 random(2418);
  for (int i = 0; i < 100000; ++i) {
    const std::string release =
        random_text(random, {"2", "4", "18", "19", "0", "3", ".", ".", "-", "x"});
    ASSERT_EQ(static_cast<int>(figure_source(release)),
              static_cast<int>(plain::figure_source(release)))
        << release;
  }
}

TEST(CpuinfoFigure, EqualsThePlainWayOnRandomLines) {
  std::mt19937 random(19);
  for (int i = 0; i < 100000; ++i) {
    const std::string line =
        random_text(random, {"siblings", "threads", " ", "\t", ":", "0", "2", "-", "x"});
    ASSERT_EQ(figure_of({line.c_str()}), plain::cpuinfo_figure(line)) << line;
  }
}

TEST(KernelLogFigure, EqualsTheWalkOverRandomLogs) {
  std::mt19937 random(18);
  const char *pieces[] = {
      "cpu_sibling_map[", "cpu_sibling_map", "[", "\n", "<", "4", ">", "c", "\n<"};
  for (int i = 0; i < 100000; ++i) {
    std::string log;
    for (auto count = random() % 16; count > 0; --count)
      log += pieces[random() % 9];
    log.resize(log.size() - random() % (log.size() + 1) / 4);
    ASSERT_EQ(orla::count_sibling_maps(log), plain::kernel_log_figure(log)) << log;
  }
}

}  // namespace
