// Loader: dlopen() and dlsym() with a handle on the heap, a second directory to search and a
// status.

#include <dlfcn.h>
#include <orla/loader.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/kept_errno.h"
#include "support/traced_service.h"

struct orla_library_id {
  void *handle;  // of dlopen(); null after a failed load
};

namespace {

constexpr char kFallbackDirectory[] = ORLA_LIBRARY_FALLBACK_DIRECTORY;
constexpr std::size_t kPathSize = 256;
constexpr std::size_t kErrorSize = 256;

static_assert(sizeof kFallbackDirectory + ORLA_LIBRARY_FALLBACK_NAME_MAX == kPathSize);

// For a symbol that exists and is null, the linker has not failed and has no text.
const char *linker_error() {
  const char *text = dlerror();
  return text != nullptr ? text : "(null)";
}

// RTLD_LOCAL is the absence of RTLD_GLOBAL: the library's symbols stay its own.
void *open_library(const char *path) { return dlopen(path, RTLD_NOW); }

// Quirk: the directory is put before an absolute name too.
void *open_in_fallback_directory(const char *name) {
  // A path that was cut could name another library.
  if (std::strlen(name) > ORLA_LIBRARY_FALLBACK_NAME_MAX) return nullptr;
  char path[kPathSize];
  std::snprintf(path, sizeof path, "%s%s", kFallbackDirectory, name);
  return open_library(path);
}

// The text is built even when it is not traced, because reading the linker's error also clears it.
// Quirk: it keeps its line feed, so the trace line ends in a line feed, a period and a line feed.
[[gnu::cold]] orla_status report_failed_load(const char *name) {
  char error[kErrorSize];
  std::snprintf(error, sizeof error, "Error loading module %s, dlerror: %s\n", name,
                linker_error());
  orla::trace_error_with_period("orla_slnk_load_library()", error);
  return ORLA_LOADER_FAILED;
}

// Quirk: the second line starts with a comma.
[[gnu::cold]] orla_status report_missing_symbol(const char *symbol) {
  std::printf("Error looking up procedure %s\n,%s\n", symbol, linker_error());
  return ORLA_LOADER_FAILED;
}

}  // namespace

orla_library_id *orla_slnk_allocate_library_id() noexcept {
  const orla::KeptErrno kept;
  return static_cast<orla_library_id *>(std::malloc(sizeof(orla_library_id)));
}

void orla_slnk_load_library(const char *name, orla_library_id *id, orla_status *status) noexcept {
  const orla::KeptErrno kept;
  *status = 0;
  id->handle = open_library(name);
  if (id->handle == nullptr) id->handle = open_in_fallback_directory(name);
  if (id->handle == nullptr) *status = report_failed_load(name);
}

void *orla_slnk_get_proc_addr(const orla_library_id *id, const char *symbol,
                              orla_status *status) noexcept {
  const orla::KeptErrno kept;
  void *address = dlsym(id->handle, symbol);
  // Quirk: a symbol whose value is null counts as missing.
  if (address == nullptr) *status = report_missing_symbol(symbol);
  return address;  // Quirk: success leaves the status as it was.
}

int orla_slnk_free_library(const orla_library_id *id) noexcept {
  const orla::KeptErrno kept;
  return dlclose(id->handle);  // Quirk: the handle stays in the record.
}

void orla_slnk_free_library_id(orla_library_id *id) noexcept { std::free(id); }
