// The translation of a date format, character by character: what k7_date_format() is compared with.

#ifndef ORLA_TESTS_KIT_PLAIN_DATE_FORMAT_H
#define ORLA_TESTS_KIT_PLAIN_DATE_FORMAT_H

#include <string>

inline std::string plain_date_format(const std::string &format) {
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

#endif
