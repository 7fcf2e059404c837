// A profile file as the library's readers see it: its lines, and how a header and a key are found.
//
// Lines are not stored but walked through: a file may be nothing but line feeds.

#ifndef ORLA_TOOLS_PROFILE_TEXT_H
#define ORLA_TOOLS_PROFILE_TEXT_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace orla_tool {

struct Line {
  std::string_view text;   // as it is read: without carriage returns, up to a zero byte
  std::size_t number = 0;  // from 1; 0 stands for no line
};

// Goes from line to line of a text in which each ends in a line feed.
class LineWalk {
 public:
  // `passed` lines stand before the text.
  explicit LineWalk(std::string_view text, std::size_t passed = 0) : rest_(text), number_(passed) {}

  // Moves to the next line; false when there is none.
  bool next();

  // Without its line feed.
  std::string_view whole() const { return whole_; }
  Line line() const;

 private:
  std::string_view rest_;
  std::string_view whole_;
  std::size_t number_;
};

// The lines that readers see: those that end in a line feed, up to the first byte 0xFF.
class ProfileText {
 public:
  ProfileText() = default;
  // Views point into the bytes.
  ProfileText(const ProfileText &) = delete;
  ProfileText &operator=(const ProfileText &) = delete;

  void take(std::string bytes);

  const std::string &bytes() const { return bytes_; }
  // As they are read. Lines point into this text.
  LineWalk lines() const { return LineWalk(seen_); }
  LineWalk lines_after(const Line &line) const;
  // Where a line begins in this text, for those who keep many.
  std::uint32_t offset_of(const Line &line) const {
    return static_cast<std::uint32_t>(line.text.data() - seen_.data());
  }
  Line line_at(std::uint32_t offset, std::size_t number) const;
  // The same lines as they stand in the file.
  LineWalk raw_lines() const { return LineWalk(raw_); }
  // What no reader sees: a last line without a line feed, or all from the line with a byte 0xFF on.
  std::string_view rest() const { return std::string_view(bytes_).substr(raw_.size()); }
  bool ends_at_byte_255() const { return rest().find('\xFF') != std::string_view::npos; }

 private:
  std::string bytes_;
  std::string without_returns_;  // the lines, where a carriage return is in them
  std::string_view raw_;
  std::string_view seen_;
};

// Whether a line begins with a text, in any letter case: the letters A to Z are compared as small
// ones, as readers do.
bool begins_with(std::string_view line, std::string_view text);
bool is_same(std::string_view one, std::string_view other);

// The order of texts, in any letter case.
struct InAnyCase {
  bool operator()(std::string_view one, std::string_view other) const;
};

// Lines, in any letter case, and their numbers. Keeps views of what it is given.
class EarlierLines {
 public:
  void add(const Line &line) { numbers_.emplace(line.text, line.number); }
  void clear();

  // The first line that begins with a text.
  Line find(std::string_view text);
  // The number of the first line that is the same; 0 when there is none.
  std::size_t find_same(std::string_view line) const;

 private:
  std::map<std::string_view, std::size_t, InAnyCase> numbers_;
  // What find() found, by what was looked for: a key that stands in every line of a large file
  // would otherwise go through all of them each time. Later lines do not change it.
  std::map<std::string_view, Line, InAnyCase> first_;
};

// Whether a line is "[name]", and nothing else.
bool is_header(std::string_view line);
// Whether the string reader takes a line for a header: it compares no more than the beginning.
inline bool begins_header(std::string_view line) { return line.starts_with('['); }
// The name that a line which begins with "[" is asked for: what stands between the brackets of
// "[name]", and otherwise what stands before the first "]", or all of it.
std::string_view section_name(std::string_view line);
// As much of a section's name as the string reader compares: all but its last character.
std::string_view compared_name(std::string_view name);

// What a person takes for a comment, though the readers know none.
bool looks_like_comment(std::string_view line);

bool has_equals(std::string_view line);
// A line's key: what stands before its first "=".
std::string_view key_of(std::string_view line);
// The same as a person sees it: without spaces and tabs at its end.
std::string_view bare_key_of(std::string_view line);
// What readers take for its value: what stands after its last "=".
std::string_view value_of(std::string_view line);

// How a header is found: by its whole line (the integer reader and the writer), or by as many of
// its characters as the section's name has (the string reader).
enum class HeaderRule { whole_line, beginning };

// The first line that counts as the header.
Line find_header(const ProfileText &text, std::string_view section, HeaderRule rule);

// How a search for a key ends.
struct Search {
  std::string missing;  // why there is no line, for a message; empty when there is one
  Line line;
};

// In messages `name` stands for the file.
Search search_profile(const ProfileText &text, const std::string &name, const std::string &section,
                      const std::string &key, HeaderRule rule);

}  // namespace orla_tool

#endif
