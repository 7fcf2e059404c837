// A file's bytes, all at once.

#ifndef ORLA_TOOLS_WHOLE_FILE_H
#define ORLA_TOOLS_WHOLE_FILE_H

#include <string>

namespace orla_tool {

// What standard input is called on the command line.
inline constexpr const char *kStandardInput = "-";

struct WholeFile {
  std::string bytes;
  std::string error;  // why they could not be read to the end; empty when they were
};

// Reads a file, or standard input for "-", of at most 64 MiB. A pipe that is open already, such as
// /dev/fd/63, is read as standard input is; other devices and pipes are refused, as reading them
// may never end.
WholeFile read_whole(const std::string &file);

// Why a path does not name a file: the text for a device, a pipe or a socket; empty for a file, a
// directory, and for what is not there.
std::string why_no_file(const std::string &path);

// Whether the library can open this path a second time and find the same: not so for standard input
// and pipes.
bool can_be_opened_again(const std::string &file);

// For the library, which takes paths: these bytes under a path that can be opened again and again,
// as long as the process lives. Empty, with the reason in errno, where there can be none.
[[nodiscard]] std::string path_of_bytes(const std::string &bytes);

// Writes all bytes; false, with the reason in errno, where that fails.
[[nodiscard]] bool write_whole(int descriptor, const std::string &bytes);

}  // namespace orla_tool

#endif
