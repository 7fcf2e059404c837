#include "profile_lint.h"

#include <orla/profile.h>

#include <algorithm>

#include "terminal.h"

namespace orla_tool {
namespace {

constexpr std::size_t kLongestLine = ORLA_PROFILE_LINE_SIZE - 1;
constexpr std::size_t kLongestInteger = 5;
// Findings take more room than the lines that they are about.
constexpr std::size_t kMostFindings = 100000;
constexpr const char *kSpaceAndTab = " \t";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(kSpaceAndTab);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kSpaceAndTab) + 1 - begin);
}

bool is_space_or_tab(char c) { return c == ' ' || c == '\t'; }

// Around the first "=" and the last, and at the end: all of which is part of key or value.
bool has_blanks(std::string_view line) {
  const std::string_view key = key_of(line);
  const std::string_view value = value_of(line);
  return (!key.empty() && is_space_or_tab(key.back())) || trimmed(value).size() != value.size();
}

class Linter {
 public:
  explicit Linter(const LintOptions &options) : options_(options) {}

  std::vector<Finding> run(const ProfileText &text) {
    const bool is_whole = look_at_lines(text);
    if (is_whole) look_at_rest(text);
    add_counted(carriage_returns_, "carriage_return", "a carriage return",
                ": readers do not see it, and a rewrite drops it");
    add_counted(comments_, "remark", "looks like a comment",
                ": profiles have none, and readers take it as any other line");
    add_counted(passed_over_, "passed_over", "no \"=\", and in no section",
                ": readers find nothing in it");
    std::stable_sort(findings_.begin(), findings_.end(),
                     [](const Finding &a, const Finding &b) { return a.line < b.line; });
    if (!is_whole)
      findings_.push_back({number_, "too_many", "no line below this one was looked at"});
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
    const std::vector<std::string> &ignored = options_.ignored;
    if (std::find(ignored.begin(), ignored.end(), kind) == ignored.end())
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
    ++number_;
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

  // False when there are too many findings for one look.
  bool look_at_lines(const ProfileText &text) {
    LineWalk raw = text.raw_lines();
    for (LineWalk read = text.lines(); raw.next() && read.next();) {
      look_at(raw.whole(), read.line());
      if (findings_.size() >= kMostFindings) return false;
    }
    return true;
  }

  void look_at(std::string_view raw, const Line &read) {
    number_ = read.number;
    line_ = read.text;
    look_at_bytes(raw);
    if (number_ == 1 && line_.starts_with(kByteOrderMark)) return look_at_mark();
    look_at_kind();
    if (begins_header(line_)) headers_.add({line_.substr(1), number_});
  }

  // A header behind the mark is meant to begin a section, which one finding is enough for.
  void look_at_mark() {
    add("byte_order_mark",
        "a byte order mark is part of this line: a header or key in it is not found");
    line_.remove_prefix(kByteOrderMark.size());
    begins_header(line_) ? begin_section(line_) : look_at_kind();
  }

  void look_at_kind() {
    const std::string_view bare = trimmed(line_);
    if (begins_header(line_)) {
      look_at_header(bare);
    } else if (line_.empty()) {
      if (ended_by_ == 0) ended_by_ = number_;
    } else if (bare.empty()) {
      add("blank_line",
          "only spaces or tabs: unlike an empty line, this line does not end a section");
    } else if (is_header(bare)) {
      add("spaced_header",
          "spaces or tabs before " + std::string(bare) + ": no reader takes it for a header");
      remember();
    } else if (looks_like_comment(bare)) {
      count(comments_);
      remember();
    } else {
      look_at_entry();
    }
  }

  void look_at_bytes(std::string_view raw) {
    if (raw.find('\r') != std::string_view::npos) count(carriage_returns_);
    if (raw.find('\0') != std::string_view::npos)
      add("zero_byte", "a zero byte: readers do not see what follows it in this line");
    if (line_.size() > kLongestLine)
      add("long_line", std::to_string(line_.size()) + " characters: orla_i_cfg_read_line() keeps " +
                           std::to_string(kLongestLine));
  }

  void look_at_header(std::string_view bare) {
    const std::string_view name = section_name(bare);
    const std::string header = '[' + std::string(name) + ']';
    if (!section_.empty() && ended_by_ == 0)
      add("runs_on", "no empty line ends section " + section_ +
                         " above: a search does not stop at this header");
    const std::size_t alike = name.empty() ? 0 : headers_.find(compared_name(name)).number;
    const bool is_found = name.empty() ? number_ == 1 : alike == 0;
    if (!is_same(line_, header)) look_at_loose_header(bare, header, is_found);
    look_for_earlier_header(header, name, alike);
    begin_section(header);
  }

  void begin_section(std::string_view header) {
    section_ = header;
    ended_by_ = 0;
    cut_is_reported_ = false;
    earlier_.clear();
  }

  // Not all of the line is the header.
  void look_at_loose_header(std::string_view bare, const std::string &header, bool is_found) {
    const char *reason = "the integer reader and the writer do not take it for a header";
    if (is_header(bare))
      add("spaced_header", "spaces or tabs after " + header + ": " + reason);
    else
      add("loose_header",
          "not just " + header + ": " + reason + (is_found ? ", but the string reader does" : ""));
  }

  // The string reader compares as many characters as the section's name has, the opening bracket
  // counted; of an empty name none.
  void look_for_earlier_header(const std::string &header, std::string_view name,
                               std::size_t alike) {
    const std::size_t same = headers_.find_same(std::string_view(header).substr(1));
    if (name.empty() && number_ != 1)
      add("hidden_section",
          "a section without a name: the string reader takes line 1 for " + header);
    else if (same != 0 && is_same(line_, header))
      add("section_twice", "section " + header + " is already in line " + std::to_string(same) +
                               ": no reader finds it here");
    else if (alike != 0)
      add("hidden_section", "line " + std::to_string(alike) +
                                " begins like this header, and the string reader takes it for " +
                                header);
  }

  void look_at_entry() {
    if (!has_equals(line_)) {
      look_at_text();
    } else if (section_.empty()) {
      add("no_section", "there is no header above: no section with a name holds this key");
    } else if (ended_by_ != 0) {
      report_cut();
    } else {
      look_at_key();
      look_at_value();
      remember();
    }
  }

  // A line that is neither empty nor a header nor an entry.
  void look_at_text() {
    if (section_.empty() || ended_by_ != 0) return count(passed_over_);
    add("no_equals", "no \"=\": a key that is found in this line has no value");
    remember();
  }

  void look_at_key() {
    if (is_space_or_tab(line_.front()))
      add("blanks", "spaces or tabs before the key belong to it: it is not found without them");
    if (line_.front() == '=')
      add("no_key", "no key stands before the \"=\" by which this line could be found");
    look_for_hiding();
  }

  void report_cut() {
    if (cut_is_reported_) return;
    cut_is_reported_ = true;
    add_at(ended_by_, "section_cut",
           "an empty line ends section " + section_ + " here: its entries from line " +
               std::to_string(number_) + " on are not found");
  }

  // A line hides what follows in its section, whether it is an entry or not.
  void remember() {
    if (ended_by_ == 0) earlier_.add({line_, number_});
  }

  void look_at_value() {
    if (has_blanks(line_))
      add("blanks", "spaces or tabs around \"=\" or at the end belong to the key and the value");
    if (line_.find('=') != line_.rfind('='))
      add("second_equals",
          "more than one \"=\": the value is what follows the last, " + in_quotes(value_of(line_)));
    look_at_integer();
  }

  // A key is looked for by the beginning of lines, so any earlier line that begins with it hides
  // it.
  void look_for_hiding() {
    const std::string_view key = bare_key_of(line_);
    const std::size_t earlier = key.empty() ? 0 : earlier_.find(key).number;
    if (earlier != 0)
      add("hidden_key", "key " + in_quotes(key) + " is hidden by line " + std::to_string(earlier) +
                            ", which begins with it too");
  }

  void look_at_integer() {
    const std::vector<std::string> &keys = options_.integer_keys;
    const bool is_expected = std::any_of(keys.begin(), keys.end(), [this](const std::string &key) {
      return begins_with(line_, key);
    });
    if (!is_expected) return;
    const std::string_view value = value_of(line_);
    const std::string start = "the value of " + in_quotes(bare_key_of(line_));
    if (value.size() > kLongestInteger)
      add("long_integer",
          start + " has " + std::to_string(value.size()) +
              " characters: with more than 5 the integer reader answers its default");
    else if (value.empty())
      add("no_integer", start + " is empty: then the integer reader answers its default");
    else if (value[0] < '0' || value[0] > '9')
      add("no_integer", start + " does not begin with a digit: then the integer reader answers 0");
  }

  const LintOptions &options_;
  std::vector<Finding> findings_;
  std::size_t number_ = 0;
  std::string_view line_;     // as it is read
  std::string section_;       // its header; empty before the first
  std::size_t ended_by_ = 0;  // the empty line that ended the section, or 0
  bool cut_is_reported_ = false;
  EarlierLines earlier_;  // of the section
  EarlierLines headers_;  // without their opening brackets
  Counted carriage_returns_;
  Counted comments_;
  Counted passed_over_;
};

}  // namespace

const std::vector<std::string> &kinds_of_findings() {
  static const std::vector<std::string> kinds = {
      "blank_line",    "blanks",         "byte_255",     "byte_order_mark", "carriage_return",
      "hidden_key",    "hidden_section", "long_integer", "long_line",       "loose_header",
      "no_equals",     "no_integer",     "no_key",       "no_line_feed",    "no_section",
      "passed_over",   "remark",         "runs_on",      "second_equals",   "section_cut",
      "section_twice", "spaced_header",  "too_many",     "zero_byte"};
  return kinds;
}

std::vector<Finding> lint_profile(const ProfileText &text, const LintOptions &options) {
  return Linter(options).run(text);
}

}  // namespace orla_tool
