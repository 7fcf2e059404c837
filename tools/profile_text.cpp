#include "profile_text.h"

#include <algorithm>
#include <set>

namespace orla_tool {
namespace {

std::string as_read(std::string_view raw) {
  std::string text(raw);
  std::erase(text, '\r');
  text.resize(std::min(text.size(), text.find('\0')));
  return text;
}

// Gathers sections from the lines of a file, one after the other.
class SectionReader {
 public:
  void look_at(const std::string &line, std::size_t number) {
    if (is_header(line)) {
      begin(line, number);
    } else if (line.empty()) {
      is_open_ = false;
    } else if (is_open_) {
      look_at_entry(line, number);
    }
    if (line.starts_with('[')) headers_.add(line, number);
  }

  std::vector<ProfileSection> take() { return std::move(sections_); }

 private:
  void begin(const std::string &header, std::size_t number) {
    const std::string name(name_in(header));
    is_open_ = headers_.find(searched_header(name)) == 0;
    lines_.clear();
    if (names_.insert(in_small_letters(name)).second) sections_.push_back({name, number, {}});
  }

  // What the string reader compares: as many characters as the name has.
  static std::string searched_header(const std::string &name) {
    return ('[' + name).substr(0, name.size());
  }

  void look_at_entry(const std::string &line, std::size_t number) {
    const std::string_view key = key_of(line);
    const bool is_seen = !key.empty() && !looks_like_comment(line) && lines_.find(key) == 0;
    if (is_seen)
      sections_.back().entries.push_back({std::string(key), std::string(value_of(line)), number});
    lines_.add(line, number);
  }

  std::vector<ProfileSection> sections_;
  std::set<std::string> names_;  // theirs, in small letters
  bool is_open_ = false;         // whether entries that follow are found
  EarlierLines headers_;         // all lines so far that begin with "["
  EarlierLines lines_;           // those of the section
};

}  // namespace

void ProfileText::take(std::string bytes) {
  bytes_ = std::move(bytes);
  std::string_view seen(bytes_.data(), std::min(bytes_.find('\xFF'), bytes_.size()));
  for (std::size_t end; (end = seen.find('\n')) != std::string_view::npos;
       seen.remove_prefix(end + 1))
    lines_.push_back({seen.substr(0, end), as_read(seen.substr(0, end))});
  rest_ = std::string_view(bytes_).substr(static_cast<std::size_t>(seen.data() - bytes_.data()));
}

std::string in_small_letters(std::string_view text) {
  std::string out(text);
  for (char &c : out)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
  return out;
}

bool begins_with(std::string_view line, std::string_view text) {
  return in_small_letters(line.substr(0, text.size())) == in_small_letters(text);
}

void EarlierLines::add(std::string_view line, std::size_t number) {
  numbers_.emplace(in_small_letters(line), number);
}

void EarlierLines::clear() {
  numbers_.clear();
  first_.clear();
}

std::size_t EarlierLines::find(std::string_view text) {
  const std::string wanted = in_small_letters(text);
  if (const auto known = first_.find(wanted); known != first_.end()) return known->second;
  std::size_t first = 0;
  for (auto line = numbers_.lower_bound(wanted);
       line != numbers_.end() && line->first.starts_with(wanted); ++line) {
    if (first == 0 || line->second < first) first = line->second;
  }
  if (first != 0) first_.emplace(wanted, first);
  return first;
}

std::size_t EarlierLines::find_same(std::string_view line) const {
  const auto found = numbers_.find(in_small_letters(line));
  return found == numbers_.end() ? 0 : found->second;
}

bool is_header(std::string_view line) {
  return line.size() > 2 && line.front() == '[' && line.back() == ']';
}

std::string_view name_in(std::string_view header) { return header.substr(1, header.size() - 2); }

bool looks_like_comment(std::string_view line) {
  return line.starts_with(';') || line.starts_with('#');
}

std::string_view key_of(std::string_view line) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) return {};
  const std::size_t last = line.substr(0, equals).find_last_not_of(" \t");
  return last == std::string_view::npos ? std::string_view() : line.substr(0, last + 1);
}

std::string_view value_of(std::string_view line) { return line.substr(line.rfind('=') + 1); }

std::size_t find_header(const ProfileText &text, std::string_view section, HeaderRule rule) {
  const std::string header = '[' + std::string(section) + ']';
  for (std::size_t number = 1; number <= text.size(); ++number) {
    const std::string &line = text.line_text(number);
    const bool is_found = rule == HeaderRule::whole_line
                              ? line.size() == header.size() && begins_with(line, header)
                              : begins_with(line, header.substr(0, section.size()));
    if (is_found) return number;
  }
  return 0;
}

Search search_profile(const ProfileText &text, const std::string &name, const std::string &section,
                      const std::string &key, HeaderRule rule) {
  const std::size_t header = find_header(text, section, rule);
  if (header == 0) return {name + " has no section [" + section + "]"};
  const std::string place = "section [" + section + "] of " + name + ", line " +
                            std::to_string(header) + ", has no key \"" + key + "\"";
  for (std::size_t number = header + 1; number <= text.size(); ++number) {
    const std::string &line = text.line_text(number);
    if (line.empty()) return {place + " before the empty line " + std::to_string(number)};
    if (begins_with(line, key)) return {"", number};
  }
  return {place + " up to the end of the file"};
}

std::vector<ProfileSection> sections_of(const ProfileText &text) {
  SectionReader reader;
  for (std::size_t number = 1; number <= text.size(); ++number)
    reader.look_at(text.line_text(number), number);
  return reader.take();
}

const ProfileSection *find_section(const std::vector<ProfileSection> &sections,
                                   std::string_view name) {
  const std::string wanted = in_small_letters(name);
  const auto found = std::find_if(
      sections.begin(), sections.end(),
      [&](const ProfileSection &each) { return in_small_letters(each.name) == wanted; });
  return found == sections.end() ? nullptr : &*found;
}

}  // namespace orla_tool
