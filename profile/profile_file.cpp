#include "profile/profile_file.h"

#include <fcntl.h>
#include <orla/profile.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <utility>

namespace orla {

const char *path_in_force(const char *path) {
  if (std::strcmp(path, ORLA_DEFAULT_PROFILE_PATH) != 0) return path;
  const char *named = std::getenv("ORLA_CONFIG");
  return named != nullptr ? named : path;
}

int open_for_reading(const char *path) {
  // O_LARGEFILE: without it a 32-bit host opens no file over 2 GiB.
  return open(path, O_RDONLY | O_LARGEFILE | O_CLOEXEC);
}

bool Descriptor::close() {
  const int number = std::exchange(number_, -1);
  return number < 0 || ::close(number) == 0;
}

}  // namespace orla
