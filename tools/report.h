// What a command has to say: rows that are printed aligned for people or as one JSON object for programs.

#ifndef ORLA_TOOLS_REPORT_H
#define ORLA_TOOLS_REPORT_H

#include <iosfwd>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace orla_tool {

using Json = nlohmann::ordered_json;

class Report {
 public:
  // The rows that follow stand under `title`, and in JSON in an object of their own under `key`.
  void section(const std::string &key, const std::string &title);

  // `note` is for people alone.
  void row(const std::string &key, const std::string &label, const Json &value,
           const std::string &note = "");

  // Several values, one a line, the label and the note beside the first; in JSON an array. Without a
  // label and without other rows the lines hold the bare values.
  void list(const std::string &key, const std::string &label,
            const std::vector<std::string> &values, const std::string &note = "");

  // Texts in their order, numbered from 0 and quoted for people; in JSON an array.
  void numbered(const std::string &key, const std::string &label,
                const std::vector<std::string> &values);

  // A figure that could not be had: null in JSON, with the reason beside it under `key`_missing.
  void missing(const std::string &key, const std::string &label, const std::string &reason);

  void print(std::ostream &out, bool as_json) const;

 private:
  struct Line {
    std::string label;
    std::string value;
    std::string note;
    bool is_title = false;
  };

  Json &target();
  void print_text(std::ostream &out) const;

  Json json_ = Json::object();
  std::string section_key_;
  std::vector<Line> lines_;
};

}  // namespace orla_tool

#endif
