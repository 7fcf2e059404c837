#include "inventory/cpu_decode.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>

namespace orla {
namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool is_white_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

bool starts_with(const char *text, const char *prefix) {
  return std::strncmp(text, prefix, std::strlen(prefix)) == 0;
}

// Reads a kernel release from front to back, one number and one separator at a time.
class ReleaseReader {
 public:
  explicit ReleaseReader(std::string_view release) : rest_(release) {}

  void skip_to_digit() {
    while (!rest_.empty() && !is_digit(rest_.front()))
      rest_.remove_prefix(1);
  }

  // Takes the digits at the front (no digits count as 0) and the separator after them. None when
  // there is no separator. A number beyond an int is the largest int.
  std::optional<int> take_number() {
    constexpr int kLargest = std::numeric_limits<int>::max();
    int number = 0;
    for (; !rest_.empty() && is_digit(rest_.front()); rest_.remove_prefix(1)) {
      const int digit = rest_.front() - '0';
      number = number > (kLargest - digit) / 10 ? kLargest : 10 * number + digit;
    }
    if (rest_.empty()) return {};
    rest_.remove_prefix(1);
    return number;
  }

 private:
  std::string_view rest_;
};

}  // namespace

bool is_genuine_intel(std::uint32_t ebx, std::uint32_t edx, std::uint32_t ecx) {
  const std::uint32_t vendor[3] = {ebx, edx, ecx};
  return std::memcmp(vendor, "GenuineIntel", sizeof vendor) == 0;
}

int logical_processors_per_package(std::uint32_t eax, std::uint32_t ebx) {
  if ((eax & 0xF00) != 0xF00) return 0;
  const auto count = static_cast<int>((ebx & 0xFF0000) >> 16);
  return count == 1 ? 0 : count;
}

// Quirk: each field is tested by itself, so that 2.2.19 counts as newer than 2.4.18.
FigureSource figure_source(std::string_view release) {
  ReleaseReader reader(release);
  const std::optional<int> major_number = reader.take_number();
  if (!major_number) return FigureSource::unusable;
  if (*major_number > 2) return FigureSource::cpuinfo;
  reader.skip_to_digit();
  const std::optional<int> minor_number = reader.take_number();
  if (!minor_number) return FigureSource::unusable;
  if (*minor_number > 4) return FigureSource::cpuinfo;
  const std::optional<int> patch_number = reader.take_number();
  if (!patch_number) return FigureSource::unusable;
  return *patch_number > 18 ? FigureSource::cpuinfo : FigureSource::kernel_log;
}

bool SiblingsFigure::take(const char *line) {
  if (!starts_with(line, "threads") && !starts_with(line, "siblings")) return true;
  while (*line != '\0' && !is_white_space(*line))
    ++line;
  while (is_white_space(*line))
    ++line;
  if (*line != ':') return false;
  last_ = std::atoi(line + 1);
  if (last_ == agreed_) return true;
  if (agreed_ != 0) return false;
  agreed_ = last_;
  return true;
}

// A priority prefix ("<6>") at the start of a line needs no care: no occurrence can begin in it.
int count_sibling_maps(std::string_view log) {
  constexpr std::string_view kMap = "cpu_sibling_map[";
  int count = 0;
  for (std::size_t at = log.find(kMap); at != std::string_view::npos;
       at = log.find(kMap, at + kMap.size())) {
    ++count;
  }
  return count;
}

}  // namespace orla
