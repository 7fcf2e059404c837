// What the readers and the writer share: which file a path stands for, and how it is opened.

#ifndef ORLA_PROFILE_PROFILE_FILE_H
#define ORLA_PROFILE_PROFILE_FILE_H

namespace orla {

// The path to open for the caller's `path`: the value of ORLA_CONFIG, where it is set and `path` is
// exactly the default one.
const char *path_in_force(const char *path);

// Opens a file of any size. Returns the descriptor, or -1 with `errno` set.
int open_for_reading(const char *path);

// Closes a descriptor as long as it lives, where there is one.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() { close(); }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;

  bool is_open() const { return number_ >= 0; }
  int number() const { return number_; }

  // False when the system reports that what was written is not safe.
  bool close();

 private:
  int number_;
};

}  // namespace orla

#endif
