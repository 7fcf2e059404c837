// Trace writer: one stamped line per message into a file that is rotated once.
//
//     K7LOG_PATH  --(line that takes it past 4,000,000 bytes)-->  K7LOG_PATH.1  (the earlier one goes)

#include <orla/trace.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "base/percent_text.h"
#include "support/trace_stamp.h"

std::int32_t orlalib_verbose = 0;
std::int32_t orlathr_verbose = 0;
char statuslog[ORLA_STATUSLOG_SIZE] = {};

namespace {

constexpr std::int32_t kSwitchedOn = 255;
constexpr std::size_t kRotatedPathSize = 1024;

std::FILE *trace_stream = nullptr;
int trace_descriptor = -1;  // of the stream last opened; never reset

void switch_on_if_asked(const char *variable, std::int32_t &verbose) {
  const char *value = std::getenv(variable);
  if (value != nullptr && (*value == 'y' || *value == 'Y')) verbose = kSwitchedOn;
}

[[gnu::constructor]] void read_trace_switches() {
  switch_on_if_asked("K7LIB_VERB", orlalib_verbose);
  switch_on_if_asked("K7THR_VERB", orlathr_verbose);
}

void close_trace() {
  // The stream may have got the standard error descriptor, which is never closed.
  if (trace_stream != nullptr && trace_descriptor != STDERR_FILENO) std::fclose(trace_stream);
  trace_stream = nullptr;
}

bool open_trace(const char *path) {
  const mode_t old_mask = umask(0);
  trace_stream = std::fopen(path, "a");
  if (trace_stream == nullptr) {
    std::fprintf(stderr, "\n\tUnable to open log file %s", path);
    return false;  // the mask stays 0: kept
  }
  umask(old_mask);
  trace_descriptor = fileno(trace_stream);
  // Unbuffered: a whole line given to it is one write of the system, and nothing is left to flush.
  std::setvbuf(trace_stream, nullptr, _IONBF, 0);
  return true;
}

// `error` is what "%m" stands for.
void write_line(const char *message, int error) {
  char stamp[orla::kTraceStampSize];
  orla::put_trace_stamp(stamp);
  errno = error;
  orla::PercentText(stamp, message, "").write(trace_stream);
}

// Bytes of the trace file, the low 32 bits; 0 when they cannot be told.
std::uint32_t trace_size() {
  struct stat status;
  if (fstat(trace_descriptor, &status) == 0) return static_cast<std::uint32_t>(status.st_size);
  if (errno != EOVERFLOW) return 0;
  // On 32-bit hosts the record cannot hold the times of a file written after 2038.
  const off_t end = lseek(trace_descriptor, 0, SEEK_END);
  return end < 0 ? 0 : static_cast<std::uint32_t>(end);
}

void rotate_if_grown(const char *path) {
  if (trace_descriptor < 0 || trace_size() <= ORLA_TRACE_ROTATION_SIZE) return;
  std::fclose(trace_stream);
  trace_stream = nullptr;
  char rotated[kRotatedPathSize];
  const int length = std::snprintf(rotated, sizeof rotated, "%s.1", path);
  // A name that was cut could be another file's; then, as after a failed rename, the file goes on.
  if (length < static_cast<int>(sizeof rotated)) std::rename(path, rotated);
}

}  // namespace

void TavTrace(char *message) noexcept {
  if (orlalib_verbose == 0 && orlathr_verbose == 0) return;
  const int error = errno;  // as the caller left it: opening the file may change it
  const char *path = std::getenv("K7LOG_PATH");
  if (path == nullptr) {
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
