// The profile files that are measured on.

#ifndef ORLA_BENCH_PROFILE_FILES_H
#define ORLA_BENCH_PROFILE_FILES_H

#include <cstdio>
#include <cstdlib>
#include <string>

#include "temp_folder.h"

namespace bench {

// Sections of ten keys each, an empty line after each section: 257 bytes a section.
inline std::string product_profile(int sections) {
  std::string text;
  char line[64];
  for (int section = 0; section < sections; ++section) {
    std::snprintf(line, sizeof line, "[Section%06d]\n", section);
    text += line;
    for (int key = 0; key < 10; ++key) {
      std::snprintf(line, sizeof line, "Key%02d=value of %06d %d\n", key, section, key);
      text += line;
    }
    text += '\n';
  }
  return text;
}

inline std::string small_profile() {
  std::string text = "[General]\n";
  for (int key = 1; key < 19; ++key)
    text += "Setting" + std::to_string(key) + "=" + std::to_string(key * 11) + "\n";
  return text + "Port=1492\n";
}

// Writes it into the program's folder and gives its path.
inline std::string written(const std::string &name, const std::string &text) {
  const std::string path = temp_folder().file(name);
  std::FILE *file = std::fopen(path.c_str(), "w");
  if (file == nullptr || std::fwrite(text.data(), 1, text.size(), file) != text.size())
    std::abort();
  std::fclose(file);
  return path;
}

inline std::string large_file(const std::string &name) {
  return written(name, product_profile(1000));
}
inline std::string small_file(const std::string &name) { return written(name, small_profile()); }

}  // namespace bench

#endif
