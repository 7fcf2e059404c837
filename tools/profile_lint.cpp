#include "profile_lint.h"

#include <orla/profile.h>

#include <algorithm>

#include "terminal.h"

namespace orla_tool {
namespace {

constexpr std::size_t kLongestLine = ORLA_PROFILE_LINE_SIZE - 1;
constexpr std::size_t kLongestInteger = 5;
constexpr const char *kSpaceAndTab = " \t";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(kSpaceAndTab);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kSpaceAndTab) + 1 - begin);
}

bool is_space_or_tab(char c) { return c == ' ' || c == '\t'; }

bool has_space_or_tab_around_equals(std::string_view line) {
  const std::size_t first = line.find('=');
  const std::size_t last = line.rfind('=');
  const bool before =
      first > 0 && first != std::string_view::npos && is_space_or_tab(line[first - 1]);
  return before || (last + 1 < line.size() && is_space_or_tab(line[last + 1]));
}

class Linter {
 public:
  explicit Linter(const std::vector<std::string> &integer_keys) : integer_keys_(integer_keys) {}

  std::vector<Finding> run(const ProfileText &text) {
    for (number_ = 1; number_ <= text.size(); ++number_)
      look_at(text.line(number_));
    look_at_rest(text);
    add_counted(carriage_returns_, "carriage_return", "a carriage return",
                ": readers do not see it, and a rewrite drops it");
    add_counted(comments_, "remark", "looks like a comment",
                ": profiles have none, and readers take it as any other line");
    std::stable_sort(findings_.begin(), findings_.end(),
                     [](const Finding &a, const Finding &b) { return a.line < b.line; });
    return std::move(findings_);
  }

 private:
  // What is reported once for all lines of a file.
  struct Counted {
    std::size_t first = 0;
    std::size_t count = 0;
  };

  void add(const char *kind, const std::string &text) { add_at(number_, kind, text); }
  void add_at(std::size_t line, const char *kind, const std::string &text) {
    findings_.push_back({line, kind, text});
  }

  void count(Counted &counted) const {
    if (counted.count++ == 0) counted.first = number_;
  }

  void add_counted(const Counted &counted, const char *kind, const char *before,
                   const char *after) {
    if (counted.count == 0) return;
    const std::size_t more = counted.count - 1;
    const std::string others =
        ", as in " + std::to_string(more) + (more == 1 ? " more line below" : " more lines below");
    add_at(counted.first, kind, before + (more == 0 ? "" : others) + after);
  }

  void look_at_rest(const ProfileText &text) {
    if (text.ends_at_byte_255()) {
      const std::string_view rest = text.rest();
      add("byte_255", "a byte 0xFF ends the file here: this line and the " +
                          std::to_string(rest.size() - rest.find('\xFF') - 1) +
                          " bytes after it are not seen, and a rewrite drops them");
    } else if (!text.rest().empty()) {
      add("no_line_feed",
          "the last line has no line feed: no reader sees it, and a rewrite drops it");
    }
  }

  void look_at(const ProfileLine &whole) {
    std::string_view line = whole.text;
    look_at_bytes(whole);
    if (number_ == 1 && line.starts_with(kByteOrderMark)) {
      add("byte_order_mark",
          "a byte order mark is part of this line: a header or key in it is not found");
      line.remove_prefix(kByteOrderMark.size());
    }
    const std::string_view bare = trimmed(line);
    if (is_header(bare)) {
      look_at_header(line, bare);
    } else if (line.empty()) {
      if (ended_by_ == 0) ended_by_ = number_;
    } else if (bare.empty()) {
      add("blank_line",
          "only spaces or tabs: unlike an empty line, this line does not end a section");
    } else if (looks_like_comment(bare)) {
      count(comments_);
      remember(line);
    } else {
      look_at_entry(line);
    }
    if (whole.text.starts_with('[')) headers_.add(whole.text, number_);
  }

  void look_at_bytes(const ProfileLine &line) {
    if (line.raw.find('\r') != std::string_view::npos) count(carriage_returns_);
    if (line.raw.find('\0') != std::string_view::npos)
      add("zero_byte", "a zero byte: readers do not see what follows it in this line");
    if (line.text.size() > kLongestLine)
      add("long_line", std::to_string(line.text.size()) +
                           " characters: orla_i_cfg_read_line() keeps " +
                           std::to_string(kLongestLine));
  }

