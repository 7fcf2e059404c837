// Fakes of the calls that ask the processor and the kernel about the host, the library's own probes
// among them.

#ifndef ORLA_TESTS_FAKES_HOST_H
#define ORLA_TESTS_FAKES_HOST_H

#include <sys/sysinfo.h>
#include <sys/types.h>
#include <sys/utsname.h>

#include <cstdint>
#include <cstdio>

#include "fake.h"

extern Fake<int()> fake_CPUID_is_supported;
extern Fake<void(std::uint32_t, std::uint32_t *, std::uint32_t *, std::uint32_t *, std::uint32_t *)>
    fake_cpuid;
extern Fake<int()> fake_HTSupported;
extern Fake<int()> fake_ht_os_cpus;
extern Fake<std::uint32_t(int *)> fake_count_physical_proc;

extern Fake<int()> fake_get_nprocs_conf;
extern Fake<int(utsname *)> fake_uname;
extern Fake<int(int, char *, int)> fake_klogctl;
extern Fake<int(struct sysinfo *)> fake_sysinfo;
extern Fake<uid_t()> fake_geteuid;
extern Fake<std::FILE *(const char *, const char *)> fake_fopen;
extern Fake<int(const char *, int)> fake_open;
extern Fake<int(int, unsigned long, void *)> fake_ioctl;
extern Fake<int(int)> fake_close;

#endif
