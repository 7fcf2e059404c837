#include "whole_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

namespace orla_tool {
namespace {

bool append_all(int descriptor, std::string &bytes) {
  char part[65536];
  ssize_t length;
  while ((length = read(descriptor, part, sizeof part)) > 0)
    bytes.append(part, static_cast<std::size_t>(length));
  return length == 0;
}

bool write_all(int descriptor, const std::string &bytes) {
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t length = write(descriptor, bytes.data() + done, bytes.size() - done);
    if (length == -1) return false;
    done += static_cast<std::size_t>(length);
  }
  return true;
}

}  // namespace

std::optional<std::string> read_whole(const std::string &file) {
  const bool is_input = file == kStandardInput;
  const int descriptor = is_input ? STDIN_FILENO : open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor == -1) return {};
  std::string bytes;
  const bool is_whole = append_all(descriptor, bytes);
  const int error = errno;
  if (!is_input) close(descriptor);
  errno = error;
  if (!is_whole) return {};
  return bytes;
}

std::string path_of_standard_input() {
  const auto bytes = read_whole(kStandardInput);
  if (!bytes) return "";
  const int copy = memfd_create("orla", MFD_CLOEXEC);
  if (copy == -1 || !write_all(copy, *bytes)) return "";
  return "/proc/self/fd/" + std::to_string(copy);
}

}  // namespace orla_tool
