#include "base/descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "base/kept_errno.h"

namespace orla {

Descriptor::~Descriptor() {
  const KeptErrno kept;
  static_cast<void>(close());
}

bool Descriptor::close() {
  const int number = std::exchange(number_, -1);
  return number < 0 || ::close(number) == 0;
}

int open_for_reading(const char *path) {
  // O_LARGEFILE: without it a 32-bit host opens no file over 2 GiB.
  return open(path, O_RDONLY | O_LARGEFILE | O_CLOEXEC);
}

std::size_t write_all(int descriptor, std::string_view text) {
  const std::size_t whole = text.size();
  while (!text.empty()) {
    const ssize_t size = write(descriptor, text.data(), text.size());
    if (size < 0 && errno == EINTR) continue;
    if (size <= 0) break;
    text.remove_prefix(static_cast<std::size_t>(size));
  }
  return whole - text.size();
}

}  // namespace orla
