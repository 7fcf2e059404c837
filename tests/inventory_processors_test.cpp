// The processor probes, the count that combines them and the two entry points, over a faked host.

#include <gtest/gtest.h>
#include <orla/inventory.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "fakes/host.h"
#include "fakes/trace_lines.h"
#include "kit/captured.h"
#include "kit/errno_after.h"

namespace {

using testing::ExitedWithCode;

struct Registers {
  std::uint32_t eax;
  std::uint32_t ebx;
  std::uint32_t ecx;
  std::uint32_t edx;
};

constexpr Registers kIntel = {2, 0x756E6547, 0x6C65746E, 0x49656E69};
constexpr Registers kAmd = {1, 0x68747541, 0x444D4163, 0x69746E65};

using Leaves = std::vector<std::uint32_t>;

// A processor that answers leaf 0 and leaf 1.
class Processor {
 public:
  Processor(Registers leaf0, Registers leaf1)
      : supported_(fake_CPUID_is_supported, [] { return 1; }),
        cpuid_(fake_cpuid, [=, this](std::uint32_t leaf, std::uint32_t *eax, std::uint32_t *ebx,
                                     std::uint32_t *ecx, std::uint32_t *edx) {
          leaves.push_back(leaf);
          const Registers &registers = leaf == 0 ? leaf0 : leaf1;
          *eax = registers.eax;
          *ebx = registers.ebx;
          *ecx = registers.ecx;
          *edx = registers.edx;
        }) {}

  Leaves leaves;

 private:
  With<int()> supported_;
  With<void(std::uint32_t, std::uint32_t *, std::uint32_t *, std::uint32_t *, std::uint32_t *)>
      cpuid_;
};

// Family 15 with this many logical processors per package.
Processor hyper_threaded(std::uint32_t per_package) {
  return {kIntel, {0xF29, per_package << 16, 0, 0}};
}

// A kernel of this release.
class Release {
 public:
  explicit Release(std::string release)
      : uname_(fake_uname, [release = std::move(release)](utsname *host) {
          std::memset(host, 'x', sizeof *host);
          // A release that fills its field has no terminator there.
          std::memcpy(host->release, release.c_str(),
                      std::min(release.size() + 1, sizeof host->release));
          return 0;
        }) {}

 private:
  With<int(utsname *)> uname_;
};

// A /proc/cpuinfo with this text.
class Cpuinfo {
 public:
  explicit Cpuinfo(std::string text)
      : text_(std::move(text)),
        fopen_(fake_fopen, [this](const char *path, const char *mode) -> std::FILE * {
          EXPECT_STREQ(path, "/proc/cpuinfo");
          EXPECT_STREQ(mode, "r");
          std::FILE *file = std::tmpfile();
          std::fwrite(text_.data(), 1, text_.size(), file);
          std::rewind(file);
          return file;
        }) {}

