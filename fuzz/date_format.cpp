// The translation of a date format, character by character.

#include <orla/time.h>

#include <string>

#include "helpers/agree.h"
#include "helpers/block.h"
#include "helpers/input.h"
#include "helpers/target.h"
#include "plain/date.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const std::string format = Input(data, size).text();
  const std::string expected = plain::date_format(format);
  Block numeric(expected.size() + 1);
  k7_date_format(Text(format), numeric.data());
  agree("numeric format", numeric.bytes(), expected + '\0');
  return 0;
}
