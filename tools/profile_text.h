// A profile file as the library's readers see it: its lines, its sections and their keys.

#ifndef ORLA_TOOLS_PROFILE_TEXT_H
#define ORLA_TOOLS_PROFILE_TEXT_H

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace orla_tool {

struct ProfileLine {
  std::string_view raw;  // as it stands in the file, without its line feed
  std::string text;      // as it is read: without carriage returns, up to a zero byte
};

// The lines that readers see: those that end in a line feed, up to the first byte 0xFF.
class ProfileText {
 public:
  ProfileText() = default;
  // Lines point into the bytes.
  ProfileText(const ProfileText &) = delete;
  ProfileText &operator=(const ProfileText &) = delete;

  void take(std::string bytes);

  const std::string &bytes() const { return bytes_; }
  std::size_t size() const { return lines_.size(); }
  // By its number, from 1.
  const ProfileLine &line(std::size_t number) const { return lines_[number - 1]; }
  const std::string &line_text(std::size_t number) const { return line(number).text; }
  // What no reader sees: a last line without a line feed, or all from the line with a byte 0xFF on.
  std::string_view rest() const { return rest_; }
  bool ends_at_byte_255() const { return rest_.find('\xFF') != std::string_view::npos; }

 private:
  std::string bytes_;
  std::vector<ProfileLine> lines_;
  std::string_view rest_;
};

// With the letters A to Z as small ones, as sections and keys are compared.
std::string in_small_letters(std::string_view text);

// Whether a line begins with a text, in any letter case.
bool begins_with(std::string_view line, std::string_view text);

// Lines, in any letter case, and their numbers.
class EarlierLines {
 public:
  void add(std::string_view line, std::size_t number);
  void clear();

  // The number of the first line that begins with a text; 0 when there is none.
  std::size_t find(std::string_view text);
  // The number of the first line that is the same; 0 when there is none.
  std::size_t find_same(std::string_view line) const;

 private:
  std::map<std::string, std::size_t> numbers_;  // by the lines in small letters
  // What find() found, by what was looked for: a key that stands in every line of a large file
  // would otherwise go through all of them each time. Later lines do not change it.
  std::map<std::string, std::size_t> first_;
};

// Whether a line is "[name]", and nothing else.
bool is_header(std::string_view line);
std::string_view name_in(std::string_view header);

// What a person takes for a comment, though the readers know none.
bool looks_like_comment(std::string_view line);

// The name of a line's key: what stands before its first "=", without spaces and tabs at its end.
// Empty where there is none.
std::string_view key_of(std::string_view line);
// What readers take for its value: what stands after its last "=".
std::string_view value_of(std::string_view line);

// How a header is found: by its whole line (the integer reader and the writer), or by as many of
// its characters as the section's name has (the string reader).
enum class HeaderRule { whole_line, beginning };

// The number of the first line that counts as the header; 0 when there is none.
std::size_t find_header(const ProfileText &text, std::string_view section, HeaderRule rule);

// How a search for a key ends.
struct Search {
  std::string missing;     // why there is no line, for a message; empty when there is one
  std::size_t number = 0;  // of the line
};

// In messages `name` stands for the file.
Search search_profile(const ProfileText &text, const std::string &name, const std::string &section,
                      const std::string &key, HeaderRule rule);

struct ProfileEntry {
  std::string key;
  std::string value;
  std::size_t line;
};

struct ProfileSection {
  std::string name;
  std::size_t line;  // of its header
  std::vector<ProfileEntry> entries;
};

// The sections, each once, with the entries that the string reader finds in them. Lines that look
// like comments are left out.
std::vector<ProfileSection> sections_of(const ProfileText &text);

// The section with this name, in any letter case; null when there is none.
const ProfileSection *find_section(const std::vector<ProfileSection> &sections,
                                   std::string_view name);

}  // namespace orla_tool

#endif
