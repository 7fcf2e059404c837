#include "uuid/uuid_text.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "base/kept_errno.h"

namespace orla {
namespace {

constexpr char kDigits[] = "0123456789abcdef";

// ".00" to ".ff", each with a terminator after it.
struct DottedByte {
  char text[4];
};

constexpr std::array<DottedByte, 256> make_dotted_bytes() {
  std::array<DottedByte, 256> table = {};
  for (unsigned byte = 0; byte < table.size(); ++byte)
    table[byte] = {{'.', kDigits[byte >> 4], kDigits[byte & 0xF], '\0'}};
  return table;
}

constexpr std::array<DottedByte, 256> kDottedBytes = make_dotted_bytes();

char *put_byte(char *out, std::uint32_t byte) {
  std::memcpy(out, kDottedBytes[byte & 0xFF].text + 1, 2);
  return out + 2;
}

// Writes four bytes. The next dot overwrites the last of them, which ends the text after the last
// call.
char *put_dotted_byte(char *out, std::uint32_t byte) {
  std::memcpy(out, kDottedBytes[byte & 0xFF].text, 4);
  return out + 3;
}

// Four bytes as a number, the first one lowest.
std::uint32_t four(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  return a | b << 8 | c << 16 | d << 24;
}

constexpr std::int16_t kNoDigit = -1;

// The value of each hexadecimal digit of either case, shifted to the left; kNoDigit for all other
// characters.
constexpr std::array<std::int16_t, 256> make_digit_values(int shift) {
  std::array<std::int16_t, 256> table = {};
  for (std::int16_t &value : table)
    value = kNoDigit;
  for (int digit = 0; digit < 16; ++digit) {
    const auto character = static_cast<unsigned char>(kDigits[digit]);
    table[character] = static_cast<std::int16_t>(digit << shift);
    if (digit >= 10) table[character - 'a' + 'A'] = static_cast<std::int16_t>(digit << shift);
  }
  return table;
}

constexpr std::array<std::int16_t, 256> kHighDigits = make_digit_values(4);
constexpr std::array<std::int16_t, 256> kLowDigits = make_digit_values(0);

// Reads characters one by one and stops at the first that is not the one expected. A terminator is
// never expected.
class Reader {
 public:
  explicit Reader(const char *text) : next_(text) {}

  template <int bytes, typename Number>
  bool number(Number &number) {
    std::uint32_t value = 0;
    for (int i = 0; i < bytes; ++i) {
      const std::int32_t high = kHighDigits[static_cast<unsigned char>(*next_++)];
      if (high < 0) return false;
      const std::int32_t byte = high | kLowDigits[static_cast<unsigned char>(*next_++)];
      if (byte < 0) return false;
      value = value << 8 | static_cast<std::uint32_t>(byte);
    }
    number = static_cast<Number>(value);
    return true;
  }

  bool dot() { return *next_++ == '.'; }

 private:
  const char *next_;
};

// The numbers of a text. Formatted input stores a sign in all 16 bits of the short ones.
struct Numbers {
  std::uint32_t time_high;
  std::uint16_t time_low;
  std::uint16_t bytes[8];  // family, host bytes 0 to 4, reserved: its low byte, its high byte
};

k7_uuid__t record_of(const Numbers &numbers) {
  const std::uint16_t *bytes = numbers.bytes;
  k7_uuid__t uuid = {};
  uuid.time_high = numbers.time_high;
  uuid.time_low = numbers.time_low;
  // Quirk: the last two numbers go here and never into host bytes 5 and 6. All 16 bits of the first
  // one count.
  uuid.reserved = static_cast<std::uint16_t>(bytes[7] << 8 | bytes[6]);
  uuid.family = static_cast<std::uint8_t>(bytes[0]);
  for (int i = 0; i < 5; ++i)
    uuid.host[i] = static_cast<std::uint8_t>(bytes[1 + i]);
  return uuid;
}

}  // namespace

int put_uuid_text(const k7_uuid__t &uuid, char *out) {
  // Everything is read before the first character is written, into numbers and not into a second
  // record, which on 32-bit x86 would need a stack guard.
  const std::uint32_t time_high = uuid.time_high;
  const std::uint32_t time_low = uuid.time_low;
  const std::uint32_t number = uuid.reserved;
  const std::uint32_t first = four(uuid.family, uuid.host[0], uuid.host[1], uuid.host[2]);
  const std::uint32_t last = four(uuid.host[3], uuid.host[4], uuid.host[5], uuid.host[6]);
  for (int shift = 24; shift >= 0; shift -= 8)
    out = put_byte(out, time_high >> shift);
  out = put_byte(out, time_low >> 8);
  out = put_byte(out, time_low);
  for (int shift = 0; shift < 32; shift += 8)
    out = put_dotted_byte(out, first >> shift);
  out = put_dotted_byte(out, last);
  out = put_dotted_byte(out, last >> 8);
  const std::uint32_t end = number != 0 ? number : last >> 16;
  out = put_dotted_byte(out, end);
  put_dotted_byte(out, end >> 8);
  return ORLA_UUID_TEXT_SIZE - 1;
}

std::optional<k7_uuid__t> read_canonical_uuid_text(const char *text) {
  Reader reader(text);
  Numbers numbers;
  if (!reader.number<4>(numbers.time_high) || !reader.number<2>(numbers.time_low))
    return std::nullopt;
#pragma GCC unroll 8  // keeps the bytes in registers, which saves a fifth of the time
  for (std::uint16_t &byte : numbers.bytes)
    if (!reader.dot() || !reader.number<1>(byte)) return std::nullopt;
  return record_of(numbers);
}

std::optional<k7_uuid__t> read_formatted_uuid_text(const char *text) {
  const KeptErrno kept;  // some C libraries set it to 0
  unsigned long time_high;
  Numbers numbers;
  std::uint16_t *bytes = numbers.bytes;
  const int converted = std::sscanf(text, "%8lx%4hx.%2hx.%2hx.%2hx.%2hx.%2hx.%2hx.%2hx.%2hx",
                                    &time_high, &numbers.time_low, &bytes[0], &bytes[1], &bytes[2],
                                    &bytes[3], &bytes[4], &bytes[5], &bytes[6], &bytes[7]);
  if (converted != 10) return std::nullopt;
  numbers.time_high = static_cast<std::uint32_t>(time_high);
  return record_of(numbers);
}

}  // namespace orla
