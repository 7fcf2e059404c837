#include "fields.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

#include "command.h"

namespace orla_tool {
namespace {

struct CommandFields {
  const char *command;
  const char *names;
};

// As docs/json.md has them; a test compares the two. A report need not have all of them, so it
// cannot tell by itself which names are misspelt.
constexpr CommandFields kFields[] = {
    {"orla host",
     "processors.count processors.method processors.configured processors.vendor "
     "processors.family processors.logical_per_package processors.kernel_figure "
     "processors.kernel_release memory.size memory.unit memory.total disks.count"},
    {"orla now", "stamp local_stamp offset date_number date time"},
    {"orla date parse", "input mode year month day number stamp"},
    {"orla date show", "input number date iso"},
    {"orla date fields", "number date"},
    {"orla date lengths", "year months"},
    {"orla date stamp", "input stamp signed utc local date time"},
    {"orla uuid new", "uuids"},
    {"orla uuid reserved", "uuids"},
    {"orla uuid show",
     "input text time_high time_low reserved family host class_code address instants"},
    {"orla uuid compare", "input order equal"},
    {"orla uuid hash", "input hash"},
    {"orla names", "user group node"},
    {"orla tokens", "input count tokens"},
    {"orla load",
     "library opened file by_name in_fallback_directory symbols.name symbols.found "
     "symbols.reason"},
    {"orla trace", "input written to line"},
    {"orla profile get", "file section key value found"},
    {"orla profile set", "file entry replaced answer"},
    {"orla profile unset", "file removed"},
    {"orla profile list",
     "file sections sections.name sections.line sections.entries sections.entries.key "
     "sections.entries.value sections.entries.line"},
    {"orla profile diff",
     "old new differences differences.section differences.key differences.old differences.new"},
    {"orla profile path", "path from_environment variable"},
    {"orla profile lint", "file findings findings.line findings.kind findings.text"},
};

// A name as the table has it. The reason for a null has its name and a word after it.
std::string as_listed(std::string name) {
  for (std::size_t at; (at = name.find("[]")) != std::string::npos;)
    name.erase(at, 2);
  constexpr std::string_view kReason = "_missing";
  if (name.ends_with(kReason)) name.resize(name.size() - kReason.size());
  return name;
}

// The steps that lead on from a name, "" for the report itself, in a list for people.
std::string steps_after(const std::vector<std::string> &fields, const std::string &name) {
  const std::string before = name.empty() ? "" : name + '.';
  std::vector<std::string> steps;
  for (const std::string &field : fields) {
    if (!field.starts_with(before)) continue;
    const std::string rest = field.substr(before.size());
    const std::string step = rest.substr(0, rest.find('.'));
    if (std::find(steps.begin(), steps.end(), step) == steps.end()) steps.push_back(step);
  }
  return CLI::detail::join(steps, ", ");
}

bool is_known(const std::vector<std::string> &fields, const std::string &name) {
  return std::any_of(fields.begin(), fields.end(), [&name](const std::string &field) {
    return field == name || field.starts_with(name + '.');
  });
}

}  // namespace

std::vector<std::string> fields_of(const CLI::App &command) {
  const std::string path = path_of(command);
  std::vector<std::string> fields;
  for (const CommandFields &each : kFields) {
    std::istringstream names(path == each.command ? each.names : "");
    for (std::string name; names >> name;)
      fields.push_back(name);
  }
  return fields;
}

std::string why_no_field(const CLI::App &command, const std::string &name) {
  const std::vector<std::string> fields = fields_of(command);
  std::string known = as_listed(name);
  if (fields.empty() || is_known(fields, known)) return "";
  while (!known.empty() && !is_known(fields, known))
    known.resize(known.find('.') == std::string::npos ? 0 : known.rfind('.'));
  const std::string steps = steps_after(fields, known);
  return "the report has no field " + in_quotes(name) + (steps.empty() ? "" : "; it has " + steps);
}

}  // namespace orla_tool
