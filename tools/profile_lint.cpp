#include "profile_lint.h"

#include <orla/profile.h>

#include <algorithm>
#include <map>

namespace orla_tool {
namespace {

constexpr std::size_t kLongestLine = ORLA_PROFILE_LINE_SIZE - 1;
constexpr std::size_t kLongestInteger = 5;
constexpr const char *kWhiteSpace = " \t";

std::string lower(std::string_view text) {
  std::string out(text);
  for (char &c : out)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
  return out;
}

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(kWhiteSpace);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kWhiteSpace) + 1 - begin);
}

std::string in_quotes(std::string_view text) {
  std::string out("\"");
  return out.append(text).append("\"");
}

bool is_bracketed(std::string_view text) {
  return text.size() >= 2 && text.front() == '[' && text.back() == ']';
}

// What a person takes for an entry: not a remark, though the readers know none.
bool looks_like_entry(std::string_view line) {
  return line.find('=') != std::string_view::npos && line[0] != ';' && line[0] != '#';
}

class Linter {
 public:
  explicit Linter(const std::vector<std::string> &integer_keys) : integer_keys_(integer_keys) {}

  std::vector<Finding> run(std::string_view bytes) {
    for (std::size_t end; (end = bytes.find_first_of("\n\xFF")) != std::string_view::npos;
         bytes.remove_prefix(end + 1)) {
      ++number_;
      if (bytes[end] == '\xFF') {
        find_byte_255(bytes.size() - end - 1);
        return finish();
      }
      std::string line(bytes.substr(0, end));
      std::erase(line, '\r');
      look_at(line);
    }
    ++number_;
    if (!bytes.empty())
      add("no_line_feed",
          "the last line has no line feed: no reader sees it, and a rewrite drops it");
    return finish();
  }

 private:
  void add(const char *kind, const std::string &text) { add_at(number_, kind, text); }
  void add_at(std::size_t line, const char *kind, const std::string &text) {
    findings_.push_back({line, kind, text});
  }

  std::vector<Finding> finish() {
    std::stable_sort(findings_.begin(), findings_.end(),
                     [](const Finding &a, const Finding &b) { return a.line < b.line; });
    return std::move(findings_);
  }

  void find_byte_255(std::size_t behind) {
    add("byte_255", "a byte 0xFF ends the file here: this line and the " + std::to_string(behind) +
                        " bytes behind it are invisible, and a rewrite drops them");
  }

  void look_at(const std::string &line) {
    if (line.size() > kLongestLine)
      add("long_line", std::to_string(line.size()) + " characters: orla_i_cfg_read_line() keeps " +
                           std::to_string(kLongestLine));
    const std::string_view bare = trimmed(line);
    if (is_bracketed(bare)) {
      look_at_header(line, bare);
    } else if (line.empty()) {
      if (ended_by_ == 0) ended_by_ = number_;
    } else if (looks_like_entry(line)) {
      look_at_entry(line);
    } else if (ended_by_ == 0) {
      earlier_.emplace(lower(line), number_);  // no entry, but what begins with a key hides it
    }
  }

  void look_at_header(std::string_view line, std::string_view bare) {
    if (bare.size() != line.size())
      add("spaced_header", "white space around " + std::string(bare) +
                               ": the integer reader and the writer do not take it for a header");
    section_ = bare;
    ended_by_ = 0;
    cut_is_told_ = false;
    earlier_.clear();
  }

  void look_at_entry(const std::string &line) {
    if (section_.empty()) return;
    if (ended_by_ != 0) {
      tell_cut();
      return;
    }
    look_for_hiding(line);
    look_at_integer(line);
  }

  void tell_cut() {
    if (cut_is_told_) return;
    cut_is_told_ = true;
    add_at(ended_by_, "section_cut",
           "an empty line ends section " + section_ + " here: its entries from line " +
               std::to_string(number_) + " on are not found");
  }

  // A key is looked for by the beginning of lines, so any earlier line that begins with it hides it.
  void look_for_hiding(const std::string &line) {
    const std::string_view key = trimmed(std::string_view(line).substr(0, line.find('=')));
    const std::string wanted = lower(key);
    const auto earlier = earlier_.lower_bound(wanted);
    if (!wanted.empty() && earlier != earlier_.end() && earlier->first.starts_with(wanted))
      add("hidden_key", "key " + in_quotes(key) + " is hidden by line " +
                            std::to_string(earlier->second) + ", which begins with it too");
    earlier_.emplace(lower(line), number_);
  }

  void look_at_integer(std::string_view line) {
    const std::string_view value = line.substr(line.rfind('=') + 1);
    if (value.size() <= kLongestInteger) return;
    for (const std::string &key : integer_keys_)
      if (lower(line).starts_with(lower(key)))
        add("long_integer",
            "the value of " + in_quotes(key) + " has " + std::to_string(value.size()) +
                " characters: with more than 5 the integer reader answers its default");
  }

  const std::vector<std::string> &integer_keys_;
  std::vector<Finding> findings_;
  std::size_t number_ = 0;
  std::string section_;       // its header; empty before the first
  std::size_t ended_by_ = 0;  // the empty line that ended the section, or 0
  bool cut_is_told_ = false;
  std::map<std::string, std::size_t> earlier_;  // lines of the section in small letters, and where
};

}  // namespace

std::vector<Finding> lint_profile(std::string_view bytes,
                                  const std::vector<std::string> &integer_keys) {
  return Linter(integer_keys).run(bytes);
}

}  // namespace orla_tool
