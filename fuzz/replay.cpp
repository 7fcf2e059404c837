// Runs a fuzz target on every file of the folders named, which must not be empty: a corpus as an
// ordinary test, without libFuzzer.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "helpers/target.h"

namespace {

std::string content_of(const std::filesystem::path &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

int replay(const char *folder) {
  int count = 0;
  for (const auto &entry : std::filesystem::directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    // Printed before it runs: the last name is that of the input that ended the program.
    std::puts(entry.path().c_str());
    std::fflush(stdout);
    const std::string input = content_of(entry.path());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(input.data()), input.size());
    ++count;
  }
  return count;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s FOLDER...\n", argv[0]);
    return EXIT_FAILURE;
  }
  for (int i = 1; i < argc; ++i) {
    if (replay(argv[i]) > 0) continue;
    std::fprintf(stderr, "%s holds no input\n", argv[i]);
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
