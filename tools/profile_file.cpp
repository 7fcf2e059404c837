#include "profile_file.h"

#include <orla/profile.h>

#include <CLI/CLI.hpp>
#include <cstdlib>

#include "whole_file.h"

namespace orla_tool {
namespace {

// What to do about a file that cannot be read.
std::string advice_on(const std::string &file) {
  if (file == kStandardInput) return "";
  return why_no_file(file).empty() ? "; check its name and rights"
                                   : "; standard input is given as \"-\"";
}

}  // namespace

std::string resolved_path(const std::string &path) {
  const char *named = std::getenv("ORLA_CONFIG");
  return path == ORLA_DEFAULT_PROFILE_PATH && named != nullptr ? named : path;
}

std::string name_of_file(const std::string &file) {
  return file == kStandardInput ? "standard input" : file;
}

ProfileFile::ProfileFile(const std::string &file) : name(name_of_file(file)) {
  WholeFile whole = read_whole(file);
  if (whole.error.empty())
    text.take(std::move(whole.bytes));
  else
    error = name + " cannot be read: " + whole.error + advice_on(file);
}

void add_default_path_flag(CLI::App &command, bool &flag) {
  command.add_flag("--default-path", flag,
                   "Instead of FILE: " ORLA_DEFAULT_PROFILE_PATH
                   ", or the file that ORLA_CONFIG names");
}

}  // namespace orla_tool
