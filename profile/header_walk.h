// The search for the header of a section: the readers skip the lines before it, the writer copies
// them.

#ifndef ORLA_PROFILE_HEADER_WALK_H
#define ORLA_PROFILE_HEADER_WALK_H

#include <string_view>

#include "profile/line_source.h"
#include "profile/profile_line.h"

namespace orla {

// Consumes the lines up to the header of section `name`, the header included, and passes them to
// `pass`, piece by piece. False when there is no such header; then all lines are consumed.
template <typename Pass>
[[nodiscard]] bool walk_past_header(LineSource &from, std::string_view name, HeaderRule rule,
                                    Pass pass) {
  for (;;) {
    const std::string_view lines = from.lines();
    if (lines.empty()) return false;
    const auto header_end = find_header_end(lines, name, rule);
    const std::string_view passed(lines.data(), header_end.value_or(lines.size()));
    pass(passed);
    from.consume(passed.size());
    if (header_end) return true;
  }
}

}  // namespace orla

#endif
