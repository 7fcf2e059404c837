// The host-inventory entry points: processors, memory, disks, each with its trace lines.

#include <fcntl.h>
#include <linux/hdreg.h>
#include <orla/inventory.h>
#include <sys/ioctl.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/descriptor.h"
#include "base/kept_errno.h"
#include "support/traced_service.h"

namespace {

constexpr orla_status kSuccess = 0;
constexpr orla_status kFailure = 1;
constexpr char kDeviceKinds[] = {'h', 's'};
constexpr const char *kNullPointer = "Null pointer exception.";

// Writes the error detail and the exit line of a service that fails.
orla_status fail(const orla::TracedService &service, const char *detail) {
  service.error(detail);
  return service.exit(kFailure);
}

orla_status count_processors(const char *trace_name, int *count) {
  const orla::KeptErrno kept;
  const orla::TracedService service(trace_name);
  if (count == nullptr) return fail(service, kNullPointer);
  count_physical_proc(count);
  if (*count < 0) {
    char detail[1024];
    std::snprintf(detail, sizeof detail, "sysconf failed -> %s", std::strerror(errno));
    return fail(service, detail);
  }
  return service.exit(kSuccess);
}

bool answers_geometry_request(const char *device) {
  const orla::Descriptor disk(open(device, O_RDONLY));
  if (!disk.is_open()) return false;
  hd_geometry geometry;  // only whether the request succeeds matters
  return ioctl(disk.number(), HDIO_GETGEO, &geometry) != -1;
}

}  // namespace

orla_status tavGetOnlineProcs(int *count) noexcept {
  return count_processors("tavGetOnlineProcs()", count);
}

// Quirk: the same figure as tavGetOnlineProcs().
orla_status tavGetConfigProcs(int *count) noexcept {
  return count_processors("tavGetConfigProcs()", count);
}

orla_status tavGetMemorySize(int *size) noexcept {
  const orla::KeptErrno kept;
  const orla::TracedService service("tavGetMemorySize()");
  if (size == nullptr) return fail(service, kNullPointer);
  struct sysinfo host;
  if (sysinfo(&host) != 0) return fail(service, "sysinfo failed.");
  // Quirk: the memory unit is not applied; the total is read as a number of bytes.
  *size = static_cast<int>(host.totalram >> 20);
  return service.exit(kSuccess);
}

orla_status tavGetDisks(unsigned *count) noexcept {
  const orla::KeptErrno kept;
  const orla::TracedService service("tavGetDisks");  // Quirk: no parentheses.
  if (count == nullptr) return fail(service, kNullPointer);
  if (geteuid() != 0) return fail(service, "geteuid failed -> you aren't root.");
  *count = 0;
  char device[] = "/dev/hda";
  for (const char kind : kDeviceKinds) {
    device[5] = kind;
    // Quirk: the drive letter stops at y; z is never probed.
    for (char letter = 'a'; letter <= 'y'; ++letter) {
      device[7] = letter;
      if (answers_geometry_request(device)) ++*count;
    }
  }
  return service.exit(kSuccess);
}
