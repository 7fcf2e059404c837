/* Preloaded, it stands in for the clock of UUIDs: 2009-02-13 23:31:29.760000 UTC, and 4 microseconds later
   at every call. */

#include <stddef.h>
#include <sys/time.h>

int gettimeofday(struct timeval *restrict now, void *restrict zone) {
  static long microseconds = 760000;
  (void)zone;
  now->tv_sec = 1234567889 + microseconds / 1000000;
  now->tv_usec = microseconds % 1000000;
  microseconds += 4;
  return 0;
}
