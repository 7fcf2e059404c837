// UUIDs: generation, the reserved space, order and hash. The text form is in uuid_text.cpp, the
// arithmetic of the time fields in uuid_time.h.

#include <orla/uuid.h>

#include <bit>
#include <cstddef>
#include <cstring>
#include <optional>

#include "time/clock.h"
#include "uuid/host_provider.h"
#include "uuid/uuid_text.h"
#include "uuid/uuid_time.h"

const k7_uuid__t k7_uuid__nil = {};
void (*orla_uuid_host_provider)(std::uint32_t *identifier, std::uint16_t *class_code) = nullptr;

namespace {

static_assert(sizeof(k7_uuid__t) == 16);
static_assert(offsetof(k7_uuid__t, time_high) == 0);
static_assert(offsetof(k7_uuid__t, time_low) == 4);
static_assert(offsetof(k7_uuid__t, reserved) == 6);
static_assert(offsetof(k7_uuid__t, family) == 8);
static_assert(offsetof(k7_uuid__t, host) == 9);

constexpr std::uint8_t kFamilyBit = 0x80;

struct Host {
  std::uint32_t identifier;
  std::uint16_t class_code;
};

Host ask_provider() {
  if (orla_uuid_host_provider == nullptr) return {orla::host_address(), ORLA_UUID_CLASS_IPV4};
  Host host = {0, 0};
  orla_uuid_host_provider(&host.identifier, &host.class_code);
  return host;
}

std::uint32_t big_endian(std::uint32_t value) {
  return std::endian::native == std::endian::little ? __builtin_bswap32(value) : value;
}

std::uint64_t big_endian(std::uint64_t value) {
  return std::endian::native == std::endian::little ? __builtin_bswap64(value) : value;
}

// Host bytes 0 to 3, most significant byte first, whatever the byte order of this host.
void put_host(k7_uuid__t &uuid, std::uint32_t identifier) {
  const std::uint32_t bytes = big_endian(identifier);
  std::memcpy(uuid.host, &bytes, sizeof bytes);
}

// Quirk: the address of the record replaces a missing identifier, its bytes in memory order.
// Callers rely on it to tell such records apart.
void put_address(k7_uuid__t &uuid) {
  const auto address = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(&uuid));
  std::memcpy(uuid.host, &address, sizeof address);
}

// The family and the seven host bytes as one number that compares as they do, byte by byte.
std::uint64_t host_key(const k7_uuid__t &uuid) {
  std::uint64_t bytes;
  std::memcpy(&bytes, reinterpret_cast<const unsigned char *>(&uuid) + offsetof(k7_uuid__t, family),
              sizeof bytes);
  return big_endian(bytes);
}

// A word of the record, in the byte order of the host.
std::uint32_t word(const k7_uuid__t *uuid, std::size_t index) {
  std::uint32_t value;
  std::memcpy(&value, reinterpret_cast<const unsigned char *>(uuid) + index * sizeof value,
              sizeof value);
  return value;
}

// The order of two numbers that differ.
template <typename Number>
int order(Number a, Number b) {
  return a < b ? -1 : 1;
}

}  // namespace

void orla_uuid_gen(k7_uuid__t *uuid) noexcept {
  *uuid = {};
  const orla::FineMoment now = orla::fine_clock_moment();
  const orla::UuidTime time = orla::uuid_time(now.stamp, now.microseconds);
  uuid->time_high = time.high;
  uuid->time_low = time.low;
  const Host host = ask_provider();
  uuid->family = static_cast<std::uint8_t>(host.class_code | kFamilyBit);
  if (host.identifier != 0) {
    put_host(*uuid, host.identifier);
  } else {
    put_address(*uuid);
  }
}

int orla_uuid_encode(const k7_uuid__t *uuid, char *text) noexcept {
  return orla::put_uuid_text(*uuid, text);
}

void orla_uuid_decode(const char *text, k7_uuid__t *uuid, orla_status *status) noexcept {
  std::optional<k7_uuid__t> read = orla::read_canonical_uuid_text(text);
  if (!read) read = orla::read_formatted_uuid_text(text);
  // The record may lie over the text or hold the status: it is filled last.
  *status = read ? 0 : ORLA_UUID_MALFORMED;
  if (read) *uuid = *read;
}

void orla_reserved_uuid_gen(k7_uuid__t *uuid, std::uint16_t number) noexcept {
  orla_uuid_gen(uuid);
  orla_reserved_uuid_inflate(uuid, uuid->time_high, uuid->time_low, number);
}

void orla_reserved_uuid_inflate(k7_uuid__t *uuid, std::uint32_t time_high, std::uint16_t time_low,
                                std::uint16_t number) noexcept {
  *uuid = {time_high, time_low, number, ORLA_UUID_RESERVED_FAMILY, {}};
  put_host(*uuid, ORLA_UUID_RESERVED_HOST);
}

int orla_uuid_cmp(const k7_uuid__t *a, const k7_uuid__t *b) noexcept {
  if (a->time_high != b->time_high) return order(a->time_high, b->time_high);
  if (a->time_low != b->time_low) return order(a->time_low, b->time_low);
  if (a->reserved != b->reserved) return order(a->reserved, b->reserved);
  const std::uint64_t rest_a = host_key(*a);
  const std::uint64_t rest_b = host_key(*b);
  return rest_a != rest_b ? order(rest_a, rest_b) : 0;
}

int orla_uuid_equal(const k7_uuid__t *a, const k7_uuid__t *b) noexcept {
  return orla_uuid_cmp(a, b) == 0;
}

std::uint32_t orla_uuid_hash(const k7_uuid__t *uuid, std::uint32_t modulus) noexcept {
  // Quirk: in the byte order of the host.
  const std::uint32_t mixed = word(uuid, 0) ^ word(uuid, 1) ^ word(uuid, 2) ^ word(uuid, 3);
  const std::uint32_t folded = (mixed ^ mixed >> 16) & 0xFFFF;
  return folded % modulus;
}
