// What processor and kernel report about hyper-threading, decoded in a plain way, which the library
// is compared with.

#ifndef ORLA_TESTS_PLAIN_PROCESSORS_H
#define ORLA_TESTS_PLAIN_PROCESSORS_H

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace plain {

inline bool is_digit_at(const std::string &text, std::size_t at) {
  return at < text.size() && text[at] >= '0' && text[at] <= '9';
}

// From EBX, EDX and ECX of `cpuid` leaf 0 as text, and EAX and EBX of leaf 1.
inline int logical_processors(const std::string &vendor, std::uint32_t eax, std::uint32_t ebx) {
  const std::uint32_t family = eax / 256 % 16;
  const auto figure = static_cast<int>(ebx / 65536 % 256);
  return vendor == "GenuineIntel" && family == 15 && figure != 1 ? figure : 0;
}

enum class Source { unusable, cpuinfo, kernel_log };

// Reads the digits at `at` and skips the character after them; false when there is none.
inline bool take_number(const std::string &release, std::size_t &at, long long &number) {
  std::string digits;
  while (is_digit_at(release, at))
    digits += release[at++];
  if (at++ == release.size()) return false;
  number = std::strtoll(digits.c_str(), nullptr, 10);
  return true;
}

inline Source figure_source(const std::string &release) {
  std::size_t at = 0;
  long long number;
  if (!take_number(release, at, number)) return Source::unusable;
  if (number > 2) return Source::cpuinfo;
  while (at < release.size() && !is_digit_at(release, at))
    ++at;
  if (!take_number(release, at, number)) return Source::unusable;
  if (number > 4) return Source::cpuinfo;
  if (!take_number(release, at, number)) return Source::unusable;
  return number > 18 ? Source::cpuinfo : Source::kernel_log;
}

// The next line of /proc/cpuinfo, or as much of it as the line buffer of 1,024 bytes holds.
inline std::string take_line(const std::string &file, std::size_t &at) {
  std::string line;
  while (at < file.size() && line.size() < 1023) {
    line += file[at++];
    if (line.back() == '\n') break;
  }
  return line.c_str();  // a zero byte ends it
}

inline int cpuinfo_figure(const std::string &file) {
  const auto is_white_space = [](char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
  };
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

// Position by position, without the priority prefix of each line.
inline int kernel_log_figure(const std::string &log) {
  const std::string map = "cpu_sibling_map[";
  int count = 0;
  for (std::size_t at = 0; at < log.size(); ++at) {
    if (log[at] == '<' && (at == 0 || log[at - 1] == '\n')) {
      ++at;
      while (is_digit_at(log, at))
        ++at;
      if (at < log.size() && log[at] == '>') ++at;
    }
    if (at < log.size() && log.compare(at, map.size(), map) == 0) ++count;
  }
  return count;
}

}  // namespace plain

#endif
