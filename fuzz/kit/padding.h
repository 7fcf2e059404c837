// Lines before a file, which bring it to where a reader or writer goes on from one block to the next.

#ifndef ORLA_FUZZ_KIT_PADDING_H
#define ORLA_FUZZ_KIT_PADDING_H

#include <cstddef>
#include <string>

#include "kit/input.h"

// Takes two numbers: the characters of the padding, and how many of them make a line; 0 for one line
// that does not end.
inline std::string take_padding(Input &input) {
  constexpr int kLargest = 140000;  // beyond the second block of whatever is read
  std::string padding(static_cast<std::size_t>(input.number(0, kLargest)), 'x');
  const auto width = static_cast<std::size_t>(input.number(0, kLargest));
  if (width == 0) return padding;
  for (std::size_t at = width - 1; at < padding.size(); at += width)
    padding[at] = '\n';
  return padding;
}

#endif
