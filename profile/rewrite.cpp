#include "profile/rewrite.h"

#include "profile/profile_line.h"

namespace orla {
namespace {

// Copies the lines up to and with the header of `section`; false when there is none, and all are copied.
bool copy_through_header(LineSource &from, TextSink &to, std::string_view section) {
  for (;;) {
    const std::string_view lines = from.lines();
    if (lines.empty()) return false;
    const std::size_t header_end = find_behind_header(lines, section, HeaderRule::whole_line);
    const std::size_t size = header_end != 0 ? header_end : lines.size();
    to.put({lines.data(), size});
    from.consume(size);
    if (header_end != 0) return true;
  }
}

void put_line(TextSink &to, std::string_view line) {
  to.put(line);
  to.put("\n");
}

// Copies the lines of a section up to where the entry belongs, and puts it there.
void place_entry(LineSource &from, TextSink &to, const Entry &entry) {
  std::string_view line;
  while (from.next_line(line)) {
    // The key is tested first, so an empty key replaces even an empty line.
    const bool replaces = begins_with(line, entry.key);
    if (replaces || is_empty_line(line)) {
      put_entry(to, entry);
      if (!replaces) put_line(to, line);
      return;
    }
    put_line(to, line);
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

void put_header(TextSink &to, const Entry &entry) {
  to.put("[");
  to.put(entry.section);
  to.put("]\n");
}

void put_entry(TextSink &to, const Entry &entry) {
  to.put(entry.key);
  to.put("=");
  to.put(entry.value);
  to.put("\n");
}

void rewrite(LineSource &from, TextSink &to, const Entry &entry) {
  if (copy_through_header(from, to, entry.section)) {
    place_entry(from, to, entry);
    copy_rest(from, to);
    return;
  }
  to.put("\n");
  put_header(to, entry);
  put_entry(to, entry);
}

}  // namespace orla
