#include "profile/rewrite.h"

#include "profile/header_walk.h"
#include "profile/profile_line.h"

namespace orla {
namespace {

void put_entry(TextSink &to, const Entry &entry) {
  to.put(entry.key);
  to.put("=");
  to.put(entry.value);
  to.put("\n");
}

void put_line(TextSink &to, std::string_view line) {
  to.put(line);
  to.put("\n");
}

// Copies the lines of a section up to where the entry belongs, and puts it there.
void place_entry(LineSource &from, TextSink &to, const Entry &entry) {
  while (const auto line = from.next_line()) {
    // Quirk: the key is tested first, so an empty key replaces even an empty line.
    const bool replaces = begins_with(*line, entry.key);
    if (replaces || is_empty_line(*line)) {
      put_entry(to, entry);
      if (!replaces) put_line(to, *line);
      return;
    }
    put_line(to, *line);
  }
  put_entry(to, entry);
}

void copy_rest(LineSource &from, TextSink &to) {
  for (;;) {
    const std::string_view lines = from.lines();
    if (lines.empty()) return;
    to.put(lines);
    from.consume(lines.size());
  }
}

}  // namespace

void put_section(TextSink &to, const Entry &entry) {
  to.put("[");
  to.put(entry.section);
  to.put("]\n");
  put_entry(to, entry);
}

void rewrite(LineSource &from, TextSink &to, const Entry &entry) {
  const auto copy = [&to](std::string_view lines) { to.put(lines); };
  if (walk_past_header(from, entry.section, HeaderRule::whole_line, copy)) {
    place_entry(from, to, entry);
    copy_rest(from, to);
    return;
  }
  to.put("\n");
  put_section(to, entry);
}

}  // namespace orla
