// While the object lives, the kernel's answers are those of the input. Needs the fake host.

#ifndef ORLA_FUZZ_HELPERS_KERNEL_H
#define ORLA_FUZZ_HELPERS_KERNEL_H

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

#include "fakes/host.h"

class Kernel {
 public:
  Kernel(std::string release, std::string cpuinfo, std::string log)
      : release_(std::move(release)),
        cpuinfo_(std::move(cpuinfo)),
        log_(std::move(log)),
        uname_(fake_uname, [this](utsname *host) { return put_release(*host); }),
        fopen_(fake_fopen, [this](const char *path, const char *mode) { return open(path, mode); }),
        klogctl_(fake_klogctl, [this](int, char *out, int size) { return put_log(out, size); }) {}

 private:
  // A text that fills the field leaves no terminator.
  int put_release(utsname &host) const {
    std::memset(host.release, '\0', sizeof host.release);
    std::memcpy(host.release, release_.data(), std::min(release_.size(), sizeof host.release));
    return 0;
  }

  std::FILE *open(const char *path, const char *mode) {
    if (std::strcmp(path, "/proc/cpuinfo") != 0) return fake_fopen.real(path, mode);
    return fmemopen(cpuinfo_.data(), cpuinfo_.size(), mode);
  }

  int put_log(char *out, int size) const {
    const std::size_t held = std::min(log_.size(), static_cast<std::size_t>(size));
    std::memcpy(out, log_.data(), held);
    return static_cast<int>(held);
  }

  std::string release_;
  std::string cpuinfo_;
  std::string log_;
  With<int(utsname *)> uname_;
  With<std::FILE *(const char *, const char *)> fopen_;
  With<int(int, char *, int)> klogctl_;
};

#endif
