// Symbol look-up, compared with the plain call of the dynamic linker.

#include <dlfcn.h>
#include <orla/loader.h>

#include "rows.h"

namespace {

constexpr const char *kLibrary = "libc.so.6";
constexpr const char *kSymbol = "getenv";

orla_library_id *loaded_library() {
  orla_library_id *id = orla_slnk_allocate_library_id();
  orla_status status;
  orla_slnk_load_library(kLibrary, id, &status);
  return id;
}

const bench::Rows rows([] {
  bench::Table table("Symbol lookup");
  table.floor("dlsym", bench::repeat([handle = dlopen(kLibrary, RTLD_NOW)] {
                bench::keep_result(dlsym(handle, kSymbol));
              }));
  table.ours("orla_slnk_get_proc_addr", bench::repeat([id = loaded_library()] {
               orla_status status;
               bench::keep_result(orla_slnk_get_proc_addr(id, kSymbol, &status));
             }));
});

}  // namespace
