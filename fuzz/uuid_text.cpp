// UUID text, read and written, against formatted input and output.

#include <orla/uuid.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "kit/agree.h"
#include "kit/block.h"
#include "kit/input.h"
#include "kit/target.h"
#include "kit/uuid.h"

namespace {

std::string raw(const k7_uuid__t &uuid) {
  return {reinterpret_cast<const char *>(&uuid), sizeof uuid};
}

// False, with the record untouched, when the text is malformed.
bool decode_plainly(const char *text, k7_uuid__t &uuid) {
  unsigned long time_high;
  unsigned short time_low;
  unsigned short byte[8];
  const int converted =
      std::sscanf(text, "%8lx%4hx.%2hx.%2hx.%2hx.%2hx.%2hx.%2hx.%2hx.%2hx", &time_high, &time_low,
                  byte, byte + 1, byte + 2, byte + 3, byte + 4, byte + 5, byte + 6, byte + 7);
  if (converted != 10) return false;
  uuid.time_high = static_cast<std::uint32_t>(time_high);
  uuid.time_low = time_low;
  uuid.reserved = 0;
  uuid.family = static_cast<std::uint8_t>(byte[0]);
  for (int i = 0; i < 5; ++i)
    uuid.host[i] = static_cast<std::uint8_t>(byte[1 + i]);
  uuid.host[5] = 0;
  uuid.host[6] = 0;
  if (byte[6] != 0 || byte[7] != 0)
    uuid.reserved = static_cast<std::uint16_t>(byte[7] << 8 | byte[6]);
  return true;
}

void check_decode(const char *text) {
  k7_uuid__t expected;
  std::memset(&expected, 0x5A, sizeof expected);
  k7_uuid__t uuid = expected;
  const bool well_formed = decode_plainly(text, expected);
  orla_status status = 7;
  errno = 7;
  orla_uuid_decode(text, &uuid, &status);
  agree("errno", errno, 7);
  agree("status", status, well_formed ? 0 : ORLA_UUID_MALFORMED);
  agree("record", raw(uuid), raw(expected));
}

void check_encode(const k7_uuid__t &uuid) {
  Block text(ORLA_UUID_TEXT_SIZE);
  agree("characters", orla_uuid_encode(&uuid, text.data()), 36);
  agree("text", std::string(text.data()), printed(uuid));
  check_decode(text.data());
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  check_decode(Text(Input(data, size).text()));
  k7_uuid__t uuid;
  if (size < sizeof uuid) return 0;
  std::memcpy(&uuid, data, sizeof uuid);
  check_encode(uuid);
  return 0;
}
