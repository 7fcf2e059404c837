// Memory and disks over a faked host, and what all services of the inventory have in common.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/hdreg.h>
#include <orla/inventory.h>

#include <cerrno>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "fakes/host.h"
#include "fakes/trace_lines.h"
#include "kit/errno_after.h"

namespace {

// A kernel that reports this much memory.
With<int(struct sysinfo *)> memory(unsigned long total, unsigned unit = 1) {
  return {fake_sysinfo, [=](struct sysinfo *host) {
            *host = {};
            host->totalram = total;
            host->mem_unit = unit;
            return 0;
          }};
}

TEST(MemorySize, IsInWholeMebibytesTruncated) {
  const struct {
    unsigned long total;
    int size;
  } rows[] = {
      {2147483648UL, 2048}, {1073741823UL, 1023}, {1048575UL, 0}, {1048576UL, 1}, {0UL, 0},
      {4294967295UL, 4095},
  };
  for (const auto &row : rows) {
    const auto host = memory(row.total);
    int size = -1;
    EXPECT_EQ(tavGetMemorySize(&size), 0U);
    EXPECT_EQ(size, row.size) << row.total;
  }
}

TEST(MemorySize, DoesNotApplyTheMemoryUnit) {
  const auto host = memory(static_cast<unsigned long>((24105ULL << 20) / 4096), 4096);
  int size = -1;
  EXPECT_EQ(tavGetMemorySize(&size), 0U);
  EXPECT_EQ(size, 5);  // MiB of 24,105
}

TEST(MemorySize, TakesTheWholeTotalOfA64BitKernel) {
  if constexpr (sizeof(unsigned long) == 8) {
    const auto host = memory(static_cast<unsigned long>(0x10000000000ULL));
    int size = -1;
    EXPECT_EQ(tavGetMemorySize(&size), 0U);
    EXPECT_EQ(size, 1048576);
  }
}

TEST(MemorySize, FailsWhenTheKernelDoesNotAnswerAndLeavesTheOutputAlone) {
  for (const int result : {-1, 1}) {
    const With host(fake_sysinfo, [&](struct sysinfo *) { return result; });
    TraceLines trace;
    int size = 4711;
    EXPECT_EQ(tavGetMemorySize(&size), 1U);
    EXPECT_EQ(size, 4711);
    EXPECT_EQ(trace.lines, (Lines{"KVRCA0001I tavGetMemorySize(): entering.\n",
                                  "KVRCA0005E tavGetMemorySize(): sysinfo failed.\n",
                                  "KVRCA0003E tavGetMemorySize(): exiting with status 0x1.\n"}));
  }
}

TEST(MemorySize, LeavesErrnoAlone) {
  for (const int result : {0, -1}) {
    const With host(fake_sysinfo, [&](struct sysinfo *) {
      errno = EFAULT;
      return result;
    });
    int size = 0;
    EXPECT_EQ(errno_after([&] { tavGetMemorySize(&size); }), 4711);
  }
}

// A host with some device nodes, of which some answer the geometry request. Only for root.
class Disks {
 public:
  explicit Disks(std::map<std::string, bool> nodes, uid_t user = 0, int first_descriptor = 1000)
      : nodes_(std::move(nodes)),
        first_descriptor_(first_descriptor),
        user_(fake_geteuid, [user] { return user; }),
        open_(fake_open, [this](const char *path, int flags) { return open_node(path, flags); }),
        ioctl_(fake_ioctl, [this](int descriptor, unsigned long request,
                                  void *geometry) { return ask(descriptor, request, geometry); }),
        close_(fake_close, [this](int descriptor) { return close_node(descriptor); }) {}

  std::vector<std::string> probed;
  std::set<int> open_descriptors;

 private:
  int open_node(const std::string &path, int flags) {
    EXPECT_EQ(flags, O_RDONLY);
    probed.push_back(path);
    const auto node = nodes_.find(path);
    if (node == nodes_.end()) {
      errno = ENOENT;
      return -1;
    }
    const int descriptor =
        first_descriptor_ + static_cast<int>(std::distance(nodes_.begin(), node));
    open_descriptors.insert(descriptor);
    return descriptor;
  }

  int ask(int descriptor, unsigned long request, void *geometry) {
    EXPECT_EQ(request, 0x0301UL);
    EXPECT_EQ(open_descriptors.count(descriptor), 1U);
    if (!std::next(nodes_.begin(), descriptor - first_descriptor_)->second) return -1;
    *static_cast<hd_geometry *>(geometry) = {255, 63, 1024, 0};
    return 7;  // whatever is not -1 counts
  }

  int close_node(int descriptor) {
    EXPECT_EQ(open_descriptors.erase(descriptor), 1U);
    return 0;
  }

