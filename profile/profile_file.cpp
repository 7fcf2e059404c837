#include "profile/profile_file.h"

#include <orla/profile.h>

#include <cstdlib>
#include <cstring>

namespace orla {

const char *path_in_force(const char *path) {
  if (std::strcmp(path, ORLA_DEFAULT_PROFILE_PATH) != 0) return path;
  const char *named = std::getenv("ORLA_CONFIG");
  return named != nullptr ? named : path;
}

}  // namespace orla
