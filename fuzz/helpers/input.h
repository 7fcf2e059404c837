// Splits the bytes of one input into the fields that a target needs. Fields are lines, so that
// inputs can be read and written by hand.

#ifndef ORLA_FUZZ_HELPERS_INPUT_H
#define ORLA_FUZZ_HELPERS_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

class Input {
 public:
  Input(const std::uint8_t *data, std::size_t size)
      : rest_(reinterpret_cast<const char *>(data), size) {}

  // The next line without its line feed, as far as a C string can hold it.
  std::string line() {
    const std::size_t end = std::min(rest_.find('\n'), rest_.size());
    const std::string line = rest_.substr(0, end);
    rest_.erase(0, end + 1);
    return line.c_str();
  }

  // The number that the next line begins with; `least` for one outside the range.
  int number(int least, int most) {
    const long number = std::strtol(line().c_str(), nullptr, 10);
    return number >= least && number <= most ? static_cast<int>(number) : least;
  }

  // What is left, as far as a C string can hold it.
  std::string text() const { return rest_.c_str(); }

  // What is left.
  const std::string &bytes() const { return rest_; }

 private:
  std::string rest_;
};

#endif
