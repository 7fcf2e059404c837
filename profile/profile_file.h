// Which file the string reader and the writer open for a path.

#ifndef ORLA_PROFILE_PROFILE_FILE_H
#define ORLA_PROFILE_PROFILE_FILE_H

namespace orla {

// The value of ORLA_CONFIG, or null where it is not set. In a process that runs with another user's
// rights, such as a set-user-ID program, it counts as not set: the environment of the user who
// starts it must not choose its files.
[[nodiscard]] const char *config_variable();

// The path to open for the caller's `path`: the value of ORLA_CONFIG, where it is set and `path` is
// exactly the default one. Quirk: even when that file does not open.
[[nodiscard]] const char *resolved_path(const char *path);

}  // namespace orla

#endif
