// A small measuring harness without foreign packages, the same on both architectures.
//
//     bench::Table table("Date number to text");
//     table.row("strftime", [&](long n) { for (; n > 0; --n) bench::keep(std::strftime(...)); });
//     table.row("date_to_string", ...);
//
// The rows of a table are measured in turn, repetition by repetition, so that a drift of the machine's
// speed meets all of them; the table prints medians, and the ratio of each row to the first.

#ifndef ORLA_BENCH_HARNESS_H
#define ORLA_BENCH_HARNESS_H

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace bench {

// Keeps the compiler from dropping what was computed, and from assuming that memory stayed as it was.
template <typename Value>
inline void keep(Value const &value) {
  __asm__ volatile("" : : "g"(&value) : "memory");
}

class Table {
 public:
  using Body = std::function<void(long calls)>;

  explicit Table(std::string title) : title_(std::move(title)) {}
  ~Table() { print(); }
  Table(const Table &) = delete;
  Table &operator=(const Table &) = delete;

  void row(const std::string &name, Body body) { rows_.push_back({name, std::move(body), 1, {}}); }

 private:
  static constexpr int kRepetitions = 11;
  static constexpr double kSecondsPerRepetition = 0.02;

  struct Row {
    std::string name;
    Body body;
    long calls;
    std::vector<double> nanoseconds;
  };

  static double seconds(Row &row) {
    const auto start = std::chrono::steady_clock::now();
    row.body(row.calls);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }

  // Doubles the number of calls until they take long enough to be measured.
  static void calibrate(Row &row) {
    while (seconds(row) < kSecondsPerRepetition && row.calls < 1L << 28)
      row.calls *= 2;
  }

  static double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
  }

  void print() {
    for (Row &row : rows_)
      calibrate(row);
    for (int i = 0; i < kRepetitions; ++i) {
      for (Row &row : rows_) {
        row.nanoseconds.push_back(seconds(row) * 1e9 / static_cast<double>(row.calls));
      }
    }
    std::printf("\n%s\n", title_.c_str());
    const double first = median(rows_.front().nanoseconds);
    for (const Row &row : rows_) {
      const double own = median(row.nanoseconds);
      std::printf("  %-44s %12.1f ns  %8.3f\n", row.name.c_str(), own, own / first);
    }
  }

  std::string title_;
  std::vector<Row> rows_;
};

}  // namespace bench

#endif
