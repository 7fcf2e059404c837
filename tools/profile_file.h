// Profile files as the commands take them: by a path, "-" for standard input, or the default path.

#ifndef ORLA_TOOLS_PROFILE_FILE_H
#define ORLA_TOOLS_PROFILE_FILE_H

#include <string>

#include "profile_text.h"

namespace CLI {
class App;
}

namespace orla_tool {

// The file that the string reader and the writer open for a path.
std::string resolved_path(const std::string &path);

// What messages call a file.
std::string name_of_file(const std::string &file);

struct ProfileFile {
  explicit ProfileFile(const std::string &file);

  std::string name;  // for messages and reports
  ProfileText text;
  std::string error;  // a message on why it cannot be read; empty when it can
};

// The flag that stands for a FILE.
void add_default_path_flag(CLI::App &command, bool &flag);

}  // namespace orla_tool

#endif
