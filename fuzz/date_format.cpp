// The translation of a date format, character by character.

#include <orla/time.h>

#include <string>

#include "kit/agree.h"
#include "kit/block.h"
#include "kit/input.h"
#include "kit/target.h"

namespace {

std::string translate_plainly(const std::string &format) {
  std::string numeric;
  for (std::size_t i = 0; i < format.size(); ++i) {
    if (format[i] != '%') {
      numeric += format[i];
      continue;
    }
    if (++i == format.size()) break;
    if (format[i] == 'm') numeric += "%1$2d";
    if (format[i] == 'd') numeric += "%2$2d";
    if (format[i] == 'y') numeric += "%3$2d";
    if (format[i] == 'Y') numeric += "%3$4d";
    if (format[i] == '%') numeric += "%";
  }
  return numeric;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const std::string format = Input(data, size).text();
  const std::string expected = translate_plainly(format);
  Block numeric(expected.size() + 1);
  k7_date_format(Text(format), numeric.data());
  agree("numeric format", numeric.bytes(), expected + '\0');
  return 0;
}
