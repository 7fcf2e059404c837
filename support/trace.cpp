// Trace writer: one stamped line per message into a file that is rotated once.
//
//     K7LOG_PATH  --(a line takes it past ORLA_TRACE_ROTATION_SIZE)-->  K7LOG_PATH.1, replacing it
//
// Every line begins with date, time and process id; support/trace_stamp.cpp writes these.
//
// Processes may share the file. Only a rotation looks at what other processes have done, and it
// never waits.

#include <fcntl.h>
#include <orla/trace.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "base/descriptor.h"
#include "base/kept_errno.h"
#include "base/percent_text.h"
#include "support/trace_stamp.h"

std::int32_t orlalib_verbose = 0;
std::int32_t orlathr_verbose = 0;
char statuslog[ORLA_STATUSLOG_SIZE] = {};

namespace {

constexpr std::int32_t kSwitchedOn = 255;
constexpr std::size_t kRotatedPathSize = 1024;
constexpr std::uint32_t kLargestLeftToOthers = 2 * ORLA_TRACE_ROTATION_SIZE;  // bytes

std::FILE *trace_stream = nullptr;
int trace_descriptor = -1;           // of the stream last opened; never reset
char opened_path[kRotatedPathSize];  // of the same stream; cut when it is too long to be rotated

// In a process that runs with another user's rights the variables count as not set: otherwise the
// user who starts it could have files written and renamed with those rights.
void switch_on_if_asked(const char *variable, std::int32_t &verbose) {
  const char *value = secure_getenv(variable);
  if (value != nullptr && (*value == 'y' || *value == 'Y')) verbose = kSwitchedOn;
}

[[gnu::constructor]] void read_trace_switches() {
  switch_on_if_asked("K7LIB_VERB", orlalib_verbose);
  switch_on_if_asked("K7THR_VERB", orlathr_verbose);
}

void close_trace() {
  // Quirk: where standard error is closed, the stream may have its descriptor, which is not closed
  // here.
  if (trace_stream != nullptr && trace_descriptor != STDERR_FILENO) std::fclose(trace_stream);
  trace_stream = nullptr;
}

bool open_trace(const char *path) {
  const mode_t old_mask = umask(0);
  trace_stream = std::fopen(path, "a");
  if (trace_stream == nullptr) {
    std::fprintf(stderr, "\n\tUnable to open log file %s", path);
    return false;  // Quirk: the mask stays 0.
  }
  umask(old_mask);
  trace_descriptor = fileno(trace_stream);
  std::snprintf(opened_path, sizeof opened_path, "%s", path);
  // Unbuffered: nothing is left to flush.
  std::setvbuf(trace_stream, nullptr, _IONBF, 0);
  return true;
}

// One system call for each line, without the stream, which would make it a sixteenth slower. "%m"
// in the message is the text of `error`.
void write_line(const char *message, int error) {
  const char *stamp = orla::trace_stamp();
  errno = error;
  const orla::PercentText line(stamp, message, "");
  if (trace_descriptor >= 0)
    static_cast<void>(orla::write_all(trace_descriptor, {line.data(), line.size()}));
  else  // a stream of a program that has an fopen() of its own
    std::fwrite(line.data(), 1, line.size(), trace_stream);
}

// Bytes of the trace file, the low 32 bits; 0 when the system does not say.
std::uint32_t trace_size() {
  struct stat status;
  if (fstat(trace_descriptor, &status) == 0) return static_cast<std::uint32_t>(status.st_size);
  if (errno != EOVERFLOW) return 0;
  // On 32-bit hosts the record cannot hold the times of a file written after 2038.
  const off_t end = lseek(trace_descriptor, 0, SEEK_END);
  return end < 0 ? 0 : static_cast<std::uint32_t>(end);
}

// statx() also works where the record of stat() on 32-bit hosts is too small: after 2038, and for a
// file whose inode number has more than 32 bits.
std::optional<struct statx> identity_of(int directory, const char *path, int flags) {
  struct statx status;
  if (statx(directory, path, flags, STATX_INO | STATX_NLINK, &status) != 0) return {};
  return status;
}

bool is_same_file(const struct statx &one, const struct statx &other) {
  return one.stx_ino == other.stx_ino && one.stx_dev_major == other.stx_dev_major &&
         one.stx_dev_minor == other.stx_dev_minor;
}

// Whether the file was opened at this path, and another file is there now.
bool is_replaced(const struct statx &open_file, const char *path) {
  if (std::strcmp(path, opened_path) != 0) return false;
  const auto at_path = identity_of(AT_FDCWD, path, 0);
  return at_path && !is_same_file(open_file, *at_path);
}

// Whether another process has already rotated the open file, which is then at `rotated`, has no
// name any more, or has another name that somebody gave it. The file at the path is then a new one
// and must stay.
bool is_moved_aside(const char *path, const char *rotated) {
  const auto open_file = identity_of(trace_descriptor, "", AT_EMPTY_PATH);
  if (!open_file) return false;
  if (open_file->stx_nlink == 0 || is_replaced(*open_file, path)) return true;
  const auto predecessor = identity_of(AT_FDCWD, rotated, 0);
  // On a network file system: another host has replaced the predecessor just now.
  if (!predecessor) return errno == ESTALE;
  return is_same_file(*open_file, *predecessor);
}

// Whether another process holds the lock. A file that cannot be locked counts as free.
bool is_locked_elsewhere(const orla::Descriptor &file) {
  if (flock(file.number(), LOCK_EX | LOCK_NB) == 0) return false;
  return errno == EWOULDBLOCK || errno == EINTR;
}

// Renames the path, unless another process has done so or is about to. Whoever may read the file
// can hold its lock for good, so a file of more than kLargestLeftToOthers bytes is renamed despite
// the lock.
void move_aside_once(const char *path, const char *rotated, std::uint32_t size) {
  // Opened again for the lock: a lock on the trace descriptor would not keep out a parent or a
  // child that shares it.
  const orla::Descriptor file(open(path, O_WRONLY | O_NONBLOCK | O_CLOEXEC));
  if (is_locked_elsewhere(file) && size <= kLargestLeftToOthers) return;
  if (!is_moved_aside(path, rotated)) std::rename(path, rotated);
}

void move_aside(const char *path, std::uint32_t size) {
  char rotated[kRotatedPathSize];
  const int length = std::snprintf(rotated, sizeof rotated, "%s.1", path);
  // A path that was cut could name another file, so a file with a longer path grows on, as after a
  // failed rename.
  if (length < static_cast<int>(sizeof rotated)) move_aside_once(path, rotated, size);
}

// Quirk: after a change of K7LOG_PATH it renames the file at the new path, whichever file is open.
void rotate_if_grown(const char *path) {
  if (trace_descriptor < 0) return;
  const std::uint32_t size = trace_size();
  if (size <= ORLA_TRACE_ROTATION_SIZE) return;
  move_aside(path, size);
  std::fclose(trace_stream);
  trace_stream = nullptr;
}

}  // namespace

void TavTrace(char *message) noexcept {
  if (orlalib_verbose == 0 && orlathr_verbose == 0) return;
  const orla::KeptErrno kept;
  const int error = errno;
  const char *path = secure_getenv("K7LOG_PATH");
  if (path == nullptr) {
    // Quirk: the bare message, not read as a format; a close request prints "(null)".
    std::printf("%s\n", message != nullptr ? message : "(null)");
    return;
  }
  if (message == nullptr) {
    close_trace();
    return;
  }
  if (trace_stream == nullptr && !open_trace(path)) return;
  write_line(message, error);
  rotate_if_grown(path);
}
