// Measures the rows by Google Benchmark, whose own options choose repetitions, order and output.

#include <benchmark/benchmark.h>

#include "rows.h"

namespace {

// The name carries what the report needs: table, role, name and size.
std::string full_name(const bench::Row &row) {
  return row.table + "|" + role_name(row.role) + "|" + row.name + "|" +
         std::to_string(static_cast<long>(row.size));
}

void measure(benchmark::State &state, bench::Row &row) {
  if (row.batch == 0) calibrate(row);
  while (state.KeepRunningBatch(row.batch))
    row.body(row.batch);
}

}  // namespace

int main(int argc, char **argv) {
  for (bench::Row &row : bench::registered_rows()) {
    benchmark::RegisterBenchmark(full_name(row).c_str(),
                                 [&row](benchmark::State &state) { measure(state, row); });
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
