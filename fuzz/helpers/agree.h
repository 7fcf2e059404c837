// Compares the library's result with that of the plain version; where they differ, it prints both
// and the program ends.

#ifndef ORLA_FUZZ_HELPERS_AGREE_H
#define ORLA_FUZZ_HELPERS_AGREE_H

#include <cstdio>
#include <cstdlib>
#include <string>

// A text in readable form, whatever bytes it holds.
inline std::string shown(const std::string &text) {
  std::string out = "\"";
  for (const char c : text) {
    char hexadecimal[5];
    std::snprintf(hexadecimal, sizeof hexadecimal, "\\x%02x", static_cast<unsigned char>(c));
    const bool is_plain = c >= ' ' && c <= '~' && c != '"' && c != '\\';
    out += is_plain ? std::string(1, c) : hexadecimal;
  }
  return out += '"';
}

inline std::string shown(long long number) { return std::to_string(number); }

template <typename Answer>
void agree(const char *what, const Answer &library, const Answer &plain) {
  if (library == plain) return;
  std::fprintf(stderr, "%s\n  library: %s\n  plain:   %s\n", what, shown(library).c_str(),
               shown(plain).c_str());
  std::abort();
}

#endif
