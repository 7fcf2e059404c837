/* Replaces the library's copy_file(): sends the process the signal of ^C before it copies. */

#include <dlfcn.h>
#include <signal.h>
#include <unistd.h>

int copy_file(const char *source, const char *destination);

int copy_file(const char *source, const char *destination) {
  int (*copy)(const char *, const char *);
  *(void **)&copy = dlsym(RTLD_NEXT, "copy_file");
  kill(getpid(), SIGINT);
  return copy(source, destination);
}
