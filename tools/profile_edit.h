// Changes of a profile file that lose nothing, whatever happens at the same time.

#ifndef ORLA_TOOLS_PROFILE_EDIT_H
#define ORLA_TOOLS_PROFILE_EDIT_H

#include <csignal>
#include <cstddef>
#include <string>

#include "command.h"

namespace orla_tool {

// Holds a profile while it is changed: no other process that locks it changes it meanwhile, and no
// signal ends this one in the middle. Waits for whoever holds it.
//
// An existing file is locked itself. While a file is being created, its directory is locked
// instead, so that a lock leaves nothing behind; each lock asks for the directory first, and so
// waits while a file is created.
class ProfileLock {
 public:
  ProfileLock(Run &run, const std::string &file);
  ~ProfileLock();
  ProfileLock(const ProfileLock &) = delete;
  ProfileLock &operator=(const ProfileLock &) = delete;

  // Why it is not held; empty when it is.
  const std::string &error() const { return error_; }

 private:
  bool acquire(Run &run, const std::string &file);
  bool fail(int error);

  int held_ = -1;  // the descriptor whose lock is held
  std::string error_;
  sigset_t signals_;  // that were held back before
};

// Why the library could not rewrite a file with a text of `size` bytes, as far as that can be seen.
std::string why_not_rewritten(const std::string &file, std::size_t size);

// Gives a file new bytes through a temporary copy, as the library's writer does. What is wrong is
// the result; empty when all went well.
[[nodiscard]] std::string replace_bytes(const std::string &file, const std::string &bytes);

}  // namespace orla_tool

#endif
