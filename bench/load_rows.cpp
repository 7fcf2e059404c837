// Loading the library into a program and closing it again, beside others of the same trade and two
// floors: an empty library, and one that only has the names looked up that ours takes from the C
// library. This program is not linked with the library.

#include <dlfcn.h>

#include <cstdlib>

#include "rows.h"

namespace {

bench::Body open_and_close(const char *library) {
  return bench::repeat([library] {
    void *handle = dlopen(library, RTLD_NOW);
    if (handle == nullptr) std::abort();
    dlclose(handle);
  });
}

const bench::Rows rows([] {
  bench::Table table("Load of the library");
  table.floor("an empty library", open_and_close(ORLA_BENCH_EMPTY));
  table.floor("a library with our imports alone", open_and_close(ORLA_BENCH_IMPORTS));
  table.ours("liborla", open_and_close(ORLA_BENCH_LIBRARY));
#ifdef ORLA_BENCH_PEERS
  // GLib is not measured: once loaded it stays loaded.
  table.peer("libuuid", open_and_close("libuuid.so.1"));
#endif
});

}  // namespace
