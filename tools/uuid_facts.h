// What can be said of a UUID.

#ifndef ORLA_TOOLS_UUID_FACTS_H
#define ORLA_TOOLS_UUID_FACTS_H

#include <orla/uuid.h>

#include <cstdint>
#include <string>
#include <vector>

namespace orla_tool {

// A tick of 4 microseconds, by the seconds since 1970 and its place within the second.
struct Instant {
  std::uint32_t seconds;
  std::int64_t tick;

  bool operator<(const Instant &other) const {
    return seconds != other.seconds ? seconds < other.seconds : tick < other.tick;
  }
};

// The instants that the time fields can stand for, the earliest first, in place of what `found`
// held.
void find_instants(const k7_uuid__t &uuid, std::vector<Instant> &found);

// Such as "2009-02-13 23:31:30.000400", UTC.
void append_instant(std::string &out, const Instant &instant);

bool is_reserved(const k7_uuid__t &uuid);

enum class HostKind { reserved, foreign, address, other };

// `address` is the host bytes read as an IPv4 address; `foreign` was not made by the library.
HostKind host_kind(const k7_uuid__t &uuid);
int class_code(const k7_uuid__t &uuid);
void append_address(std::string &out, const k7_uuid__t &uuid);

}  // namespace orla_tool

#endif