 private:
  std::string text_;
  With<std::FILE *(const char *, const char *)> fopen_;
};

TEST(CpuidInstruction, IsSupportedExactlyOneOrZero) {
#if defined(__i386__) || defined(__x86_64__)
  EXPECT_EQ(CPUID_is_supported(), 1);  // every processor that runs this test has it
#else
  EXPECT_EQ(CPUID_is_supported(), 0);
#endif
}

#if defined(__i386__) || defined(__x86_64__)
TEST(CpuidInstruction, StoresTheFourRegistersInOrder) {
  Registers ours;
  Registers direct;
  cpuid(0, &ours.eax, &ours.ebx, &ours.ecx, &ours.edx);
  __asm__ volatile("cpuid"
                   : "=a"(direct.eax), "=b"(direct.ebx), "=c"(direct.ecx), "=d"(direct.edx)
                   : "a"(0));
  EXPECT_EQ(ours.eax, direct.eax);
  EXPECT_EQ(ours.ebx, direct.ebx);
  EXPECT_EQ(ours.ecx, direct.ecx);
  EXPECT_EQ(ours.edx, direct.edx);
}

TEST(CpuidInstruction, IsLookedForWithoutLeavingATraceInTheFlags) {
  constexpr std::uint32_t kIdFlag = 0x200000;
#ifdef __x86_64__
  const auto flags = [] { return static_cast<std::uint32_t>(__builtin_ia32_readeflags_u64()); };
#else
  const auto flags = [] { return static_cast<std::uint32_t>(__builtin_ia32_readeflags_u32()); };
#endif
  const std::uint32_t before = flags() & kIdFlag;
  CPUID_is_supported();
  EXPECT_EQ(flags() & kIdFlag, before);
}

TEST(CpuidInstruction, LoadsTheLeaf) {
  Registers leaf0;
  Registers leaf1;
  cpuid(0, &leaf0.eax, &leaf0.ebx, &leaf0.ecx, &leaf0.edx);
  cpuid(1, &leaf1.eax, &leaf1.ebx, &leaf1.ecx, &leaf1.edx);
  EXPECT_NE(leaf0.eax, leaf1.eax);  // the highest leaf, and the processor's signature
}
#endif

TEST(HyperThreading, IsNotAskedForWithoutTheCpuidInstruction) {
  const Processor processor = hyper_threaded(2);
  const With supported(fake_CPUID_is_supported, [] { return 0; });
  EXPECT_EQ(HTSupported(), 0);
  EXPECT_EQ(processor.leaves, Leaves());
}

TEST(HyperThreading, IsTheFieldOfAnIntelProcessorOfFamily15AloneWhateverTheFeatureFlag) {
  const struct {
    std::uint32_t eax;
    std::uint32_t ebx;
    int logical_processors;
  } rows[] = {
      {0x00000F29, 0x0002080B, 2},    // Pentium 4 with hyper-threading
      {0x00000F64, 0x02040800, 4},    // Pentium D Extreme Edition
      {0x00000F12, 0x00010808, 0},    // one logical processor per package
      {0x00000F12, 0x00000808, 0},    // no figure
      {0x00000F29, 0x00FF0000, 255},  // the largest
      {0x00000F29, 0xFF02FFFF, 2},    // the other bits do not count
      {0x000006FB, 0x00020800, 0},    // family 6 with two cores
      {0x000C06F2, 0x00200800, 0},    // family 6 with 32
      {0x00100F42, 0x00040800, 4},    // the extended family does not count
      {0xFFFFFFFF, 0xFFFFFFFF, 255}, {0xFFFFF0FF, 0x00020000, 0},
      {0x00000E00, 0x00020000, 0},   {0x00000700, 0x00020000, 0},
  };
  for (const std::uint32_t features : {0U, 1U << 28}) {
    for (const auto &row : rows) {
      const Processor processor(kIntel, {row.eax, row.ebx, 0, features});
      EXPECT_EQ(HTSupported(), row.logical_processors) << std::hex << row.eax << ' ' << row.ebx;
      EXPECT_EQ(processor.leaves, (Leaves{0, 1}));
    }
  }
}

// Its EAX is the highest leaf, which the library does not look at.
TEST(HyperThreading, AsksForLeafOneWhateverLeafZeroSaysOfTheHighest) {
  Registers none = kIntel;
  none.eax = 0;
  const Processor processor(none, {0xF29, 2 << 16, 0, 0});
  EXPECT_EQ(HTSupported(), 2);
  EXPECT_EQ(processor.leaves, (Leaves{0, 1}));
}

TEST(HyperThreading, IsZeroForAnotherVendorWithoutLookingFurther) {
  const Registers others[] = {
      kAmd,
      {2, kIntel.ebx, kIntel.edx, kIntel.ecx},               // the parts in another order
      {2, kIntel.ebx, kIntel.ecx ^ 0x20000000, kIntel.edx},  // "GenuineInteL"
      {2, kIntel.ebx ^ 0x20, kIntel.ecx, kIntel.edx},        // "genuineIntel"
  };
  for (const Registers &other : others) {
    const Processor processor(other, {0xF29, 2 << 16, 0, 0});
    EXPECT_EQ(HTSupported(), 0);
    EXPECT_EQ(processor.leaves, (Leaves{0}));
  }
}

TEST(KernelFigure, IsMinusOneWhenUnameFails) {
  const Cpuinfo cpuinfo("siblings : 2\n");
  const With uname(fake_uname, [](utsname *host) {
    std::strcpy(host->release, "3.10.0");
    return -1;
  });
  EXPECT_EQ(ht_os_cpus(), -1);
}

// 1 of the kernel log, 7 of cpuinfo.
int figure_of_release(const char *text) {
  const Release release(text);
  const Cpuinfo cpuinfo("siblings : 7\n");
  const With klogctl(fake_klogctl, [](int, char *log, int) {
    std::strcpy(log, "cpu_sibling_map[");
    return 16;
  });
  return ht_os_cpus();
}

// Every field needs a character after it.
TEST(KernelFigure, IsMinusOneWhenTheReleaseBreaksOff) {
  for (const char *release : {"2.4.18", "2.4.20", "2.6", "10", "", "2", "2.", "2.4", "2.4.", "x",
                              "-x", "x.y", "2.x", "2.4-"})
    EXPECT_EQ(figure_of_release(release), -1) << release;
}

TEST(KernelFigure, ComesFromWhereTheFieldsOfTheReleaseSayOneByOne) {
  const char *const of_kernel_log[] = {
      "2.4.18-3smp", "2.4.18-3", "2.4.18.", "2.4.18-", "2.4.18x3", "002.004.018-",
      // Major 0, minor 3, patch 1.
      "vendor-3.1-x",
      // What is no digit is skipped before the minor, but not before the patch number, which is 0.
      "2.-4-1-", "2..4.18-", "2.x4.18-3", "2.4.-1", "2.4.x", "2.4.x3", "2.4.."};
  const char *const of_cpuinfo[] = {"2.4.19.", "2.4.19-", "2.4.019-", "2.4.20-8", "2.5.",
                                    "2.6.9-22.ELsmp", "3.10.0-957", "6.1.0-18-amd64",
                                    // Patch 19.
                                    "2.2.19-7",
                                    // The major number alone is read.
                                    "3.", "3x",
                                    // Major 0, minor 5.
                                    "vendor-5.1-x",
                                    // From 2147483648 on a number is the largest int.
                                    "2200000000.x", "99999999999999999999.x",
                                    "2.99999999999999999999.", "4294967296.4.18-"};
  for (const char *release : of_kernel_log)
    EXPECT_EQ(figure_of_release(release), 1) << release;
  for (const char *release : of_cpuinfo)
    EXPECT_EQ(figure_of_release(release), 7) << release;
}

TEST(KernelFigure, ReadsAReleaseThatFillsItsField) {
  const Release release("2." + std::string(80, '5'));
  EXPECT_EQ(ht_os_cpus(), -1);
}

int figure_of_cpuinfo(const std::string &text) {
  const Release release("3.10.0");
  const Cpuinfo cpuinfo(text);
  return ht_os_cpus();
}

TEST(KernelFigure, IsTheDecimalNumberAfterTheColonOfSiblingsAndThreadsLines) {
  const struct {
    const char *text;
    int figure;
  } rows[] = {
      {"siblings\t: 2\n", 2},
      {"processor\t: 0\nsiblings\t: 2\ncore id\t\t: 0\n", 2},
      {"processor\t: 0\nsiblings\t: 2\n\nprocessor\t: 1\nsiblings\t: 2\n", 2},
      {"threads\t\t: 4\n", 4},
      {"threads_per_core : 3\n", 3},
      {"siblings : 2\nsiblings : 2\nthreads : 2\n", 2},
      {"siblings : 0\nsiblings : 0\nsiblings : 2\n", 2},  // zero first is no disagreement
      {"siblings :2", 2},                                 // a last line without line feed
      {"siblings : 010\n", 10},                           // decimal, whatever it begins with
      {"siblings : 0x10\n", 0},
      {"siblings-per-package \t\v\f\r : 8", 8},
      {"siblings\r\t : 4\n", 4},
      {"siblings :", 0},
      {"siblings : many\n", 0},
      {"siblings : -3\n", -3},
      {"siblings : 2 : 4\n", 2},
      {"", 0},  // no such line
      {"processor\t: 0\n\n siblings : 2\nSiblings : 2\nthread : 2\nsibling : 2", 0},
      {"x threads : 4\n", 0},
  };
  for (const auto &row : rows)
    EXPECT_EQ(figure_of_cpuinfo(row.text), row.figure) << row.text;
}

TEST(KernelFigure, IsMinusOneForCpuinfoWithoutAColonAfterTheBlanksOrThatDisagrees) {
  for (const char *text :
       {"siblings: 2\n", "siblings:2\n", "siblings 2\n", "siblings", "siblings   ",
        "siblings\v\f\r\n:4\n", "siblings!: 4\n", "siblings\x01: 4\n", "siblings \x01: 4\n",
        "threads per core : 4\n", "siblings : 2\nthreads\n", "siblings : 2\nsiblings : 4\n",
        "siblings : 2\nthreads : 4\n", "siblings : 2\nsiblings : 0\n",
        "siblings : 2\nsiblings : 4\nsiblings : 2\n"})
    EXPECT_EQ(figure_of_cpuinfo(text), -1) << text;
}

// The buffer holds 1,023 characters, so the text after them is read as another line.
TEST(KernelFigure, TakesTheRestOfALongLineForALine) {
  EXPECT_EQ(figure_of_cpuinfo("flags" + std::string(1018, 'x') + "siblings : 7\n"), 7);
}

TEST(KernelFigure, SaysOnStandardErrorThatCpuinfoDoesNotOpen) {
  const Release release("3.10.0");
  const With fopen(fake_fopen, [](const char *, const char *) { return nullptr; });
  Captured error(STDERR_FILENO);
  EXPECT_EQ(ht_os_cpus(), -1);
  EXPECT_EQ(error.text(), "Can't open /proc/cpuinfo\n");
}

TEST(KernelFigure, ClosesCpuinfo) {
  const Release release("3.10.0");
  const auto next_descriptor = [] {
    const int descriptor = dup(STDERR_FILENO);
    close(descriptor);
    return descriptor;
  };
  const int before = next_descriptor();
  ASSERT_GE(before, 0);
  for (const char *text : {"", "siblings : 2\n", "siblings: 2\n", "siblings : 2\nsiblings : 4\n"}) {
    const Cpuinfo cpuinfo(text);
    ht_os_cpus();
    EXPECT_EQ(next_descriptor(), before) << text;
  }
}

TEST(KernelFigure, CountsEveryOccurrenceInTheKernelLog) {
  const struct {
    const char *log;
    int figure;
  } rows[] = {
      {"", 0},
      {"<6>CPU: Physical Processor ID: 0\n", 0},
      {"<4>cpu_sibling_map[0] = 1\n<4>cpu_sibling_map[1] = 0\n", 2},
      {"<4>cpu_sibling_map[0] = 1\n<4>x cpu_sibling_map[1] = 0\n", 2},
      {"cpu_sibling_map[0] = 1\n", 1},
      {"<4>and cpu_sibling_map[0] and cpu_sibling_map[1]", 2},
      {"cpu_sibling_map", 0},
      {"cpu_sibling_map[", 1},
      {"cpu_sibling_map(", 0},
      {"ccpu_sibling_map[cpu_sibling_map[", 2},
      {"cpu_sibling_cpu_sibling_map[", 1},
      {"<12345678>cpu_sibling_map[", 1},
      {"<cpu_sibling_map[\n<<>cpu_sibling_map[", 2},
  };
  const Release release("2.4.18-3");
  for (const auto &row : rows) {
    const With klogctl(fake_klogctl, [&](int action, char *log, int size) {
      EXPECT_EQ(action, 3);
      EXPECT_EQ(size, 16392);
      std::memcpy(log, row.log, std::strlen(row.log));
      return static_cast<int>(std::strlen(row.log));
    });
    EXPECT_EQ(ht_os_cpus(), row.figure) << row.log;
  }
}

TEST(KernelFigure, LooksAtNoMoreOfTheLogThanWasRead) {
  const Release release("2.4.18-3");
  const With klogctl(fake_klogctl, [](int, char *log, int size) {
    std::memset(log, 0, static_cast<std::size_t>(size));
    std::strcpy(log, "cpu_sibling_map[cpu_sibling_map[");
    return 31;
  });
  EXPECT_EQ(ht_os_cpus(), 1);
}

TEST(KernelFigure, ReadsAFullLog) {
  const Release release("2.4.18-3");
  const With klogctl(fake_klogctl, [](int, char *log, int size) {
    std::memset(log, 'x', static_cast<std::size_t>(size));
    std::memcpy(log + size - 16, "cpu_sibling_map[", 16);
    return size;
  });
  EXPECT_EQ(ht_os_cpus(), 1);
}

TEST(KernelFigure, EndsTheProcessWhenTheKernelLogCannotBeRead) {
  const Release release("2.4.18-3");
  const With klogctl(fake_klogctl, [](int, char *, int) {
    errno = EPERM;
    return -1;
  });
  EXPECT_EXIT(ht_os_cpus(), ExitedWithCode(1), "^klogctl: Operation not permitted\n$");
  // The process ends by exit(), so the functions registered with atexit() run.
  const auto ask_with_farewell = [] {
    std::atexit([] { std::fputs("farewell\n", stderr); });
    ht_os_cpus();
  };
  EXPECT_EXIT(ask_with_farewell(), ExitedWithCode(1), "farewell");
}

struct CountRow {
  int configured;
  int per_package;
  int kernel_figure;
  std::uint32_t method;
  int count;
};

TEST(ProcessorCount, CombinesTheProbes) {
  const CountRow rows[] = {
      {2, 0, 2, 0, 2},  // no hyper-threading
      {2, 2, 2, 1, 1},  // one package
      {4, 2, 2, 3, 4},  // two packages: the kernel's figure differs from the configured count
      {4, 2, 4, 1, 2},   {6, 4, 6, 1, 1},  // truncated
      {3, 255, 3, 1, 0}, {2, 2, 0, 2, 2},  // the kernel reports none
      {1, 2, 1, 3, 1},                     // a kernel figure of 1 is unusable
      {2, 1, 2, 1, 2},                     // only of a replacement: HTSupported() never gives 1
      {2, 2, -1, 3, 2},                    // as is a kernel that cannot be asked
      {-1, 2, -1, 1, 0},                   // -1 / 2 rounds toward zero
      {-1, 0, 2, 0, -1}, {0, 2, 2, 3, 0},
  };
  for (const CountRow &row : rows) {
    const With configured(fake_get_nprocs_conf, [&] { return row.configured; });
    const With processor(fake_HTSupported, [&] { return row.per_package; });
    const With kernel(fake_ht_os_cpus, [&] { return row.kernel_figure; });
    int count = 4711;
    EXPECT_EQ(count_physical_proc(&count), row.method);
    EXPECT_EQ(count, row.count) << row.configured << ' ' << row.per_package << ' '
                                << row.kernel_figure;
  }
}

TEST(ProcessorCount, AsksTheConfiguredOnesTheProcessorAndTheKernelAndIsStoredAfterwards) {
  int count = 4711;
  std::string asked;
  const auto probe = [&](const char *name) {
    return [&, name] {
      asked += name;
      EXPECT_EQ(count, 4711) << name;
      return 2;
    };
  };
  const With configured(fake_get_nprocs_conf, probe("configured "));
  const With processor(fake_HTSupported, probe("processor "));
  const With kernel(fake_ht_os_cpus, probe("kernel "));
  count_physical_proc(&count);
  EXPECT_EQ(asked, "configured processor kernel ");
  EXPECT_EQ(count, 1);
}

TEST(ProcessorCount, StaysAsItWasWhereAProbeEndsTheProcess) {
  const With configured(fake_get_nprocs_conf, [] { return 2; });
  const Processor processor = hyper_threaded(2);
  const Release release("2.4.18-3");
  const With klogctl(fake_klogctl, [](int, char *, int) { return -1; });
  static int count = 4711;
  const auto count_with_farewell = [] {
    std::atexit([] { std::fprintf(stderr, "count %d\n", count); });
    count_physical_proc(&count);
  };
  EXPECT_EXIT(count_with_farewell(), ExitedWithCode(1), "count 4711\n$");
}

TEST(ProcessorCount, DoesNotAskTheKernelWithoutHyperThreading) {
  const With configured(fake_get_nprocs_conf, [] { return 8; });
  const With processor(fake_HTSupported, [] { return 0; });
  const With kernel(fake_ht_os_cpus, []() -> int {
    ADD_FAILURE() << "asked";
    return 0;
  });
  int count = 0;
  EXPECT_EQ(count_physical_proc(&count), 0U);
  EXPECT_EQ(count, 8);
}

TEST(ProcessorCount, ReachesThroughToTheHost) {
  const With configured(fake_get_nprocs_conf, [] { return 2; });
  const Processor processor = hyper_threaded(2);
  const Release release("3.10.0-957");
  const Cpuinfo cpuinfo("siblings\t: 2\nsiblings\t: 2\n");
  int count = 0;
  EXPECT_EQ(count_physical_proc(&count), 1U);
  EXPECT_EQ(count, 1);
}

TEST(ProcessorCount, KeepsNothingBetweenCalls) {
  int count = 0;
  {
    const With configured(fake_get_nprocs_conf, [] { return 8; });
    tavGetOnlineProcs(&count);
    EXPECT_EQ(count, 8);
  }
  const With configured(fake_get_nprocs_conf, [] { return 9; });
  const Processor processor(kAmd, {});
  tavGetOnlineProcs(&count);
  EXPECT_EQ(count, 9);
}

constexpr auto kEntryPoints = {tavGetOnlineProcs, tavGetConfigProcs};

TEST(ProcessorEntryPoint, StoresTheSameCountByBothNamesAndIgnoresTheMethod) {
  for (const std::uint32_t method : {0U, 1U, 2U, 3U}) {
    const With counting(fake_count_physical_proc, [&](int *count) {
      *count = 5;
      return method;
    });
    for (const auto call : kEntryPoints) {
      int count = 0;
      EXPECT_EQ(call(&count), 0U);
      EXPECT_EQ(count, 5);
    }
  }
}

TEST(ProcessorEntryPoint, FailsForANegativeCountWhichItLeavesInPlace) {
  const With counting(fake_count_physical_proc, [](int *count) {
    *count = -1;
    errno = ENOMEM;
    return 0U;
  });
  for (const auto call : kEntryPoints) {
    const std::string name =
        call == tavGetOnlineProcs ? "tavGetOnlineProcs()" : "tavGetConfigProcs()";
    TraceLines trace;
    int count = 0;
    EXPECT_EQ(call(&count), 1U);
    EXPECT_EQ(count, -1);
    EXPECT_EQ(trace.lines,
              (Lines{"KVRCA0001I " + name + ": entering.\n",
                     "KVRCA0005E " + name + ": sysconf failed -> Cannot allocate memory\n",
                     "KVRCA0003E " + name + ": exiting with status 0x1.\n"}));
  }
}

TEST(Errno, IsLeftAloneByTheProbesAndTheCount) {
  const Processor processor = hyper_threaded(2);
  const Release release("3.10.0");
  const With fopen(fake_fopen, [](const char *, const char *) {
    errno = EACCES;
    return nullptr;
  });
  const Captured error(STDERR_FILENO);
  EXPECT_EQ(errno_after(ht_os_cpus), 4711);
  EXPECT_EQ(errno_after(HTSupported), 4711);
  EXPECT_EQ(errno_after(CPUID_is_supported), 4711);
  for (const int processors : {2, 0}) {
    const With configured(fake_get_nprocs_conf, [&] {
      errno = ENOENT;
      return processors;
    });
    int count = -1;
    EXPECT_EQ(errno_after([&] { count_physical_proc(&count); }), 4711);
    EXPECT_EQ(count, processors);
  }
}

TEST(Errno, TellsWhyACountIsNegative) {
  const With configured(fake_get_nprocs_conf, [] {
    errno = ENOMEM;
    return -1;
  });
  const Processor processor(kAmd, {});
  int count = 0;
  count_physical_proc(&count);
  EXPECT_EQ(count, -1);
  EXPECT_EQ(errno, ENOMEM);
}

TEST(ProcessorEntryPoint, LeavesErrnoAlone) {
  for (const int configured : {2, -1}) {
    const With counting(fake_count_physical_proc, [&](int *count) {
      *count = configured;
      errno = ENOMEM;
      return 0U;
    });
    int count = 0;
    for (const auto call : kEntryPoints)
      EXPECT_EQ(errno_after([&] { call(&count); }), 4711) << configured;
  }
}

TEST(Probes, WriteNoTraceLines) {
  const Release release("3.10.0");
  const Cpuinfo cpuinfo("");
  const TraceLines trace;
  int count = 0;
  count_physical_proc(&count);
  HTSupported();
  ht_os_cpus();
  CPUID_is_supported();
  EXPECT_EQ(trace.lines, Lines());
}

}  // namespace
