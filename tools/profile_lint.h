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

struct LintOptions {
  std::vector<std::string> integer_keys;  // whose values should be numbers
  std::vector<std::string> ignored;       // kinds of findings
};

// Looks through a file, in the order of its lines, until there are more findings than anybody
// reads.
std::vector<Finding> lint_profile(const ProfileText &text, const LintOptions &options);

}  // namespace orla_tool

#endif
