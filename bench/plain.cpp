// Measures the rows without any other package and prints them as JSON: one round, of which bench/report.py runs
// many.
//
//     PROGRAM REGEX    measures the tables with a title that matches

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <regex>
#include <vector>

#include "rows.h"

namespace {

constexpr double kSecondsPerRow = 0.012;

// The median over the batches: one during which another program had the processor does not count.
double nanoseconds_per_call(const bench::Row &row) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  std::vector<double> batches;
  std::chrono::duration<double> passed{};
  do {
    const auto before = Clock::now();
    row.body(row.batch);
    const auto after = Clock::now();
    batches.push_back(std::chrono::duration<double, std::nano>(after - before).count());
    passed = after - start;
  } while (passed.count() < kSecondsPerRow);
  std::sort(batches.begin(), batches.end());
  return batches[batches.size() / 2] / static_cast<double>(row.batch);
}

std::vector<bench::Row> asked_rows(const char *pattern) {
  const std::regex titles(pattern);
  std::vector<bench::Row> rows = bench::registered_rows();
  std::erase_if(rows, [&](const bench::Row &row) { return !std::regex_search(row.table, titles); });
  return rows;
}

}  // namespace

int main(int argc, char **argv) {
  const char *separator = "[";
  for (bench::Row &row : asked_rows(argc > 1 ? argv[1] : "")) {
    calibrate(row);
    std::printf(
        "%s\n {\"table\": \"%s\", \"role\": \"%s\", \"name\": \"%s\", \"size\": %.0f, "
        "\"nanoseconds\": %.3f}",
        separator, row.table.c_str(), role_name(row.role), row.name.c_str(), row.size,
        nanoseconds_per_call(row));
    separator = ",";
  }
  std::printf("%s\n]\n", *separator == '[' ? "[" : "");
}
