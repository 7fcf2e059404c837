// UUID text, read and written, compared with sscanf() and snprintf().

#include <orla/uuid.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string>

#include "helpers/agree.h"
#include "helpers/block.h"
#include "helpers/input.h"
#include "helpers/target.h"
#include "plain/uuid.h"

namespace {

std::string raw(const k7_uuid__t &uuid) {
  return {reinterpret_cast<const char *>(&uuid), sizeof uuid};
}

void check_decode(const char *text) {
  k7_uuid__t uuid;
  std::memset(&uuid, 0x5A, sizeof uuid);
  const std::optional<k7_uuid__t> expected = plain::scan_uuid_text(text);
  agree("plain reader", raw(plain::read_uuid_text(text).value_or(uuid)),
        raw(expected.value_or(uuid)));
  const std::string record = raw(expected.value_or(uuid));
  orla_status status = 7;
  errno = 7;
  orla_uuid_decode(text, &uuid, &status);
  agree("errno", errno, 7);
  agree("status", status, expected ? 0 : ORLA_UUID_MALFORMED);
  agree("record", raw(uuid), record);
}

void check_encode(const k7_uuid__t &uuid) {
  Block text(ORLA_UUID_TEXT_SIZE);
  agree("characters", orla_uuid_encode(&uuid, text.data()), 36);
  agree("text", std::string(text.data()), plain::uuid_text(uuid));
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
