/** @file
 *  Host inventory: how many processors, how much memory and how many disks this host has.
 *
 *  Processors are counted as physical packages where hyper-threading can be recognised (Intel,
 *  family 15, kernel and processor in agreement) and as configured logical processors everywhere
 *  else. Every call asks the processor and the kernel again; nothing is kept.
 *
 *  The four entry points (`tav...`) return a status and write trace lines while ::orlalib_verbose
 *  is on (orla/trace.h). The probes behind the processor count may also be called directly; they
 *  write no trace lines. `errno` is left alone, except by count_physical_proc() for a negative
 *  count.
 *
 *  What a caller must know:
 *  - tavGetOnlineProcs() and tavGetConfigProcs() give the same figure.
 *  - On 32-bit x86 with more than 4 GiB the kernel counts memory in larger units, and
 *    tavGetMemorySize() does not multiply by them: its figure is smaller by that factor. The real
 *    size is `(uint64_t)totalram * mem_unit >> 20` of sysinfo(). The figure times `mem_unit` is too
 *    small, by less than `mem_unit` mebibytes.
 *  - tavGetDisks() needs root and never looks at /dev/hdz and /dev/sdz.
 */
#ifndef ORLA_INVENTORY_H
#define ORLA_INVENTORY_H

#include <orla/base.h>

ORLA_BEGIN_DECLS

/** Counts the host's processors.
 *
 *  @param[out] count  processors, by count_physical_proc().
 *  @return     0, or 1 for a null pointer or a negative count (which is left in `*count`).
 *  Threads: safe unless tracing is on. A kernel log that cannot be read ends the process:
 *  ht_os_cpus().
 */
ORLA_EXPORT orla_status tavGetOnlineProcs(int *count) ORLA_NOEXCEPT;

/** Counts the host's processors, as tavGetOnlineProcs() does; only the name in its trace lines
 *  differs.
 *
 *  @param[out] count  processors, by count_physical_proc().
 *  @return     0, or 1 for a null pointer or a negative count (which is left in `*count`).
 *  Threads: safe unless tracing is on. A kernel log that cannot be read ends the process:
 *  ht_os_cpus().
 */
ORLA_EXPORT orla_status tavGetConfigProcs(int *count) ORLA_NOEXCEPT;

/** Tells how much main memory the host has.
 *
 *  @param[out] size  mebibytes, truncated. The kernel's memory unit is not applied.
 *  @return     0, or 1 for a null pointer or a kernel that does not answer; `*size` is then left as
 *              it was.
 *  Threads: safe unless tracing is on.
 */
ORLA_EXPORT orla_status tavGetMemorySize(int *size) ORLA_NOEXCEPT;

/** Counts the disks that answer a drive-geometry request: /dev/hda to /dev/hdy, /dev/sda to
 *  /dev/sdy.
 *
 *  @param[out] count  disks, 0 to 50.
 *  @return     0, or 1 for a null pointer or a caller that is not root; `*count` is then left as it
 *              was.
 *  Threads: safe unless tracing is on.
 */
ORLA_EXPORT orla_status tavGetDisks(unsigned *count) ORLA_NOEXCEPT;

/** How count_physical_proc() counted. */
enum orla_count_method {
  /** The processor reports no hyper-threading: configured logical processors. */
  ORLA_COUNT_NO_HYPER_THREADING = 0,
  /** Processor and kernel agree: physical packages. */
  ORLA_COUNT_PACKAGES = 1,
  /** The kernel reports no hyper-threading figure: configured logical processors. */
  ORLA_COUNT_NO_KERNEL_FIGURE = 2,
  /** The kernel's figure is 1, differs from the configured count or is not available: configured
   *  logical processors. */
  ORLA_COUNT_UNUSABLE_KERNEL_FIGURE = 3
};

/** Counts physical packages where hyper-threading can be recognised, else logical processors.
 *
 *  @param[out] count  processors. Not null.
 *  @return     method code, 0 to 3: enum ::orla_count_method.
 *  Errors: none of its own; a probe that fails shows in the method code. For a negative count
 *  `errno` says why. `*count` is stored after the last probe: a probe that ends the process leaves
 *  it as it was.
 *  Threads: safe.
 */
ORLA_EXPORT uint32_t count_physical_proc(int *count) ORLA_NOEXCEPT;

/** Asks the processor for its logical processors per package.
 *
 *  Only Intel processors of family 15 are recognised, by `cpuid` leaves 0 and 1; the extended
 *  family and the hyper-threading flag are ignored.
 *
 *  @return  2 to 255, or 0 for a processor without hyper-threading or of another kind.
 *  Errors: none. Threads: safe.
 */
ORLA_EXPORT int HTSupported(void) ORLA_NOEXCEPT;

/** Asks the kernel for its hyper-threading figure.
 *
 *  The kernel release says where to look. A major number over 2, a minor number over 4 or a patch
 *  number over 18, each by itself, selects /proc/cpuinfo ("siblings" or "threads"); otherwise the
 *  kernel log is searched.
 *
 *  @return  logical processors per package (from /proc/cpuinfo) or occurrences of
 *           "cpu_sibling_map[" (in the log); 0 when the kernel reports none; -1 when it cannot be
 *           asked, when its release ends right after a number that is needed, when a "siblings" or
 *           "threads" line has no ":" after the blanks, or when packages disagree.
 *  Errors: a /proc/cpuinfo that does not open is named on standard error. When the kernel log
 *  cannot be read, that is reported there too and the process ends with exit status 1.
 *  Threads: safe.
 */
ORLA_EXPORT int ht_os_cpus(void) ORLA_NOEXCEPT;

/** Tells whether the processor has the `cpuid` instruction.
 *
 *  @return  1 or 0; always 1 on x86-64, always 0 on a processor that is not x86.
 *  Errors: none. Threads: safe.
 */
ORLA_EXPORT int CPUID_is_supported(void) ORLA_NOEXCEPT;

/** Executes the `cpuid` instruction. On a processor that is not x86 all four results are 0.
 *
 *  @param[in]  leaf  0 or 1; the sub-leaf register is not loaded.
 *  @param[out] eax   EAX after the instruction.
 *  @param[out] ebx   EBX after the instruction.
 *  @param[out] ecx   ECX after the instruction.
 *  @param[out] edx   EDX after the instruction.
 *  Errors: none. Threads: safe.
 */
ORLA_EXPORT void cpuid(uint32_t leaf, uint32_t *eax, uint32_t *ebx, uint32_t *ecx,
                       uint32_t *edx) ORLA_NOEXCEPT;

ORLA_END_DECLS

#endif
