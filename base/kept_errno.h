// errno for functions that are not said to set it.

#ifndef ORLA_BASE_KEPT_ERRNO_H
#define ORLA_BASE_KEPT_ERRNO_H

#include <cerrno>

namespace orla {

// Gives `errno` its earlier value back when it goes out of scope.
class KeptErrno {
 public:
  KeptErrno() : value_(errno) {}
  ~KeptErrno() { errno = value_; }
  KeptErrno(const KeptErrno &) = delete;
  KeptErrno &operator=(const KeptErrno &) = delete;

 private:
  int value_;
};

}  // namespace orla

#endif
