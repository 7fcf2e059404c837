// The two formats in which dates and times are written and read.

#ifndef ORLA_TIME_DATE_FORMAT_H
#define ORLA_TIME_DATE_FORMAT_H

namespace orla {

// 0 selects the short date, anything else the long time. Years always have four digits: there is no
// pivot year anywhere.
constexpr const char *orla_century_fmt(int selector) {
  return selector == 0 ? "%m/%d/%Y" : "%a %b %e %H:%M:%S %Y";
}

}  // namespace orla

#endif