  std::map<std::string, bool> nodes_;
  int first_descriptor_;
  With<uid_t()> user_;
  With<int(const char *, int)> open_;
  With<int(int, unsigned long, void *)> ioctl_;
  With<int(int)> close_;
};

TEST(DiskCount, CountsNodesThatAnswerTheGeometryRequestAndNoOthers) {
  const Disks host(
      {{"/dev/hda", false}, {"/dev/hdc", true}, {"/dev/sda", true}, {"/dev/sdb", true}});
  unsigned count = 99;
  EXPECT_EQ(tavGetDisks(&count), 0U);
  EXPECT_EQ(count, 3U);
  EXPECT_TRUE(host.open_descriptors.empty());
}

TEST(DiskCount, ProbesFiftyNamesInOrderAndNeverZ) {
  std::vector<std::string> expected;
  for (const char *base : {"/dev/hd", "/dev/sd"}) {
    for (char letter = 'a'; letter <= 'y'; ++letter)
      expected.push_back(std::string(base) + letter);
  }
  const Disks host({{"/dev/hdz", true}, {"/dev/sdz", true}, {"/dev/sda1", true}});
  unsigned count = 99;
  EXPECT_EQ(tavGetDisks(&count), 0U);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(host.probed, expected);
  EXPECT_EQ(host.probed.size(), 50U);
}

TEST(DiskCount, IsAtMostFifty) {
  std::map<std::string, bool> nodes;
  for (const char *base : {"/dev/hd", "/dev/sd"}) {
    for (char letter = 'a'; letter <= 'z'; ++letter)
      nodes[std::string(base) + letter] = true;
  }
  const Disks host(nodes);
  unsigned count = 0;
  EXPECT_EQ(tavGetDisks(&count), 0U);
  EXPECT_EQ(count, 50U);
}

// A program may have closed its standard input: a node then opens on descriptor 0.
TEST(DiskCount, CountsANodeOnAnyDescriptor) {
  for (const int descriptor : {0, 1, 2}) {
    const Disks host({{"/dev/sda", true}}, 0, descriptor);
    unsigned count = 0;
    EXPECT_EQ(tavGetDisks(&count), 0U);
    EXPECT_EQ(count, 1U) << descriptor;
    EXPECT_TRUE(host.open_descriptors.empty());
  }
}

TEST(DiskCount, NeedsRootLeavesTheOutputAloneWithoutAndIsTracedWithoutParentheses) {
  const Disks host({{"/dev/sda", true}}, 1000);
  TraceLines trace;
  unsigned count = 4711;
  EXPECT_EQ(tavGetDisks(&count), 1U);
  EXPECT_EQ(count, 4711U);
  EXPECT_TRUE(host.probed.empty());
  EXPECT_EQ(trace.lines, (Lines{"KVRCA0001I tavGetDisks: entering.\n",
                                "KVRCA0005E tavGetDisks: geteuid failed -> you aren't root.\n",
                                "KVRCA0003E tavGetDisks: exiting with status 0x1.\n"}));
}

TEST(DiskCount, LeavesErrnoAloneWhateverTheProbesMeet) {
  for (const uid_t user : {0U, 1000U}) {
    const Disks host({{"/dev/hda", false}, {"/dev/sda", true}}, user);
    unsigned count = 0;
    EXPECT_EQ(errno_after([&] { tavGetDisks(&count); }), 4711) << user;
  }
}

// What the services have in common, on a host where each succeeds.

template <auto kService, typename Number>
orla_status call(bool with_output) {
  Number number = 0;
  return kService(with_output ? &number : nullptr);
}

struct Service {
  const char *trace_name;
  orla_status (*call)(bool with_output);
};

class InventoryService : public testing::TestWithParam<Service> {
 protected:
  static std::string line(const char *identifier, const char *rest) {
    return std::string(identifier) + " " + GetParam().trace_name + ": " + rest + "\n";
  }

 private:
  With<std::uint32_t(int *)> counting_{fake_count_physical_proc, [](int *count) {
                                         *count = 0;
                                         return 0U;
                                       }};
  With<int(struct sysinfo *)> memory_ = memory(1048576);
  Disks disks_{{{"/dev/hda", false}, {"/dev/sda", true}}};
};

// The last one has no parentheses.
INSTANTIATE_TEST_SUITE_P(
    Each, InventoryService,
    testing::Values(Service{"tavGetOnlineProcs()", call<tavGetOnlineProcs, int>},
                    Service{"tavGetConfigProcs()", call<tavGetConfigProcs, int>},
                    Service{"tavGetMemorySize()", call<tavGetMemorySize, int>},
                    Service{"tavGetDisks", call<tavGetDisks, unsigned>}),
    [](const auto &service) {
      const std::string name = service.param.trace_name;
      return name.substr(0, name.find('('));
    });

TEST_P(InventoryService, TracesEntryAndExitAloneWhateverTheProbesMeet) {
  TraceLines trace;
  EXPECT_EQ(GetParam().call(true), 0U);
  EXPECT_EQ(trace.lines, (Lines{line("KVRCA0001I", "entering."),
                                line("KVRCA0002I", "exiting with status 0x0.")}));
  EXPECT_TRUE(trace.all_in_statuslog);
  EXPECT_EQ(statuslog[0], '\0');
}

TEST_P(InventoryService, AnswersANullPointerWithoutAskingTheHost) {
  const auto asked = [](auto...) {
    ADD_FAILURE() << "asked";
    return 0;
  };
  const With counting(fake_count_physical_proc, asked);
  const With memory(fake_sysinfo, asked);
  const With user(fake_geteuid, asked);
  for (const std::int32_t value : {255, 1, -1}) {  // any switch that is not zero
    TraceLines trace;
    orlalib_verbose = value;
    EXPECT_EQ(GetParam().call(false), 1U);
    EXPECT_EQ(trace.lines,
              (Lines{line("KVRCA0001I", "entering."), line("KVRCA0005E", "Null pointer exception."),
                     line("KVRCA0003E", "exiting with status 0x1.")}));
  }
}

TEST_P(InventoryService, FormatsNothingWithTheSwitchOff) {
  const With trace(fake_TavTrace, [](char *) { ADD_FAILURE() << "traced"; });
  statuslog[0] = 'x';
  orlalib_verbose = 0;
  orlathr_verbose = 255;  // the writer's other switch is not the services'
  EXPECT_EQ(GetParam().call(true), 0U);
  EXPECT_EQ(GetParam().call(false), 1U);
  const Disks not_for_the_user({}, 1000);
  GetParam().call(true);
  EXPECT_EQ(statuslog[0], 'x');
}

}  // namespace
