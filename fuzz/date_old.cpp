// Date text in the old input mode, compared with the C library's sscanf().

#include <cstdlib>

#include "helpers/block.h"
#include "helpers/date_text.h"
#include "helpers/input.h"
#include "helpers/target.h"
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
