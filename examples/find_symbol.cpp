// Opens a library and looks for a symbol in it, both named in double quotes:
//
//     find_symbol '"libc.so.6" "getenv"'
//
// Four families through the header for C++17 and later: tokens, loader, trace writer and calendar.
//
//     c++ -std=c++17 find_symbol.cpp $(pkg-config --cflags --libs orla) -o find_symbol

#include <orla/orla.hpp>

#include <cstdio>
#include <vector>

int main(int argc, char **argv) {
  // The tokens are views of the line; copy them to strings where a terminator is needed.
  const orla::tokens quoted(argc > 1 ? argv[1] : R"("libc.so.6" "getenv")", '"');
  const std::vector<std::string> names(quoted.begin(), quoted.end());
  if (names.size() != 2) {
    std::fprintf(stderr, "Give two names in double quotes.\n");
    return 2;
  }

  // What may fail reports it in its value. The library is closed when the object ends.
  const orla::library library(names[0]);
  if (!library) {
    std::fprintf(stderr, "%s\n", library.error().c_str());
    return 1;
  }
  const bool found = library.symbol<void()>(names[1]) != nullptr;

  // Formats nothing unless tracing is on.
  orla::tracef("%s: %s on %s", names[1].c_str(), found ? "found" : "missing",
               orla::date::today().iso_text().c_str());
  std::printf("%s is %s\n", names[1].c_str(), found ? "there" : "missing");
  return found ? 0 : 1;
}
