// What in a profile file is not read as it looks.

#ifndef ORLA_TOOLS_PROFILE_LINT_H
#define ORLA_TOOLS_PROFILE_LINT_H

#include <cstddef>
#include <string>
#include <vector>

#include "profile_text.h"

namespace orla_tool {

struct Finding {
  std::size_t line;  // from 1
  std::string kind;  // for programs
  std::string text;
};

// Every kind of finding there is.
const std::vector<std::string> &kinds_of_findings();

// Looks through a file, in the order of its lines. A value of one of `integer_keys` should be a
// number.
std::vector<Finding> lint_profile(const ProfileText &text,
                                  const std::vector<std::string> &integer_keys);

}  // namespace orla_tool

#endif
