// The inventory of a faked host, in eight threads at once. ThreadSanitizer finds what the results
// do not show.

#include <gtest/gtest.h>
#include <orla/inventory.h>

#include <cerrno>
#include <cstring>

#include "fakes/host.h"
#include "kit/at_once.h"

namespace {

constexpr int kRounds = 50;

TEST(InventoryThreads, SearchTheKernelLogAtOnce) {
  const With uname(fake_uname, [](utsname *host) {
    std::strcpy(host->release, "2.4.18-3smp");
    return 0;
  });
  const With klogctl(fake_klogctl, [](int, char *log, int) {
    static const char text[] = "<4>cpu_sibling_map[0] = 1\n<4>cpu_sibling_map[1] = 0\n";
    std::memcpy(log, text, sizeof text - 1);
    return static_cast<int>(sizeof text - 1);
  });
  const With configured(fake_get_nprocs_conf, [] { return 2; });
  const With processor(fake_HTSupported, [] { return 2; });
  expect_right(kRounds, [](int) {
    int count = 0;
    return (ht_os_cpus() != 2) + (count_physical_proc(&count) != 1) + (count != 1);
  });
}

// Threads get descriptors of their own; here a descriptor is the drive's letter.
TEST(InventoryThreads, CountDisksAtOnce) {
  const With user(fake_geteuid, [] { return uid_t{0}; });
  const With open(fake_open, [](const char *path, int) {
    if (std::strncmp(path, "/dev/sd", 7) == 0) return 1000 + path[7];
    errno = ENOENT;
    return -1;
  });
  const With ioctl(fake_ioctl, [](int descriptor, unsigned long, void *) {
    return descriptor < 1000 + 'd' ? 0 : -1;
  });
  const With close(fake_close, [](int) { return 0; });
  expect_right(kRounds, [](int) {
    unsigned disks = 0;
    return (tavGetDisks(&disks) != 0) + (disks != 3);
  });
}

}  // namespace
