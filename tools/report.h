// What a command has to say: rows that are printed aligned for people or as one JSON object for programs.

#ifndef ORLA_TOOLS_REPORT_H
#define ORLA_TOOLS_REPORT_H

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

  // A row of its own for people; in JSON one more object in the array under `key`.
  void item(const std::string &key, const Json &object, const std::string &label,
            const std::string &value, const std::string &note = "");

  // A figure that could not be had: null in JSON, with the reason beside it under `key`_missing.
  void missing(const std::string &key, const std::string &label, const std::string &reason);

  std::string json() const;
  // For people, the titles bold where that is wanted.
  std::string text(bool with_bold_titles) const;

  // All of it in one line of JSON, and the values under `keys` alone in one for people.
  std::string json_line() const;
  std::string line(const std::vector<std::string> &keys) const;

 private:
  struct Line {
    std::string label;
    std::string value;
    std::string note;
    bool is_title = false;
  };

  Json &target();

  Json json_ = Json::object();
  std::string section_key_;
  std::vector<Line> lines_;
};

}  // namespace orla_tool

#endif
