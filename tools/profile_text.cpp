#include "profile_text.h"

#include <algorithm>

namespace orla_tool {
namespace {

char small_letter(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

bool is_header_of(std::string_view line, std::string_view section, HeaderRule rule) {
  if (rule == HeaderRule::whole_line)
    return line.size() == section.size() + 2 && line.front() == '[' && line.back() == ']' &&
           begins_with(line.substr(1), section);
  // Of an empty name nothing is compared, not even the bracket.
  return section.empty() ||
         (begins_header(line) && begins_with(line.substr(1), compared_name(section)));
}

}  // namespace

bool LineWalk::next() {
  if (rest_.empty()) return false;
  whole_ = rest_.substr(0, rest_.find('\n'));
  rest_.remove_prefix(whole_.size() + 1);
  ++number_;
  return true;
}

Line LineWalk::line() const { return {whole_.substr(0, whole_.find('\0')), number_}; }

void ProfileText::take(std::string bytes) {
  bytes_ = std::move(bytes);
  raw_ = std::string_view(bytes_).substr(0, bytes_.find('\xFF'));
  raw_ = raw_.substr(0, raw_.rfind('\n') + 1);  // without a line feed the sum is 0
  seen_ = raw_;
  if (raw_.find('\r') == std::string_view::npos) return;
  without_returns_.reserve(raw_.size());
  std::remove_copy(raw_.begin(), raw_.end(), std::back_inserter(without_returns_), '\r');
  seen_ = without_returns_;
}

LineWalk ProfileText::lines_after(const Line &line) const {
  return LineWalk(seen_.substr(seen_.find('\n', offset_of(line)) + 1), line.number);
}

Line ProfileText::line_at(std::uint32_t offset, std::size_t number) const {
  LineWalk walk(seen_.substr(offset), number - 1);
  walk.next();
  return walk.line();
}

bool begins_with(std::string_view line, std::string_view text) {
  return line.size() >= text.size() && is_same(line.substr(0, text.size()), text);
}

bool is_same(std::string_view one, std::string_view other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [](char a, char b) { return small_letter(a) == small_letter(b); });
}

bool InAnyCase::operator()(std::string_view one, std::string_view other) const {
  const auto [a, b] =
      std::mismatch(one.begin(), one.end(), other.begin(), other.end(),
                    [](char x, char y) { return x == y || small_letter(x) == small_letter(y); });
  if (b == other.end()) return false;
  return a == one.end() || small_letter(*a) < small_letter(*b);
}

void EarlierLines::clear() {
  numbers_.clear();
  first_.clear();
}

Line EarlierLines::find(std::string_view text) {
  if (const auto known = first_.find(text); known != first_.end()) return known->second;
  Line first;
  for (auto line = numbers_.lower_bound(text);
       line != numbers_.end() && begins_with(line->first, text); ++line) {
    if (first.number == 0 || line->second < first.number) first = {line->first, line->second};
  }
  if (first.number != 0) first_.emplace(text, first);
  return first;
}

std::size_t EarlierLines::find_same(std::string_view line) const {
  const auto found = numbers_.find(line);
  return found == numbers_.end() ? 0 : found->second;
}

bool is_header(std::string_view line) {
  return line.size() > 2 && line.front() == '[' && line.back() == ']';
}

std::string_view section_name(std::string_view line) {
  const std::size_t end = is_header(line) ? line.size() - 1 : line.find(']');
  return line.substr(1, end - 1);  // without "]" all that is left
}

std::string_view compared_name(std::string_view name) {
  return name.substr(0, name.empty() ? 0 : name.size() - 1);
}

bool looks_like_comment(std::string_view line) {
  return line.starts_with(';') || line.starts_with('#');
}

bool has_equals(std::string_view line) { return line.find('=') != std::string_view::npos; }

std::string_view key_of(std::string_view line) { return line.substr(0, line.find('=')); }

std::string_view bare_key_of(std::string_view line) {
  const std::string_view key = key_of(line);
  return key.substr(0, key.find_last_not_of(" \t") + 1);  // of blanks alone nothing is left
}

std::string_view value_of(std::string_view line) { return line.substr(line.rfind('=') + 1); }

Line find_header(const ProfileText &text, std::string_view section, HeaderRule rule) {
  for (LineWalk walk = text.lines(); walk.next();)
    if (is_header_of(walk.line().text, section, rule)) return walk.line();
  return {};
}

Search search_profile(const ProfileText &text, const std::string &name, const std::string &section,
                      const std::string &key, HeaderRule rule) {
  const Line header = find_header(text, section, rule);
  if (header.number == 0) return {name + " has no section [" + section + "]", {}};
  const std::string place = "section [" + section + "] of " + name + ", line " +
                            std::to_string(header.number) + ", has no key \"" + key + "\"";
  for (LineWalk walk = text.lines_after(header); walk.next();) {
    const Line line = walk.line();
    if (line.text.empty())
      return {place + " before the empty line " + std::to_string(line.number), {}};
    if (begins_with(line.text, key)) return {"", line};
  }
  return {place + " up to the end of the file", {}};
}

}  // namespace orla_tool
