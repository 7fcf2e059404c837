#include "report.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

#include "terminal.h"

namespace orla_tool {
namespace {

// Bytes that are not UTF-8 come out as replacement characters instead of ending the program.
std::string as_json_text(const Json &value, int indentation) {
  return value.dump(indentation, ' ', false, Json::error_handler_t::replace);
}

std::string as_text(const Json &value) {
  return value.is_string() ? value.get<std::string>() : as_json_text(value, -1);
}

}  // namespace

Json &Report::target() { return section_key_.empty() ? json_ : json_[section_key_]; }

void Report::section(const std::string &key, const std::string &title) {
  section_key_ = key;
  json_[key] = Json::object();
  lines_.push_back({title, "", "", true});
}

void Report::row(const std::string &key, const std::string &label, const Json &value,
                 const std::string &note) {
  target()[key] = value;
  lines_.push_back({label, as_text(value), note});
}

void Report::list(const std::string &key, const std::string &label,
                  const std::vector<std::string> &values, const std::string &note) {
  target()[key] = values;
  for (const std::string &value : values) {
    const bool first = &value == values.data();
    lines_.push_back({first ? label : "", value, first ? note : ""});
  }
}

void Report::numbered(const std::string &key, const std::string &label,
                      const std::vector<std::string> &values) {
  target()[key] = values;
  for (std::size_t i = 0; i < values.size(); ++i)
    lines_.push_back({label + " " + std::to_string(i), '"' + values[i] + '"', ""});
}

void Report::item(const std::string &key, const Json &object, const std::string &label,
                  const std::string &value, const std::string &note) {
  target()[key].push_back(object);
  lines_.push_back({label, value, note});
}

void Report::missing(const std::string &key, const std::string &label, const std::string &reason) {
  target()[key] = nullptr;
  target()[key + "_missing"] = reason;
  lines_.push_back({label, "-", reason});
}

std::string Report::json() const { return as_json_text(json_, 2) + '\n'; }

std::string Report::json_line() const { return as_json_text(json_, -1) + '\n'; }

std::string Report::line(const std::vector<std::string> &keys) const {
  std::string line;
  for (const std::string &key : keys) {
    if (!line.empty()) line += "  ";
    line += as_text(json_[key]);
  }
  return line + '\n';
}

std::string Report::text(bool with_bold_titles) const {
  const bool has_sections = !section_key_.empty();
  std::size_t label_width = 0;
  std::size_t value_width = 0;
  for (const Line &line : lines_) {
    if (line.is_title) continue;
    label_width = std::max(label_width, line.label.size());
    if (!line.note.empty()) value_width = std::max(value_width, line.value.size());
  }
  std::ostringstream out;
  for (const Line &line : lines_) {
    if (line.is_title) {
      out << (&line == lines_.data() ? "" : "\n")
          << (with_bold_titles ? bold(line.label) : line.label) << '\n';
      continue;
    }
    out << (has_sections ? "  " : "") << std::left;
    if (label_width > 0) out << std::setw(static_cast<int>(label_width)) << line.label << "  ";
    if (line.note.empty()) {
      out << line.value << '\n';
    } else {
      out << std::setw(static_cast<int>(value_width)) << line.value << "  " << line.note << '\n';
    }
  }
  return out.str();
}

}  // namespace orla_tool
