#include "rows.h"

#include <chrono>

namespace bench {
namespace {

// Measured whatever else is: how much it varies tells how quiet the machine is.
const Rows reference([] { Table("An empty call").floor("an empty call", empty_call()); });

}  // namespace

std::vector<Row> &registered_rows() {
  static std::vector<Row> rows;
  return rows;
}

const char *role_name(Role role) {
  switch (role) {
    case Role::floor:
      return "floor";
    case Role::ours:
      return "ours";
    default:
      return "peer";
  }
}

void calibrate(Row &row) {
  using Clock = std::chrono::steady_clock;
  row.body(1);  // the cost of the first call alone is not measured
  for (row.batch = 1;; row.batch *= 2) {
    const auto start = Clock::now();
    row.body(row.batch);
    if (Clock::now() - start >= std::chrono::milliseconds(1)) return;
  }
}

}  // namespace bench
