// What the lines of a profile file mean: headers, keys and values, as pure functions over their
// text.
//
// A line is read as a C string is: a zero byte in it ends the text.

#ifndef ORLA_PROFILE_PROFILE_LINE_H
#define ORLA_PROFILE_PROFILE_LINE_H

#include <cstddef>
#include <optional>
#include <string_view>

namespace orla {

// How much of a line must equal "[name]" for the line to be the header.
enum class HeaderRule {
  whole_line,
  // Quirk: as many characters as the name has. The name's last one and the closing bracket are not
  // compared.
  length_of_name,
};

// Finds the first header of section `name` in `lines`, which are whole, each with its line feed.
// Returns the number of characters up to and with the header's line feed; none where there is no
// header.
[[nodiscard]] std::optional<std::size_t> find_header_end(std::string_view lines,
                                                         std::string_view name, HeaderRule rule);

// Not tolower(), which follows the locale of the process.
inline char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

// Whether `line` begins with `text`, such as a key, letter case ignored. `text` holds no zero byte,
// so one in the line never matches.
// Quirk: the rest of the line does not matter; the key "Port" is found in "PortNumber=77".
inline bool begins_with(std::string_view line, std::string_view text) {
  if (line.size() < text.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i)
    if (line[i] != text[i] && lower(line[i]) != lower(text[i])) return false;
  return true;
}

// Quirk: an empty line ends a section, and a header does not.
inline bool is_empty_line(std::string_view line) { return line.empty() || line[0] == '\0'; }

// The text after the last "=" of a line, if it has one. Quirk: after the last, not the first.
[[nodiscard]] std::optional<std::string_view> value_of_line(std::string_view line);

// Whether a value counts as no value: empty, or spaces alone. A tab is text.
[[nodiscard]] bool is_blank(std::string_view value);

// The number that the digits at the start of a value make, 0 to 99999. Quirk: 0 without digits, and
// `fallback` for a value of no or of more than 5 characters.
[[nodiscard]] int integer_of_value(std::string_view value, int fallback);

}  // namespace orla

#endif
