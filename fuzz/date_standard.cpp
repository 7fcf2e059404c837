// Date text in the standard input mode, against the C library's strptime().

#include <cstdlib>
#include <ctime>

#include "kit/agree.h"
#include "kit/block.h"
#include "kit/input.h"
#include "kit/plain_date.h"
#include "kit/target.h"

namespace {

constexpr const char *kFormat = "%m/%d/%Y";

// The mode of the process is decided at its first parse.
[[maybe_unused]] const int mode = unsetenv("ORLALS_DATE_FORMAT_OLD");

std::tm strptime_plainly(const char *text) {
  std::tm read = {};
  read.tm_year = -1;
  strptime(text, kFormat, &read);
  if (read.tm_year > 1900) read.tm_year -= 1900;
  return read;
}

DateFields read_plainly(const std::tm &read) {
  const std::int32_t year = read.tm_year > 1900 ? read.tm_year - 1900 : read.tm_year;
  return {year, read.tm_mon + 1, read.tm_mday};
}

// Only day, month and year of the record are set.
void check_strptime(const char *text, const std::tm &plain) {
  std::tm expected = {1, 2, 3, plain.tm_mday, plain.tm_mon, plain.tm_year, 4, 5, 6, 7, "zone"};
  std::tm fields = {1, 2, 3, -7, -7, -7, 4, 5, 6, 7, expected.tm_zone};
  orla_strptime(text, kFormat, &fields);
  agree("tm_mday", fields.tm_mday, expected.tm_mday);
  agree("tm_mon", fields.tm_mon, expected.tm_mon);
  agree("tm_year", fields.tm_year, expected.tm_year);
  agree("other fields", std::memcmp(&fields, &expected, sizeof fields), 0);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  Text text(Input(data, size).text());
  const std::tm read = strptime_plainly(text);
  check_strptime(text, read);
  check_date_text(text, within_range(read_plainly(read)));
  return 0;
}
