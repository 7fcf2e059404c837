// Keeps errno for the callers of functions that must not change it.

#ifndef ORLA_BASE_KEPT_ERRNO_H
#define ORLA_BASE_KEPT_ERRNO_H

#include <cerrno>

namespace orla {

// Puts errno back when it goes out of scope.
class KeptErrno {
 public:
  KeptErrno() : error_(errno) {}
  ~KeptErrno() { errno = error_; }
  KeptErrno(const KeptErrno &) = delete;
  KeptErrno &operator=(const KeptErrno &) = delete;

 private:
  int error_;
};

}  // namespace orla

#endif
