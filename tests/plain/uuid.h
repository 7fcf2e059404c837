// Text, order and hash of UUIDs in a plain version, which the library is compared with.

#ifndef ORLA_TESTS_PLAIN_UUID_H
#define ORLA_TESTS_PLAIN_UUID_H

#include <orla/uuid.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>

namespace plain {

// By snprintf(), with which the text is defined.
inline std::string uuid_text(const k7_uuid__t &uuid) {
  const bool has_number = uuid.reserved != 0;
  char text[ORLA_UUID_TEXT_SIZE];
  std::snprintf(text, sizeof text, "%08lx%04x.%02x.%02x.%02x.%02x.%02x.%02x.%02x.%02x",
                static_cast<unsigned long>(uuid.time_high), uuid.time_low, uuid.family,
                uuid.host[0], uuid.host[1], uuid.host[2], uuid.host[3], uuid.host[4],
                has_number ? uuid.reserved & 0xFF : uuid.host[5],
                has_number ? uuid.reserved >> 8 : uuid.host[6]);
  return text;
}

// `bytes` are the eight numbers after the time.
inline k7_uuid__t uuid_of_numbers(std::uint32_t high, std::uint16_t low,
                                  const std::uint16_t (&bytes)[8]) {
  k7_uuid__t uuid = {};
  uuid.time_high = high;
  uuid.time_low = low;
  uuid.family = static_cast<std::uint8_t>(bytes[0]);
  for (int i = 0; i < 5; ++i)
    uuid.host[i] = static_cast<std::uint8_t>(bytes[1 + i]);
  if (bytes[6] != 0 || bytes[7] != 0)
    uuid.reserved = static_cast<std::uint16_t>(bytes[7] << 8 | bytes[6]);
  return uuid;
}

// By sscanf(), with which reading is defined.
inline std::optional<k7_uuid__t> scan_uuid_text(const char *text) {
  unsigned long high;
  std::uint16_t low;
  std::uint16_t n[8];
  const int converted = std::sscanf(text, "%8lx%4hx.%2hx.%2hx.%2hx.%2hx.%2hx.%2hx.%2hx.%2hx", &high,
                                    &low, &n[0], &n[1], &n[2], &n[3], &n[4], &n[5], &n[6], &n[7]);
  if (converted != 10) return std::nullopt;
  return uuid_of_numbers(static_cast<std::uint32_t>(high), low, n);
}

// The rules of formatted input, a character at a time.
class UuidReader {
 public:
  explicit UuidReader(const char *text) : next_(text) {}

  bool dot() { return *next_ == '.' ? (++next_, true) : false; }

  // A hexadecimal number of at most `width` characters, sign and "0x" among them; white space
  // before it does not count.
  std::optional<std::uint32_t> number(int width) {
    while (is_space(*next_))
      ++next_;
    const bool negative = *next_ == '-';
    if (*next_ == '-' || *next_ == '+') take(width);
    bool any = false;
    if (width > 0 && *next_ == '0') {
      any = true;
      take(width);
      if (width > 0 && (*next_ == 'x' || *next_ == 'X')) take(width);
    }
    std::uint32_t value = 0;
    for (int digit; width > 0 && (digit = value_of(*next_)) >= 0; take(width)) {
      any = true;
      value = value * 16 + static_cast<std::uint32_t>(digit);
    }
    if (!any) return std::nullopt;
    return negative ? 0 - value : value;
  }

 private:
  static bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

  static int value_of(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
  }

  void take(int &width) {
    ++next_;
    --width;
  }

  const char *next_;
};

inline std::optional<k7_uuid__t> read_uuid_text(const char *text) {
  UuidReader reader(text);
  const std::optional<std::uint32_t> high = reader.number(8);
  if (!high) return std::nullopt;
  const std::optional<std::uint32_t> low = reader.number(4);
  if (!low) return std::nullopt;
  std::uint16_t bytes[8];
  for (std::uint16_t &byte : bytes) {
    if (!reader.dot()) return std::nullopt;
    const std::optional<std::uint32_t> read = reader.number(2);
    if (!read) return std::nullopt;
    byte = static_cast<std::uint16_t>(*read);
  }
  return uuid_of_numbers(*high, static_cast<std::uint16_t>(*low), bytes);
}

// Field by field, with the C library's comparison of the host bytes: -1, 0 or 1.
inline int uuid_order(const k7_uuid__t &a, const k7_uuid__t &b) {
  if (a.time_high != b.time_high) return a.time_high > b.time_high ? 1 : -1;
  if (a.time_low != b.time_low) return a.time_low > b.time_low ? 1 : -1;
  if (a.reserved != b.reserved) return a.reserved > b.reserved ? 1 : -1;
  if (a.family != b.family) return a.family > b.family ? 1 : -1;
  const int hosts = std::memcmp(a.host, b.host, sizeof a.host);
  return (hosts > 0) - (hosts < 0);
}

// The four words of the record, folded to 16 bits.
inline std::uint32_t uuid_hash(const k7_uuid__t &uuid, std::uint32_t modulus) {
  std::uint32_t words[4];
  std::memcpy(words, &uuid, sizeof words);
  std::uint32_t mixed = 0;
  for (const std::uint32_t word : words)
    mixed ^= word;
  return ((mixed ^ (mixed >> 16)) & 0xFFFF) % modulus;
}

}  // namespace plain

#endif
