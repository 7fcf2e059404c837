// Measures the rows without any other package: fifteen repetitions, each of which goes through all
// rows, so that a change of the machine's speed affects all of them. Prints JSON: the median and
// the fastest of each row.
//
//     PROGRAM [REGEX]    measures only tables with a title that matches

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <regex>
#include <vector>

#include "rows.h"

namespace {

constexpr int kRepetitions = 15;
constexpr double kSecondsPerRepetition = 0.02;

double nanoseconds_per_call(const bench::Row &row) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  long calls = 0;
  std::chrono::duration<double> passed{};
  do {
    row.body(row.batch);
    calls += row.batch;
    passed = Clock::now() - start;
  } while (passed.count() < kSecondsPerRepetition);
  return passed.count() * 1e9 / static_cast<double>(calls);
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

std::vector<bench::Row> asked_rows(const char *pattern) {
  const std::regex titles(pattern);
  std::vector<bench::Row> rows = bench::registered_rows();
  std::erase_if(rows, [&](const bench::Row &row) { return !std::regex_search(row.table, titles); });
  return rows;
}

}  // namespace

int main(int argc, char **argv) {
  std::vector<bench::Row> rows = asked_rows(argc > 1 ? argv[1] : "");
  std::vector<std::vector<double>> measured(rows.size());
  for (bench::Row &row : rows)
    calibrate(row);
  for (int i = 0; i < kRepetitions; ++i)
    for (std::size_t at = 0; at < rows.size(); ++at)
      measured[at].push_back(nanoseconds_per_call(rows[at]));

  std::printf("[");
  for (std::size_t at = 0; at < rows.size(); ++at) {
    const bench::Row &row = rows[at];
    std::printf(
        "%s\n {\"table\": \"%s\", \"role\": \"%s\", \"name\": \"%s\", \"size\": %.0f, "
        "\"nanoseconds\": %.3f, \"fastest\": %.3f}",
        at == 0 ? "" : ",", row.table.c_str(), role_name(row.role), row.name.c_str(), row.size,
        median(measured[at]), *std::min_element(measured[at].begin(), measured[at].end()));
  }
  std::printf("\n]\n");
}
