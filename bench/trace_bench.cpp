// A traced line, beside a bare write of the same bytes and the status call that rotation needs.

#include <fcntl.h>
#include <orla/trace.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "harness.h"

namespace {

char message[] = "KVRCA0001I tavGetMemorySize(): entering.\n";
const char line[] = "11/21/2026  9:05:07 4711 KVRCA0001I tavGetMemorySize(): entering.\n";

void write_and_status(const std::string &path, long n) {
  const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0666);
  for (; n > 0; --n) {
    struct stat status;
    if (write(descriptor, line, sizeof line - 1) < 0 || fstat(descriptor, &status) != 0) break;
    if (status.st_size > ORLA_TRACE_ROTATION_SIZE && ftruncate(descriptor, 0) != 0) break;
  }
  close(descriptor);
}

void trace_lines(long n) {
  orlalib_verbose = 255;
  for (; n > 0; --n)
    TavTrace(message);
  TavTrace(nullptr);
  orlalib_verbose = 0;
}

void traced_line(const char *title, const char *zone, const std::string &folder) {
  if (zone != nullptr) {
    setenv("TZ", zone, 1);
  } else {
    unsetenv("TZ");
  }
  bench::Table table(title);
  table.row("write + fstat", [&](long n) { write_and_status(folder + "/bare", n); });
  table.row("TavTrace", trace_lines);
}

}  // namespace

int main() {
  std::string folder = std::filesystem::temp_directory_path() / "orla-bench-XXXXXX";
  if (mkdtemp(folder.data()) == nullptr) return 1;
  setenv("K7LOG_PATH", (folder + "/trace").c_str(), 1);
  traced_line("Traced line, TZ set", "EST5EDT,M3.2.0,M11.1.0", folder);
  traced_line("Traced line, TZ not set", nullptr, folder);
  std::filesystem::remove_all(folder);
}
