// Which file a path stands for: what the string reader and the writer share.

#ifndef ORLA_PROFILE_PROFILE_FILE_H
#define ORLA_PROFILE_PROFILE_FILE_H

namespace orla {

// The value of ORLA_CONFIG, or null where it is not set. In a process that runs with another's
// rights, such as a set-user-ID program, it counts as not set: a stranger's environment names no
// file of it.
[[nodiscard]] const char *config_variable();

// The path to open for the caller's `path`: the value of ORLA_CONFIG, where it is set and `path` is
// exactly the default one. Whether that file opens is not asked.
[[nodiscard]] const char *resolved_path(const char *path);

}  // namespace orla

#endif
