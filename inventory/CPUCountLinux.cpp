// Processor probes and the count that is made from them. The probes call each other through their
// exported names; cpu_decode.cpp decodes their answers.

#include <orla/inventory.h>
#include <sys/klog.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/kept_errno.h"
#include "inventory/cpu_decode.h"

namespace {

constexpr int kKernelFailed = -1;
constexpr int kReadWholeLog = 3;  // action of klogctl()
constexpr int kLogSize = 16392;
constexpr int kLineSize = 1024;

int figure_from_cpuinfo() {
  std::FILE *file = std::fopen("/proc/cpuinfo", "r");
  if (file == nullptr) {
    std::fputs("Can't open /proc/cpuinfo\n", stderr);
    return kKernelFailed;
  }
  orla::SiblingsFigure figure;
  bool usable = true;
  char line[kLineSize];
  while (usable && std::fgets(line, sizeof line, file) != nullptr)
    usable = figure.take(line);
  std::fclose(file);
  return usable ? figure.value() : kKernelFailed;
}

int figure_from_kernel_log() {
  char log[kLogSize];
  const int length = klogctl(kReadWholeLog, log, sizeof log);
  if (length < 0) {
    std::perror("klogctl");
    std::exit(1);  // Quirk: the process ends here.
  }
  return orla::count_sibling_maps({log, static_cast<std::size_t>(length)});
}

// Leaves `errno` alone, unless the count is negative: then `errno` says why.
int configured_processors() {
  const int error = errno;
  const int configured = get_nprocs_conf();
  if (configured >= 0) errno = error;
  return configured;
}

orla_count_method count_method(int configured, int per_package) {
  if (per_package == 0) return ORLA_COUNT_NO_HYPER_THREADING;
  const int kernel_figure = ht_os_cpus();
  if (kernel_figure == 0) return ORLA_COUNT_NO_KERNEL_FIGURE;
  // Quirk: the figure per package is compared with the count of the whole host, so that a host with
  // several packages does not count as hyper-threaded.
  if (kernel_figure == 1 || kernel_figure != configured) return ORLA_COUNT_UNUSABLE_KERNEL_FIGURE;
  return ORLA_COUNT_PACKAGES;
}

}  // namespace

std::uint32_t count_physical_proc(int *count) noexcept {
  const int configured = configured_processors();
  const int per_package = HTSupported();
  const orla_count_method method = count_method(configured, per_package);
  // Stored after the last probe: one that ends the process leaves the caller's count as it was.
  *count = method == ORLA_COUNT_PACKAGES ? configured / per_package : configured;
  return method;
}

int HTSupported() noexcept {
  if (CPUID_is_supported() == 0) return 0;
  std::uint32_t eax;
  std::uint32_t ebx;
  std::uint32_t ecx;
  std::uint32_t edx;
  cpuid(0, &eax, &ebx, &ecx, &edx);
  if (!orla::is_genuine_intel(ebx, edx, ecx)) return 0;
  cpuid(1, &eax, &ebx, &ecx, &edx);
  return orla::logical_processors_per_package(eax, ebx);
}

int ht_os_cpus() noexcept {
  const orla::KeptErrno kept;
  utsname host;
  if (uname(&host) != 0) return kKernelFailed;
  const std::string_view release(host.release, strnlen(host.release, sizeof host.release));
  const orla::FigureSource source = orla::figure_source(release);
  if (source == orla::FigureSource::cpuinfo) return figure_from_cpuinfo();
  if (source == orla::FigureSource::kernel_log) return figure_from_kernel_log();
  return kKernelFailed;
}

int CPUID_is_supported() noexcept {
#if defined(__i386__)
  // The instruction exists exactly when the ID flag, bit 21 of the flags register, can be changed.
  constexpr unsigned kIdFlag = 0x200000;
  unsigned saved;
  unsigned inverted;
  __asm__ volatile(
      "pushfl\n\t"
      "pushfl\n\t"
      "popl %0\n\t"
      "movl %0, %1\n\t"
      "xorl %2, %1\n\t"
      "pushl %1\n\t"
      "popfl\n\t"
      "pushfl\n\t"
      "popl %1\n\t"
      "popfl"
      : "=&r"(saved), "=&r"(inverted)
      : "i"(kIdFlag)
      : "cc");
  return ((saved ^ inverted) & kIdFlag) != 0;
#elif defined(__x86_64__)
  return 1;
#else
  return 0;
#endif
}

void cpuid(std::uint32_t leaf, std::uint32_t *eax, std::uint32_t *ebx, std::uint32_t *ecx,
           std::uint32_t *edx) noexcept {
  std::uint32_t a = leaf;
  std::uint32_t b = 0;
  std::uint32_t c = 0;
  std::uint32_t d = 0;
#if defined(__i386__) || defined(__x86_64__)
  __asm__ volatile("cpuid" : "+a"(a), "=b"(b), "=c"(c), "=d"(d));
#else
  a = 0;
#endif
  *eax = a;
  *ebx = b;
  *ecx = c;
  *edx = d;
}
