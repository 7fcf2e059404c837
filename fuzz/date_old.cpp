// Date text in the old input mode, against the C library's sscanf().

#include <cstdlib>

#include "kit/block.h"
#include "kit/date_text.h"
#include "kit/input.h"
#include "kit/target.h"
#include "plain/date.h"

namespace {

// The mode of the process is decided at its first parse.
[[maybe_unused]] const int mode = setenv("ORLALS_DATE_FORMAT_OLD", "", 1);

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  Text text(Input(data, size).text());
  check_date_text(text, plain::old_date(text));
  return 0;
}
