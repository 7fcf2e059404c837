// The figure of hyper-threading in /proc/cpuinfo.

#include <orla/inventory.h>

#include <cctype>
#include <cstdlib>
#include <string>

#include "kit/agree.h"
#include "kit/input.h"
#include "kit/kernel.h"
#include "kit/target.h"

namespace {

constexpr std::size_t kLongestPiece = 1023;

// The next line, or as much of it as the line buffer holds.
std::string take_line(const std::string &file, std::size_t &at) {
  std::string line;
  while (at < file.size() && line.size() < kLongestPiece) {
    line += file[at++];
    if (line.back() == '\n') break;
  }
  return line.c_str();  // a zero byte ends it
}

bool is_white_space(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

int figure_plainly(const std::string &file) {
  int remembered = 0;
  int value = 0;
  for (std::size_t next = 0; next < file.size();) {
    const std::string line = take_line(file, next);
    if (line.substr(0, 7) != "threads" && line.substr(0, 8) != "siblings") continue;
    std::size_t at = 0;
    while (at < line.size() && !is_white_space(line[at]))
      ++at;
    while (at < line.size() && is_white_space(line[at]))
      ++at;
    if (at == line.size() || line[at] != ':') return -1;
    value = std::atoi(line.c_str() + at + 1);
    if (value == remembered) continue;
    if (remembered != 0) return -1;
    remembered = value;
  }
  return value;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const std::string file = Input(data, size).bytes();
  const Kernel kernel("6.1.0-18-amd64", file, "");
  agree("figure", ht_os_cpus(), figure_plainly(file));
  return 0;
}
