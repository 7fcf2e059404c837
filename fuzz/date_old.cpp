// Date text in the old input mode, against the C library's sscanf().

#include <cstdio>
#include <cstdlib>
#include <optional>

#include "kit/block.h"
#include "kit/input.h"
#include "kit/plain_date.h"
#include "kit/target.h"

namespace {

// The mode of the process is decided at its first parse.
[[maybe_unused]] const int mode = setenv("ORLALS_DATE_FORMAT_OLD", "", 1);

std::optional<DateFields> read_plainly(const char *text) {
  DateFields read;
  if (std::sscanf(text, "%d %d %d", &read.year, &read.month, &read.day) != 3 &&
      std::sscanf(text, "%d/%d/%d", &read.year, &read.month, &read.day) != 3) {
    return std::nullopt;
  }
  if (read.year > 1900) read.year -= 1900;
  return within_range(read);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  Text text(Input(data, size).text());
  check_date_text(text, read_plainly(text));
  return 0;
}
