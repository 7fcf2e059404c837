// Symbol look-up and node name, beside the plain call of the dynamic linker.

#include <dlfcn.h>
#include <orla/loader.h>
#include <orla/names.h>
#include <sys/utsname.h>

#include "harness.h"

namespace {

constexpr const char *kLibrary = "libc.so.6";
constexpr const char *kSymbol = "getenv";

void look_up() {
  void *handle = dlopen(kLibrary, RTLD_NOW);
  orla_library_id *id = orla_slnk_allocate_library_id();
  orla_status status;
  orla_slnk_load_library(kLibrary, id, &status);
  {
    bench::Table table("Looking up a symbol");
    table.row("dlsym", [handle](long n) {
      for (; n > 0; --n)
        bench::keep(dlsym(handle, kSymbol));
    });
    table.row("orla_slnk_get_proc_addr", [id, &status](long n) {
      for (; n > 0; --n)
        bench::keep(orla_slnk_get_proc_addr(id, kSymbol, &status));
    });
  }
  orla_slnk_free_library(id);
  orla_slnk_free_library_id(id);
  dlclose(handle);
}

void open_and_close() {
  bench::Table table("Opening a library that is in memory, and closing it");
  table.row("dlopen, dlclose", [](long n) {
    for (; n > 0; --n)
      dlclose(dlopen(kLibrary, RTLD_NOW));
  });
  table.row("the loader, its record included", [](long n) {
    for (; n > 0; --n) {
      orla_library_id *id = orla_slnk_allocate_library_id();
      orla_status status;
      orla_slnk_load_library(kLibrary, id, &status);
      orla_slnk_free_library(id);
      orla_slnk_free_library_id(id);
    }
  });
}

void node_name() {
  bench::Table table("Name of the node");
  table.row("uname", [](long n) {
    utsname host;
    for (; n > 0; --n) {
      uname(&host);
      bench::keep(host);
    }
  });
  table.row("orla_get_node_name, provider open", [](long n) {
    char name[ORLA_NODE_NAME_SIZE];
    for (; n > 0; --n) {
      orla_get_node_name(name);
      bench::keep(name);
    }
  });
}

}  // namespace

int main() {
  look_up();
  open_and_close();
  node_name();
}
