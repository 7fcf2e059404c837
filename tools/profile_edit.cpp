#include "profile_edit.h"

#include <fcntl.h>
#include <orla/profile.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "whole_file.h"

namespace orla_tool {
namespace {

constexpr const char *kTemporaryDirectory = "/tmp";

std::string directory_of(const std::string &file) {
  std::error_code unknown;
  const auto directory = std::filesystem::weakly_canonical(file, unknown).parent_path();
  return directory.empty() ? "." : directory.string();
}

bool lock_without_waiting(int descriptor) { return flock(descriptor, LOCK_EX | LOCK_NB) == 0; }

// False, with the reason in errno, where there can be no lock.
bool lock_and_wait(Run &run, int descriptor, const std::string &name) {
  if (lock_without_waiting(descriptor)) return true;
  if (errno == EWOULDBLOCK && isatty(STDERR_FILENO) != 0)
    run.complain("waiting for " + name + ", which another process has locked");
  while (flock(descriptor, LOCK_EX) != 0)
    if (errno != EINTR) return false;
  return true;
}

// -1 where the directory cannot be locked, as on some network file systems: then files that are
// being created are not waited for.
int open_locked_directory(Run &run, const std::string &directory) {
  const int descriptor = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor == -1 || lock_and_wait(run, descriptor, directory)) return descriptor;
  close(descriptor);
  return -1;
}

// Whether a path still leads to the open file, which somebody may have replaced by a new one.
bool leads_to(const std::string &path, int descriptor) {
  struct stat named;
  struct stat opened;
  return stat(path.c_str(), &named) == 0 && fstat(descriptor, &opened) == 0 &&
         named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

bool has_room(const std::string &directory, std::size_t size) {
  struct statvfs space;
  return statvfs(directory.c_str(), &space) != 0 ||
         space.f_bavail * static_cast<std::uint64_t>(space.f_frsize) >= size;
}

bool is_within_limit(std::size_t size) {
  rlimit limit;
  return getrlimit(RLIMIT_FSIZE, &limit) != 0 || size <= limit.rlim_cur;
}

}  // namespace

ProfileLock::ProfileLock(Run &run, const std::string &file) {
  const bool is_held = acquire(run, file);
  sigset_t all;
  sigfillset(&all);
  sigprocmask(SIG_BLOCK, is_held ? &all : nullptr, &signals_);
}

ProfileLock::~ProfileLock() {
  if (held_ != -1) close(held_);
  sigprocmask(SIG_SETMASK, &signals_, nullptr);
}

bool ProfileLock::fail(int error) {
  error_ = std::strerror(error);
  return false;
}

bool ProfileLock::acquire(Run &run, const std::string &file) {
  error_ = why_no_file(file);
  if (!error_.empty()) return false;
  const std::string directory = directory_of(file);
  for (;;) {
    const int directory_lock = open_locked_directory(run, directory);
    held_ = open(file.c_str(), O_RDWR | O_CLOEXEC | O_NOCTTY);
    const int error = errno;
    if (held_ == -1 && error == ENOENT) {
      held_ = directory_lock;
      return access(directory.c_str(), W_OK | X_OK) == 0 || fail(errno);
    }
    if (directory_lock != -1) close(directory_lock);
    if (held_ == -1) return fail(error);
    if (!lock_and_wait(run, held_, file)) return fail(errno);
    if (leads_to(file, held_)) return true;
    close(held_);
  }
}

std::string why_not_rewritten(const std::string &file, std::size_t size) {
  if (access(kTemporaryDirectory, W_OK | X_OK) != 0)
    return std::string(kTemporaryDirectory) + ": " + std::strerror(errno);
  if (!is_within_limit(size)) return std::strerror(EFBIG);
  for (const std::string &directory : {std::string(kTemporaryDirectory), directory_of(file)})
    if (!has_room(directory, size)) return directory + ": " + std::strerror(ENOSPC);
  return "check that it and /tmp can be written and have room";
}

std::string replace_bytes(const std::string &file, const std::string &bytes) {
  char copy[ORLA_TEMPORARY_NAME_SIZE];
  if (create_temporary_name(copy) != 0)
    return std::string("no temporary file in /tmp: ") + std::strerror(errno);
  const int descriptor = open(copy, O_WRONLY | O_CLOEXEC);
  const bool is_whole = descriptor != -1 && write_whole(descriptor, bytes);
  std::string error = is_whole ? "" : std::string(copy) + ": " + std::strerror(errno);
  if (descriptor != -1) close(descriptor);
  if (is_whole && copy_file(copy, file.c_str()) != 0)
    error = "it does not open for writing";
  else if (is_whole && read_whole(file).bytes != bytes)
    return "it could not be written whole; its new text is in " + std::string(copy);
  // Nobody reads the profile through the descriptor that create_temporary_name() leaves open.
  if (truncate(copy, 0) == -1 && error.empty())
    error = std::string(copy) + ": " + std::strerror(errno);
  unlink(copy);
  return error;
}

}  // namespace orla_tool
