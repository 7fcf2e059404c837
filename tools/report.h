// What a command has to say: rows that are printed aligned for people, or one JSON object for
// programs.

#ifndef ORLA_TOOLS_REPORT_H
#define ORLA_TOOLS_REPORT_H

#include <charconv>
#include <concepts>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace orla_tool {

using Json = nlohmann::ordered_json;

// A value as it stands in a row; nothing for null.
std::string value_text(const Json &value);
inline std::string value_text(std::string_view value) { return std::string(value); }
inline std::string value_text(const std::string &value) { return value; }
inline std::string value_text(const char *value) { return value; }
inline std::string value_text(bool value) { return value ? "true" : "false"; }
template <std::integral Number>
std::string value_text(Number number) {
  char text[24];
  return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

// Appends the same as JSON, without making a Json object first.
void append_json(std::string &out, std::string_view text);
template <typename Value>
requires(!std::convertible_to<Value, std::string_view>) void append_json(std::string &out,
                                                                         const Value &value) {
  out += value_text(value);
}

// What a name leads to in a report.
struct Field {
  std::string text;     // its values, one a line
  std::string missing;  // why there are none, for a message; empty when there are
};

class Report {
 public:
  // What is kept of what the report is given; the rest costs nothing.
  enum class Kept {
    rows,       // labels, values and notes, as text
    values,     // values as they are, by their keys
    json_line,  // the text of one line of JSON, which is made at once
    columns,    // the values of some keys alone, as text
  };

  explicit Report(Kept kept) : kept_(kept) {}
  // For one line: keeps the values of these keys alone. They outlive the report.
  explicit Report(const std::vector<std::string> &columns)
      : kept_(Kept::columns), columns_(&columns), cells_(columns.size()) {}

  // Empties it for the next input.
  void clear();

  // The rows that follow stand under `title`, and in JSON in an object of their own under `key`.
  void section(const char *key, const char *title);

  // `note` is for people alone.
  template <typename Value>
  void row(const char *key, const char *label, const Value &value, std::string_view note = {}) {
    if (kept_ == Kept::values) {
      target()[key] = value;
    } else if (kept_ == Kept::json_line) {
      append_json(begin_member(key), value);
    } else if (kept_ == Kept::rows) {
      add_row(label, value_text(value), note);
    } else if (std::string *cell = find_cell(key)) {
      *cell = value_text(value);
    }
  }

  // Several values, one a line, the label and the note beside the first; in JSON an array. Without
  // a label and without other rows the lines hold the bare values.
  void list(const char *key, const char *label, const std::vector<std::string> &values,
            std::string_view note = {});

  // Texts in their order, numbered from 0 and in quotes for people; in JSON an array.
  void numbered(const char *key, const char *label, const std::vector<std::string> &values);

  // Whole numbers in their order, numbered from `first` for people; in JSON an array.
  void counts(const char *key, const char *label, int first, const std::vector<int> &values,
              std::string_view note);

  // A row of its own for people; in JSON one more object in the array under `key`.
  void item(const char *key, const Json &object, std::string_view label, std::string_view value,
            std::string_view note = {});

  // A figure that is not available: null in JSON, with the reason beside it under `key`_missing.
  void missing(const char *key, const char *label, std::string_view reason);

  std::string json() const;
  std::string json_line() const;
  // For people, with control characters made visible; the titles bold where that is wanted.
  std::string text(bool with_bold_titles) const;
  // The cells of the columns in one line, for people.
  std::string line() const;

  // The value under a name such as "processors.count", for scripts: a text as it stands in a row,
  // an array as one line for each element. A name leads through the elements of an array to theirs,
  // with or without "[]"; an element that lacks it has an empty line. As JSON a value is one line,
  // also an array.
  Field field(const std::string &name, bool as_json) const;

 private:
  struct Row {
    std::string label;
    std::string value;
    std::string note;
    bool is_title = false;
  };

  Json &target() { return section_ == nullptr ? json_ : json_[section_]; }
  std::string *find_cell(std::string_view key);
  std::string &begin_member(std::string_view key);
  void add_row(std::string_view label, std::string_view value, std::string_view note);

  Kept kept_;
  const std::vector<std::string> *columns_ = nullptr;
  std::vector<std::string> cells_;
  std::string members_;  // of the line of JSON
  Json json_ = Json::object();
  const char *section_ = nullptr;
  std::vector<Row> rows_;
};

}  // namespace orla_tool

#endif
