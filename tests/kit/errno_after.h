#ifndef ORLA_TESTS_KIT_ERRNO_AFTER_H
#define ORLA_TESTS_KIT_ERRNO_AFTER_H

#include <cerrno>

// errno after `call`, before which it is 4711.
template <typename Call>
int errno_after(Call call) {
  errno = 4711;
  call();
  return errno;
}

#endif