  void look_at_header(std::string_view line, std::string_view bare) {
    if (bare.size() != line.size())
      add("spaced_header", "spaces or tabs around " + std::string(bare) +
                               ": the integer reader and the writer do not take it for a header");
    if (!section_.empty() && ended_by_ == 0)
      add("runs_on", "no empty line ends section " + section_ +
                         " above: a search for one of its keys goes on here");
    look_for_earlier_header(bare);
    section_ = bare;
    ended_by_ = 0;
    cut_is_reported_ = false;
    earlier_.clear();
  }

  // The string reader compares as many characters as the section's name has, the opening bracket
  // counted.
  void look_for_earlier_header(std::string_view header) {
    const std::size_t same = headers_.find_same(header);
    const std::size_t alike = headers_.find(header.substr(0, header.size() - 2));
    if (same != 0)
      add("section_twice", "section " + std::string(header) + " is already in line " +
                               std::to_string(same) + ", and readers find only that one");
    else if (alike != 0)
      add("hidden_section", "line " + std::to_string(alike) +
                                " begins like this header, and the string reader takes it for " +
                                std::string(header));
  }

  void look_at_entry(std::string_view line) {
    const bool has_equals = line.find('=') != std::string_view::npos;
    if (section_.empty()) {
      if (has_equals) add("no_section", "there is no header above: readers do not find this key");
    } else if (ended_by_ != 0) {
      if (has_equals) report_cut();
    } else {
      if (is_space_or_tab(line.front()))
        add("blanks", "spaces or tabs before the key belong to it: it is not found without them");
      if (has_equals) {
        look_at_value(line);
        look_for_hiding(line);
      } else {
        add("no_equals", "no \"=\": a key that is found in this line has no value");
      }
      remember(line);
    }
  }

  void report_cut() {
    if (cut_is_reported_) return;
    cut_is_reported_ = true;
    add_at(ended_by_, "section_cut",
           "an empty line ends section " + section_ + " here: its entries from line " +
               std::to_string(number_) + " on are not found");
  }

  // A line hides what follows in its section, whether it is an entry or not.
  void remember(std::string_view line) {
    if (ended_by_ == 0) earlier_.add(line, number_);
  }

  void look_at_value(std::string_view line) {
    if (has_space_or_tab_around_equals(line))
      add("blanks", "spaces or tabs around \"=\" belong to the key and the value");
    if (line.find('=') != line.rfind('='))
      add("second_equals",
          "more than one \"=\": the value is what follows the last, " + in_quotes(value_of(line)));
    look_at_integer(line);
  }

  // A key is looked for by the beginning of lines, so any earlier line that begins with it hides
  // it.
  void look_for_hiding(std::string_view line) {
    const std::string_view key = trimmed(key_of(line));
    const std::size_t earlier = key.empty() ? 0 : earlier_.find(key);
    if (earlier != 0)
      add("hidden_key", "key " + in_quotes(key) + " is hidden by line " + std::to_string(earlier) +
                            ", which begins with it too");
  }

  void look_at_integer(std::string_view line) {
    const bool is_expected =
        std::any_of(integer_keys_.begin(), integer_keys_.end(),
                    [line](const std::string &key) { return begins_with(line, key); });
    if (!is_expected) return;
    const std::string_view value = value_of(line);
    const std::string start = "the value of " + in_quotes(key_of(line));
    if (value.size() > kLongestInteger)
      add("long_integer",
          start + " has " + std::to_string(value.size()) +
              " characters: with more than 5 the integer reader answers its default");
    else if (value.empty())
      add("no_integer", start + " is empty: the integer reader answers its default");
    else if (value[0] < '0' || value[0] > '9')
      add("no_integer", start + " does not begin with a digit: the integer reader answers 0");
  }

  const std::vector<std::string> &integer_keys_;
  std::vector<Finding> findings_;
  std::size_t number_ = 0;
  std::string section_;       // its header; empty before the first
  std::size_t ended_by_ = 0;  // the empty line that ended the section, or 0
  bool cut_is_reported_ = false;
  EarlierLines earlier_;  // of the section
  EarlierLines headers_;
  Counted carriage_returns_;
  Counted comments_;
};

}  // namespace

const std::vector<std::string> &kinds_of_findings() {
  static const std::vector<std::string> kinds = {
      "blank_line",    "blanks",         "byte_255",      "byte_order_mark", "carriage_return",
      "hidden_key",    "hidden_section", "long_integer",  "long_line",       "no_equals",
      "no_integer",    "no_line_feed",   "no_section",    "remark",          "runs_on",
      "second_equals", "section_cut",    "section_twice", "spaced_header",   "zero_byte"};
  return kinds;
}

std::vector<Finding> lint_profile(const ProfileText &text,
                                  const std::vector<std::string> &integer_keys) {
  return Linter(integer_keys).run(text);
}

}  // namespace orla_tool
