// What is measured: rows, grouped in tables. A file of rows registers them when the program starts,
// and one of two programs' ends measures them: plain.cpp, without any other package and so on both
// architectures, or google.cpp, by Google Benchmark, beside the peers that a user could pick
// instead.
//
//     const bench::Rows rows([] {
//       bench::Table table("text", "Date number to text");
//       table.floor("copy of 11 bytes", [](long n) { for (; n > 0; --n) ...; });
//       table.ours("date_to_string", ...);
//       table.peer("strftime", ...);
//     });

#ifndef ORLA_BENCH_ROWS_H
#define ORLA_BENCH_ROWS_H

#include <functional>
#include <string>
#include <vector>

// A function of a shared library that does nothing.
extern "C" int orla_bench_nothing(const void *in, void *out);

namespace bench {

// Does the work `calls` times over.
using Body = std::function<void(long calls)>;

enum class Role { floor, ours, peer };

struct Row {
  std::string table;
  Role role;
  std::string name;
  Body body;
  double size;  // bytes or characters worked on, where a table is over sizes; else 0
  long batch;   // calls in one go: enough to hide what is around them
};

std::vector<Row> &registered_rows();
const char *role_name(Role role);

// The rows of one table; several files may add to the same one.
class Table {
 public:
  explicit Table(std::string title) : title_(std::move(title)) {}

  // The least that hardware, kernel or C library charge for the same work. Of several floors the
  // highest is the one that holds.
  void floor(const std::string &name, Body body, double size = 0) {
    add(Role::floor, name, body, size);
  }
  void ours(const std::string &name, Body body, double size = 0) {
    add(Role::ours, name, body, size);
  }
  // What a user would choose instead.
  void peer(const std::string &name, Body body, double size = 0) {
    add(Role::peer, name, body, size);
  }

 private:
  void add(Role role, const std::string &name, Body body, double size) {
    registered_rows().push_back({title_, role, name, std::move(body), size, 0});
  }

  std::string title_;
};

struct Rows {
  explicit Rows(void (*add)()) { add(); }
};

// Doubles the batch of a row, from one call on, until it takes a millisecond.
void calibrate(Row &row);

// Keeps the compiler from dropping what was computed, and from assuming that memory stayed as it
// was.
template <typename Value>
inline void keep(Value const &value) {
  __asm__ volatile("" : : "g"(&value) : "memory");
}

// A result in a register.
template <typename Value>
inline void keep_result(Value value) {
  __asm__ volatile("" : : "r"(value));
}

// The pointer, whose target the compiler then knows nothing about.
template <typename Target>
inline Target *unknown(Target *pointer) {
  __asm__ volatile("" : "+r"(pointer) : : "memory");
  return pointer;
}

// Calls `work` n times.
template <typename Work>
Body repeat(Work work) {
  return [work](long n) mutable {
    for (; n > 0; --n)
      work();
  };
}

// The floor for work of a few nanoseconds: the call alone.
inline Body empty_call() {
  return repeat([] { keep_result(orla_bench_nothing(nullptr, nullptr)); });
}

}  // namespace bench

#endif
