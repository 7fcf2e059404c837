#include "report.h"

#include <algorithm>

#include "terminal.h"

namespace orla_tool {
namespace {

// Bytes that are not UTF-8 come out as replacement characters instead of ending the program.
std::string json_text(const Json &value, int indentation) {
  return value.dump(indentation, ' ', false, Json::error_handler_t::replace);
}

std::string padded(const std::string &text, std::size_t width) {
  return text + std::string(width - std::min(width, text.size()), ' ');
}

// The names that a value has, for a message; not those of reasons.
std::string names_in(const Json &value) {
  std::string names;
  if (!value.is_object()) return names;
  for (const auto &item : value.items())
    if (!item.key().ends_with("_missing")) names += (names.empty() ? "" : ", ") + item.key();
  return names;
}

using Values = std::vector<const Json *>;

// Arrays replaced by their elements.
Values elements_of(const Values &values) {
  Values found;
  for (const Json *value : values) {
    if (!value->is_array()) found.push_back(value);
    if (value->is_array())
      for (const Json &each : *value)
        found.push_back(&each);
  }
  return found;
}

// Walks a name through a report, and gathers the values that it leads to.
class FieldSearch {
 public:
  FieldSearch(const Json &report, std::string name) : name_(std::move(name)), found_({&report}) {
    std::string_view rest = name_;
    while (!rest.empty() && missing_.empty()) {
      const std::size_t dot = std::min(rest.find('.'), rest.size());
      std::string step(rest.substr(0, dot));
      if (step.ends_with("[]")) step.resize(step.size() - 2);
      go(step);
      rest.remove_prefix(std::min(dot + 1, rest.size()));
    }
  }

  const Values &found() const { return found_; }
  const std::string &missing() const { return missing_; }

 private:
  void go(const std::string &step) {
    static const Json kNone;  // of an element that lacks the name: the others keep their places
    for (const Json *value : found_)
      in_array_ = in_array_ || value->is_array();
    Values next;
    for (const Json *value : elements_of(found_)) {
      const auto member = value->is_object() ? value->find(step) : value->end();
      const bool is_there = member != value->end();
      if (!is_there && !in_array_) return lack(*value);
      if (is_there && member->is_null() && value->contains(step + "_missing"))
        missing_ = name_ + ": " + (*value)[step + "_missing"].get<std::string>();
      next.push_back(is_there ? &*member : &kNone);
    }
    found_ = next;
  }

  void lack(const Json &value) {
    const std::string names = names_in(value);
    missing_ =
        "the report has no field " + in_quotes(name_) + (names.empty() ? "" : "; it has " + names);
  }

  std::string name_;
  Values found_;
  bool in_array_ = false;  // whether an array has been passed
  std::string missing_;
};

void append_json_list(std::string &out, const std::vector<std::string> &texts) {
  out += '[';
  for (const std::string &text : texts) {
    if (&text != texts.data()) out += ',';
    append_json(out, text);
  }
  out += ']';
}

}  // namespace

std::string value_text(const Json &value) {
  if (value.is_null()) return "";
  return value.is_string() ? value.get<std::string>() : json_text(value, -1);
}

void append_json(std::string &out, std::string_view text) {
  const auto is_plain = [](char c) { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; };
  if (std::all_of(text.begin(), text.end(), is_plain))
    out.append(1, '"').append(text).append(1, '"');
  else
    out += json_text(Json(text), -1);
}

void Report::clear() {
  for (std::string &cell : cells_)
    cell.clear();
  members_.clear();
  json_.clear();
  section_ = nullptr;
  rows_.clear();
}

std::string *Report::find_cell(std::string_view key) {
  const auto found = std::find(columns_->begin(), columns_->end(), key);
  return found == columns_->end() ? nullptr
                                  : &cells_[static_cast<std::size_t>(found - columns_->begin())];
}

void Report::add_row(std::string_view label, std::string_view value, std::string_view note) {
  rows_.push_back({visible(label), visible(value), visible(note)});
}

// The text that the value of a member of the line of JSON is to be appended to.
std::string &Report::begin_member(std::string_view key) {
  members_ += members_.empty() ? "{\"" : ",\"";
  return members_.append(key).append("\":");
}

void Report::section(const char *key, const char *title) {
  section_ = key;
  json_[key] = Json::object();
  rows_.push_back({title, "", "", true});
}

void Report::list(const char *key, const char *label, const std::vector<std::string> &values,
                  std::string_view note) {
  if (kept_ == Kept::json_line) return append_json_list(begin_member(key), values);
  if (kept_ != Kept::rows) return row(key, label, Json(values));
  for (const std::string &value : values) {
    const bool first = &value == values.data();
    add_row(first ? label : "", value, first ? note : "");
  }
}

void Report::numbered(const char *key, const char *label, const std::vector<std::string> &values) {
  if (kept_ != Kept::rows) return row(key, label, Json(values));
  for (std::size_t i = 0; i < values.size(); ++i)
    add_row(label + (" " + std::to_string(i)), '"' + values[i] + '"', "");
}

void Report::counts(const char *key, const char *label, int first, const std::vector<int> &values,
                    std::string_view note) {
  if (kept_ != Kept::rows) return row(key, label, Json(values));
  for (const int value : values)
    add_row(label + (" " + std::to_string(first++)), std::to_string(value), note);
}

void Report::item(const char *key, const Json &object, std::string_view label,
                  std::string_view value, std::string_view note) {
  if (kept_ == Kept::values) {
    target()[key].push_back(object);
  } else if (kept_ == Kept::rows) {
    add_row(label, value, note);
  }
}

void Report::missing(const char *key, const char *label, std::string_view reason) {
  if (kept_ == Kept::values) {
    target()[key] = nullptr;
    target()[std::string(key) + "_missing"] = reason;
  } else if (kept_ == Kept::json_line) {
    begin_member(key) += "null";
    append_json(begin_member(std::string(key) + "_missing"), reason);
  } else if (kept_ == Kept::rows) {
    add_row(label, "-", reason);
  }
}

std::string Report::json() const { return json_text(json_, 2) + '\n'; }

std::string Report::json_line() const {
  return (kept_ == Kept::json_line ? members_ + '}' : json_text(json_, -1)) + '\n';
}

Field Report::field(const std::string &name, bool as_json) const {
  const FieldSearch search(json_, name);
  if (!search.missing().empty()) return {"", search.missing()};
  std::string text;
  for (const Json *value : as_json ? search.found() : elements_of(search.found()))
    text += (as_json ? json_text(*value, -1) : visible(value_text(*value))) + '\n';
  return {text, ""};
}

std::string Report::line() const {
  std::string line;
  for (const std::string &cell : cells_) {
    if (&cell != cells_.data()) line += "  ";
    append_visible(line, cell);
  }
  return line += '\n';
}

std::string Report::text(bool with_bold_titles) const {
  std::size_t label_width = 0;
  std::size_t value_width = 0;
  for (const Row &row : rows_) {
    if (row.is_title) continue;
    label_width = std::max(label_width, row.label.size());
    if (!row.note.empty()) value_width = std::max(value_width, row.value.size());
  }
  std::string out;
  for (const Row &row : rows_) {
    if (row.is_title) {
      out += out.empty() ? "" : "\n";
      out += (with_bold_titles ? bold(row.label) : row.label) + '\n';
      continue;
    }
    if (section_ != nullptr) out += "  ";
    if (label_width > 0) out += padded(row.label, label_width) + "  ";
    out += row.note.empty() ? row.value : padded(row.value, value_width) + "  " + row.note;
    out += '\n';
  }
  return out;
}

}  // namespace orla_tool
