// A file's bytes, all at once.

#ifndef ORLA_TOOLS_WHOLE_FILE_H
#define ORLA_TOOLS_WHOLE_FILE_H

#include <optional>
#include <string>

namespace orla_tool {

// How standard input is called on the command line.
inline constexpr const char *kStandardInput = "-";

// The bytes of a file, or of standard input for "-"; nothing, with the reason in errno, where they cannot
// be read to the end.
std::optional<std::string> read_whole(const std::string &file);

// For the library, which takes paths: standard input under a path that can be opened again and again,
// for as long as the process lives. Empty, with the reason in errno, where there can be none.
std::string path_of_standard_input();

}  // namespace orla_tool

#endif
