// Three families from C++: tokens, loader and trace writer.
//
//     find_symbol '"libc.so.6" "getenv"' opens the library named first and looks up the symbol named second.
//
//     c++ find_symbol.cpp -lorla

#include <orla/loader.h>
#include <orla/token.h>
#include <orla/trace.h>

#include <cstdio>
#include <memory>

struct FreeId {
  void operator()(orla_library_id *id) const { orla_slnk_free_library_id(id); }
};

int main(int argc, char **argv) {
  const char *line = argc > 1 ? argv[1] : R"("libc.so.6" "getenv")";
  char library[240];
  char symbol[80];
  line = get_first_delimited_token_in_string(line, '"', library, sizeof library);
  if (line == nullptr ||
      get_first_delimited_token_in_string(line, '"', symbol, sizeof symbol) == nullptr) {
    std::fprintf(stderr, "Give two names in double quotes.\n");
    return 2;
  }

  const std::unique_ptr<orla_library_id, FreeId> id(orla_slnk_allocate_library_id());
  orla_status status;
  orla_slnk_load_library(library, id.get(), &status);
  if (status != 0) {
    std::fprintf(stderr, "%s does not open; K7LIB_VERB=y traces the reason.\n", library);
    return 1;
  }
  const bool found = orla_slnk_get_proc_addr(id.get(), symbol, &status) != nullptr;
  if (orlalib_verbose != 0) {
    std::snprintf(statuslog, sizeof statuslog, "%s: %s\n", symbol, found ? "found" : "missing");
    TavTrace(statuslog);
    statuslog[0] = '\0';
  }
  std::printf("%s is %s\n", symbol, found ? "there" : "missing");
  orla_slnk_free_library(id.get());
  return found ? 0 : 1;
}
