/* Preloaded, it replaces two clocks. That of UUIDs shows 2009-02-13 23:31:29.760000 UTC, and 4
   microseconds more at every call; the one for spans of time goes 10 milliseconds on. */

#include <stddef.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

int gettimeofday(struct timeval *restrict now, void *restrict zone) {
  static long microseconds = 760000;
  (void)zone;
  now->tv_sec = 1234567889 + microseconds / 1000000;
  now->tv_usec = microseconds % 1000000;
  microseconds += 4;
  return 0;
}

int clock_gettime(clockid_t clock, struct timespec *now) {
  static long milliseconds = 0;
  if (clock != CLOCK_MONOTONIC) return (int)syscall(SYS_clock_gettime, clock, now);
  now->tv_sec = milliseconds / 1000;
  now->tv_nsec = milliseconds % 1000 * 1000000;
  milliseconds += 10;
  return 0;
}
