#include "profile/profile_line.h"

#include <cstring>

namespace orla {
namespace {

constexpr std::size_t kLongestInteger = 5;  // characters

std::string_view behind(std::string_view text, std::size_t count) {
  text.remove_prefix(count);
  return text;
}

std::size_t size_of_first_line(std::string_view lines) {
  return static_cast<std::size_t>(
      static_cast<const char *>(std::memchr(lines.data(), '\n', lines.size())) - lines.data());
}

// Whether the first of `lines`, which begins with "[", is the header of section `name`.
bool is_header(std::string_view lines, std::string_view name, HeaderRule rule) {
  const std::string_view line(lines.data(), size_of_first_line(lines));
  const std::string_view inside = behind(line, 1);
  if (rule == HeaderRule::length_of_name) {
    name.remove_suffix(1);
    return begins_with(inside, name);
  }
  if (!begins_with(inside, name)) return false;
  const std::string_view tail = behind(inside, name.size());
  return !tail.empty() && tail[0] == ']' && is_empty_line(behind(tail, 1));
}

}  // namespace

std::size_t find_behind_header(std::string_view lines, std::string_view name, HeaderRule rule) {
  // Nothing is compared, so any line will do.
  if (name.empty() && rule == HeaderRule::length_of_name) return size_of_first_line(lines) + 1;
  // Brackets are rare and lines are many: going from bracket to bracket is several times as fast as
  // going from line to line.
  std::size_t start = 0;
  while (start < lines.size()) {
    const std::string_view rest = behind(lines, start);
    const auto *bracket = static_cast<const char *>(std::memchr(rest.data(), '[', rest.size()));
    if (bracket == nullptr) return 0;
    const auto at = static_cast<std::size_t>(bracket - lines.data());
    const bool begins_line = at == 0 || lines[at - 1] == '\n';
    const std::string_view found = behind(lines, at);
    const std::size_t behind_line = at + size_of_first_line(found) + 1;
    if (begins_line && is_header(found, name, rule)) return behind_line;
    start = behind_line;
  }
  return 0;
}

bool value_of_line(std::string_view line, std::string_view &value) {
  const std::string_view text(line.data(), strnlen(line.data(), line.size()));
  const auto *equals = static_cast<const char *>(memrchr(text.data(), '=', text.size()));
  if (equals == nullptr) return false;
  value = behind(text, static_cast<std::size_t>(equals + 1 - text.data()));
  return true;
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
