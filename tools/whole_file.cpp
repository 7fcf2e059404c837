#include "whole_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <string_view>

namespace orla_tool {
namespace {

constexpr std::size_t kLargestFile = std::size_t{64} << 20;

// Of standard input or of "/dev/fd/63" and the like; -1 for any other name.
int descriptor_named(std::string_view file) {
  constexpr std::string_view kDirectory = "/dev/fd/";
  if (file == kStandardInput || file == "/dev/stdin") return STDIN_FILENO;
  if (!file.starts_with(kDirectory)) return -1;
  file.remove_prefix(kDirectory.size());
  int descriptor = -1;
  const auto result = std::from_chars(file.data(), file.data() + file.size(), descriptor);
  const bool is_number = result.ec == std::errc() && result.ptr == file.data() + file.size();
  return is_number && descriptor >= 0 ? descriptor : -1;
}

bool is_pipe(int descriptor) {
  struct stat status;
  return fstat(descriptor, &status) == 0 && (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode));
}

// The descriptor of a file that is open already; -1 for one that is to be opened.
int open_already(const std::string &file) {
  const int descriptor = descriptor_named(file);
  return file == kStandardInput || is_pipe(descriptor) ? descriptor : -1;
}

WholeFile read_all(int descriptor) {
  WholeFile file;
  char part[65536];
  for (;;) {
    const ssize_t length = read(descriptor, part, sizeof part);
    if (length == -1 && errno == EINTR) continue;
    if (length == -1) file.error = std::strerror(errno);
    if (length <= 0) return file;
    file.bytes.append(part, static_cast<std::size_t>(length));
    if (file.bytes.size() > kLargestFile) {
      file.error = "it has more than 64 MiB";
      return file;
    }
  }
}

}  // namespace

std::string why_no_file(const std::string &path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return "";
  if (S_ISREG(status.st_mode) || S_ISDIR(status.st_mode)) return "";
  if (S_ISFIFO(status.st_mode)) return "it is a pipe, not a file";
  return S_ISSOCK(status.st_mode) ? "it is a socket, not a file" : "it is a device, not a file";
}

bool can_be_opened_again(const std::string &file) { return open_already(file) == -1; }

WholeFile read_whole(const std::string &file) {
  const int given = open_already(file);
  if (given != -1) return read_all(given);
  const std::string reason = why_no_file(file);
  if (!reason.empty()) return {"", reason};
  const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor == -1) return {"", std::strerror(errno)};
  WholeFile whole = read_all(descriptor);
  close(descriptor);
  return whole;
}

std::string path_of_bytes(const std::string &bytes) {
  const int copy = memfd_create("orla", MFD_CLOEXEC);
  if (copy == -1 || !write_whole(copy, bytes)) return "";
  return "/proc/self/fd/" + std::to_string(copy);
}

bool write_whole(int descriptor, const std::string &bytes) {
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t length = write(descriptor, bytes.data() + done, bytes.size() - done);
    if (length == -1 && errno != EINTR) return false;
    if (length > 0) done += static_cast<std::size_t>(length);
  }
  return true;
}

}  // namespace orla_tool
