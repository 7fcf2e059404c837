/* Preloaded, it replaces the loader's fallback directory by the one that ORLA_TEST_FALLBACK names.
 *  */

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <orla/loader.h>

void *dlopen(const char *name, int flags) {
  static const char kFolder[] = ORLA_LIBRARY_FALLBACK_DIRECTORY;
  void *(*real)(const char *, int);
  char path[4096];

  *(void **)&real = dlsym(RTLD_NEXT, "dlopen");
  if (name == NULL || strncmp(name, kFolder, strlen(kFolder)) != 0) return real(name, flags);
  snprintf(path, sizeof path, "%s/%s", getenv("ORLA_TEST_FALLBACK"), name + strlen(kFolder));
  return real(path, flags);
}
