// A traced line, flushed, beside a bare write of the same bytes and the status call that rotation
// needs; and an untraced service beside its system call.

#include <fcntl.h>
#include <orla/inventory.h>
#include <orla/trace.h>
#include <sys/stat.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "rows.h"
#include "temp_folder.h"

namespace {

// Seconds by which time() is ahead.
std::time_t ahead = 0;

}  // namespace

// Replaces the C library's function, so that a line can be the first of its second.
std::time_t time(std::time_t *out) noexcept {
  timespec now;
  clock_gettime(CLOCK_REALTIME_COARSE, &now);
  const std::time_t seconds = now.tv_sec + ahead;
  if (out != nullptr) *out = seconds;
  return seconds;
}

namespace {

char message[] = "KVRCA0001I tavGetMemorySize(): entering.\n";
const char kLine[] = "11/21/2026  9:05:07 4711 KVRCA0001I tavGetMemorySize(): entering.\n";
const char kZone[] = "EST5EDT,M3.2.0,M11.1.0";

void set_zone(const char *zone) {
  if (zone == nullptr) {
    unsetenv("TZ");
  } else {
    setenv("TZ", zone, 1);
  }
}

// A system call that `also` makes in addition.
template <typename Also>
void write_lines(long n, Also also) {
  const int file =
      open(bench::temp_folder().file("bare").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0666);
  for (; n > 0; --n) {
    struct stat status;
    if (write(file, kLine, sizeof kLine - 1) < 0 || fstat(file, &status) != 0) std::abort();
    if (status.st_size > ORLA_TRACE_ROTATION_SIZE && ftruncate(file, 0) != 0) std::abort();
    also();
  }
  close(file);
}

void write_plain_lines(long n) {
  write_lines(n, [] {});
}

void write_lines_of_a_process(long n) {
  write_lines(n, [] { bench::keep_result(getpid()); });
}

template <int seconds_apart>
void trace_lines(long n) {
  setenv("K7LOG_PATH", bench::temp_folder().file("trace").c_str(), 1);
  orlalib_verbose = 255;
  for (; n > 0; --n) {
    ahead += seconds_apart;
    TavTrace(message);
  }
  TavTrace(nullptr);
  orlalib_verbose = 0;
}

// What a program would write itself: no look at the size, no rotation.
template <int seconds_apart>
void print_lines(long n) {
  std::FILE *file = std::fopen(bench::temp_folder().file("printed").c_str(), "a");
  for (; n > 0; --n) {
    ahead += seconds_apart;
    const std::time_t now = std::time(nullptr);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%m/%d/%Y %H:%M:%S", std::localtime(&now));
    std::fprintf(file, "%s %d %s", stamp, getpid(), message);
    std::fflush(file);
  }
  std::fclose(file);
}

bench::Body in_zone(const char *zone, void (*body)(long)) {
  return [zone, body](long n) {
    set_zone(zone);
    body(n);
  };
}

template <int seconds_apart>
void line_rows(const char *title, const char *zone) {
  bench::Table table(title);
  table.floor("write + fstat", in_zone(zone, write_plain_lines));
  table.floor("write + fstat + getpid", in_zone(zone, write_lines_of_a_process));
  table.ours("TavTrace", in_zone(zone, trace_lines<seconds_apart>));
  table.peer("stdio, strftime, flush", in_zone(zone, print_lines<seconds_apart>));
}

const bench::Rows rows([] {
  // Many lines a second, and lines of which each is the first of its second.
  line_rows<0>("Traced line, TZ set", kZone);
  line_rows<0>("Traced line, TZ not set", nullptr);
  line_rows<1>("Traced line a second, TZ set", kZone);
  line_rows<1>("Traced line a second, TZ not set", nullptr);

  bench::Table memory("Untraced service: memory");
  memory.floor("sysinfo", bench::repeat([] {
                 struct sysinfo host;
                 sysinfo(&host);
                 bench::keep(host);
               }));
  memory.ours("tavGetMemorySize", bench::repeat([] {
                int size = 0;
                tavGetMemorySize(&size);
                bench::keep(size);
              }));
});

}  // namespace
