// Which file a path stands for: what the readers and the writer share.

#ifndef ORLA_PROFILE_PROFILE_FILE_H
#define ORLA_PROFILE_PROFILE_FILE_H

namespace orla {

// The path to open for the caller's `path`: the value of ORLA_CONFIG, where it is set and `path` is
// exactly the default one.
const char *path_in_force(const char *path);

}  // namespace orla

#endif
