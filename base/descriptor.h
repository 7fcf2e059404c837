// File descriptors: an owner for one, opening for reading, and writing in full.

#ifndef ORLA_BASE_DESCRIPTOR_H
#define ORLA_BASE_DESCRIPTOR_H

#include <cstddef>
#include <string_view>

namespace orla {

// Owns a descriptor and closes it when it goes out of scope; `errno` stays as it was.
class Descriptor {
 public:
  // Takes the result of open(): one below 0 is no descriptor.
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor();
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;

  [[nodiscard]] bool is_open() const { return number_ >= 0; }
  [[nodiscard]] int number() const { return number_; }

  // Closes it now. False, with `errno` set, when the system reports that what was written may be
  // lost.
  [[nodiscard]] bool close();

 private:
  int number_;
};

// Opens a file of any size. Returns the descriptor, or -1 with `errno` set.
[[nodiscard]] int open_for_reading(const char *path);

// Writes `text`, and goes on after a signal. Returns how many bytes the system took: fewer than
// all, with `errno` set, when it takes no more.
[[nodiscard]] std::size_t write_all(int descriptor, std::string_view text);

}  // namespace orla

#endif
