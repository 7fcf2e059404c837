// What a reader of a profile file would trip over.

#ifndef ORLA_TOOLS_PROFILE_LINT_H
#define ORLA_TOOLS_PROFILE_LINT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orla_tool {

struct Finding {
  std::size_t line;  // from 1
  std::string kind;  // for programs
  std::string text;
};

// Looks through the bytes of a file, in the order of its lines. A value of one of `integer_keys` is
// expected to be a number.
std::vector<Finding> lint_profile(std::string_view bytes,
                                  const std::vector<std::string> &integer_keys);

}  // namespace orla_tool

#endif
