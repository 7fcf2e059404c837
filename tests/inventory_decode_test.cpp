// What kernels report, decoded from random texts and compared with the plain way.

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "inventory/cpu_decode.h"
#include "plain/processors.h"

namespace {

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
    ASSERT_EQ(static_cast<int>(orla::figure_source(release)),
              static_cast<int>(plain::figure_source(release)))
        << release;
  }
}

TEST(CpuinfoFigure, EqualsThePlainWayOnRandomLines) {
  std::mt19937 random(19);
  for (int i = 0; i < 100000; ++i) {
    const std::string line =
        random_text(random, {"siblings", "threads", " ", "\t", ":", "0", "2", "-", "x"});
    orla::SiblingsFigure figure;
    const int value = figure.take(line.c_str()) ? figure.value() : -1;
    ASSERT_EQ(value, plain::cpuinfo_figure(line)) << line;
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
