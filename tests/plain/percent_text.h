// A format without arguments, expanded in a slow and plain way, which the library is compared with.

#ifndef ORLA_TESTS_PLAIN_PERCENT_TEXT_H
#define ORLA_TESTS_PLAIN_PERCENT_TEXT_H

#include <cstring>
#include <string>

namespace plain {

// "%%" is one percent sign, "%m" the text of the error number; anything else is left as it is.
inline std::string percent_text(const std::string &format, int error) {
  std::string text;
  for (std::size_t i = 0; i < format.size(); ++i) {
    const std::string pair = format.substr(i, 2);
    if (pair == "%%" || pair == "%m") {
      text += pair == "%%" ? "%" : std::strerror(error);
      ++i;
    } else {
      text += format[i];
    }
  }
  return text;
}

}  // namespace plain

#endif
