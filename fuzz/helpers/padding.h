// Lines before a file, which move its text to where a reader or writer goes from one block to the
// next.

#ifndef ORLA_FUZZ_HELPERS_PADDING_H
#define ORLA_FUZZ_HELPERS_PADDING_H

#include <cstddef>
#include <string>

#include "helpers/input.h"

// Takes two numbers: the number of characters of the padding, and how many of them make a line; 0
// for one line without an end.
inline std::string take_padding(Input &input) {
  constexpr int kLargest = 140000;  // beyond the second block that is read
  std::string padding(static_cast<std::size_t>(input.number(0, kLargest)), 'x');
  const auto width = static_cast<std::size_t>(input.number(0, kLargest));
  if (width == 0) return padding;
  for (std::size_t at = width - 1; at < padding.size(); at += width)
    padding[at] = '\n';
  return padding;
}

#endif
