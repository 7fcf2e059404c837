#include "profile/profile_line.h"

#include <cstring>

namespace orla {
namespace {

constexpr std::size_t kLongestInteger = 5;  // characters

std::string_view after(std::string_view text, std::size_t count) {
  text.remove_prefix(count);
  return text;
}

bool ends_line(char c) { return c == '\n' || c == '\0'; }

}  // namespace

std::optional<std::size_t> find_header_end(std::string_view lines, std::string_view name,
                                           HeaderRule rule) {
  if (rule == HeaderRule::length_of_name) {
    // Nothing is compared, so any line will do.
    if (name.empty()) return lines.find('\n') + 1;
    name.remove_suffix(1);
  }
  // No line holds one.
  if (name.find('\n') != std::string_view::npos) return {};
  // Brackets are rare and lines are many: going from bracket to bracket is several times as fast as
  // going from line to line.
  for (std::size_t at = 0; (at = lines.find('[', at)) != std::string_view::npos; ++at) {
    if (at != 0 && lines[at - 1] != '\n') continue;
    const std::string_view inside = after(lines, at + 1);
    if (!begins_with(inside, name)) continue;
    const std::string_view rest = after(inside, name.size());  // a line feed at least
    if (rule == HeaderRule::whole_line && !(rest[0] == ']' && ends_line(rest[1]))) continue;
    return lines.size() - rest.size() + rest.find('\n') + 1;
  }
  return {};
}

std::optional<std::string_view> value_of_line(std::string_view line) {
  const std::string_view text(line.data(), strnlen(line.data(), line.size()));
  const std::size_t equals = text.rfind('=');
  if (equals == std::string_view::npos) return {};
  return after(text, equals + 1);
}

bool is_blank(std::string_view value) {
  return value.find_first_not_of(' ') == std::string_view::npos;
}

int integer_of_value(std::string_view value, int fallback) {
  if (value.empty() || value.size() > kLongestInteger) return fallback;
  int number = 0;  // up to 99999
  for (const char c : value) {
    if (c < '0' || c > '9') break;
    number = number * 10 + (c - '0');
  }
  return number;
}

}  // namespace orla
