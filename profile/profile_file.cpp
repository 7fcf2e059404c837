#include "profile/profile_file.h"

#include <orla/profile.h>

#include <cstdlib>
#include <cstring>

namespace orla {

const char *config_variable() { return secure_getenv("ORLA_CONFIG"); }

const char *resolved_path(const char *path) {
  if (std::strcmp(path, ORLA_DEFAULT_PROFILE_PATH) != 0) return path;
  const char *named = config_variable();
  return named != nullptr ? named : path;
}

}  // namespace orla
