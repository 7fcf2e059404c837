// Date text in the standard input mode, compared with the C library's strptime().

#include <cstdlib>
#include <cstring>
#include <ctime>

#include "helpers/agree.h"
#include "helpers/block.h"
#include "helpers/date_text.h"
#include "helpers/input.h"
#include "helpers/target.h"
#include "plain/date.h"

namespace {

// The mode of the process is decided at its first parse.
[[maybe_unused]] const int mode = unsetenv("ORLALS_DATE_FORMAT_OLD");

// Only day, month and year of the record are set.
void check_strptime(const char *text) {
  const std::tm plain = plain::strptime_fields(text);
  std::tm expected = {1, 2, 3, plain.tm_mday, plain.tm_mon, plain.tm_year, 4, 5, 6, 7, "zone"};
  std::tm fields;
  std::memcpy(&fields, &expected, sizeof fields);  // its padding too
  fields.tm_mday = fields.tm_mon = fields.tm_year = -7;
  orla_strptime(text, "%m/%d/%Y", &fields);
  agree("tm_mday", fields.tm_mday, expected.tm_mday);
  agree("tm_mon", fields.tm_mon, expected.tm_mon);
  agree("tm_year", fields.tm_year, expected.tm_year);
  agree("other fields", std::memcmp(&fields, &expected, sizeof fields), 0);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  Text text(Input(data, size).text());
  check_strptime(text);
  check_date_text(text, plain::standard_date(text));
  return 0;
}
