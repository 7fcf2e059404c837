#include "host.h"

#include <fcntl.h>
#include <orla/inventory.h>
#include <sys/ioctl.h>
#include <sys/klog.h>
#include <unistd.h>

#include <cstdarg>

constinit Fake<int()> fake_CPUID_is_supported("CPUID_is_supported");
constinit Fake<void(std::uint32_t, std::uint32_t *, std::uint32_t *, std::uint32_t *,
                    std::uint32_t *)>
    fake_cpuid("cpuid");
constinit Fake<int()> fake_HTSupported("HTSupported");
constinit Fake<int()> fake_ht_os_cpus("ht_os_cpus");
constinit Fake<std::uint32_t(int *)> fake_count_physical_proc("count_physical_proc");
constinit Fake<int()> fake_get_nprocs_conf("get_nprocs_conf");
constinit Fake<int(utsname *)> fake_uname("uname");
constinit Fake<int(int, char *, int)> fake_klogctl("klogctl");
constinit Fake<int(struct sysinfo *)> fake_sysinfo("sysinfo");
constinit Fake<uid_t()> fake_geteuid("geteuid");
constinit Fake<std::FILE *(const char *, const char *)> fake_fopen("fopen");
constinit Fake<int(const char *, int)> fake_open("open");
constinit Fake<int(int, unsigned long, void *)> fake_ioctl("ioctl");
constinit Fake<int(int)> fake_close("close");

extern "C" {

int CPUID_is_supported() noexcept { return fake_CPUID_is_supported(); }

void cpuid(std::uint32_t leaf, std::uint32_t *eax, std::uint32_t *ebx, std::uint32_t *ecx,
           std::uint32_t *edx) noexcept {
  fake_cpuid(leaf, eax, ebx, ecx, edx);
}

int HTSupported() noexcept { return fake_HTSupported(); }

int ht_os_cpus() noexcept { return fake_ht_os_cpus(); }

std::uint32_t count_physical_proc(int *count) noexcept { return fake_count_physical_proc(count); }

int get_nprocs_conf() noexcept { return fake_get_nprocs_conf(); }

int uname(utsname *host) noexcept { return fake_uname(host); }

int klogctl(int action, char *log, int size) noexcept { return fake_klogctl(action, log, size); }

int sysinfo(struct sysinfo *host) noexcept { return fake_sysinfo(host); }

uid_t geteuid() noexcept { return fake_geteuid(); }

std::FILE *fopen(const char *path, const char *mode) { return fake_fopen(path, mode); }

// Only opens without a mode are stood in for; those that create a file pass their mode on.
int open(const char *path, int flags, ...) {
  if ((flags & (O_CREAT | O_TMPFILE)) == 0) return fake_open(path, flags);
  va_list list;
  va_start(list, flags);
  const mode_t mode = va_arg(list, mode_t);
  va_end(list);
  return openat(AT_FDCWD, path, flags, mode);
}

int ioctl(int descriptor, unsigned long request, ...) noexcept {
  va_list list;
  va_start(list, request);
  void *argument = va_arg(list, void *);
  va_end(list);
  return fake_ioctl(descriptor, request, argument);
}

int close(int descriptor) { return fake_close(descriptor); }
}
