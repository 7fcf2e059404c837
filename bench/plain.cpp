// Measures the rows without any other package and prints them as JSON: one round, of which
// bench/report.py runs many.
//
//     PROGRAM REGEX    measures the tables with a title that matches

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <regex>
#include <vector>

#include "rows.h"

namespace {

constexpr int kBatches = 12;

double nanoseconds_per_call(const bench::Row &row) {
  const auto start = std::chrono::steady_clock::now();
  row.body(row.batch);
  const std::chrono::duration<double, std::nano> passed = std::chrono::steady_clock::now() - start;
  return passed.count() / static_cast<double>(row.batch);
}

// Batch by batch over all rows, so that a drift of the machine's speed meets all of them. The
// median of a row leaves out the batches during which another program had the processor.
std::vector<double> measured(const std::vector<bench::Row> &rows) {
  std::vector<std::vector<double>> times(rows.size());
  for (int i = 0; i < kBatches; ++i)
    for (std::size_t at = 0; at < rows.size(); ++at)
      times[at].push_back(nanoseconds_per_call(rows[at]));
  std::vector<double> medians;
  for (std::vector<double> &of_row : times) {
    std::sort(of_row.begin(), of_row.end());
    medians.push_back(of_row[of_row.size() / 2]);
  }
  return medians;
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
  for (bench::Row &row : rows)
    calibrate(row);
  const std::vector<double> medians = measured(rows);

  std::printf("[");
  for (std::size_t at = 0; at < rows.size(); ++at) {
    const bench::Row &row = rows[at];
    std::printf(
        "%s\n {\"table\": \"%s\", \"role\": \"%s\", \"name\": \"%s\", \"size\": %.0f, "
        "\"nanoseconds\": %.3f}",
        at == 0 ? "" : ",", row.table.c_str(), role_name(row.role), row.name.c_str(), row.size,
        medians[at]);
  }
  std::printf("\n]\n");
}
