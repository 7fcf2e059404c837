// UUIDs beside what a user would write instead: gettimeofday() alone, snprintf() and sscanf().

#include <orla/time.h>
#include <orla/uuid.h>
#include <sys/time.h>

#include <cstdio>
#include <cstring>

#include "harness.h"

namespace {

const k7_uuid__t kRecord = {0xD0F7B2FC, 0x0064, 0, 0x82, {0x0A, 0x00, 0x02, 0x03, 0, 0, 0}};
const char kText[] = "d0f7b2fc0064.82.0a.00.02.03.00.00.00";

void generate() {
  bench::Table table("UUID of this moment");
  table.row("gettimeofday, nothing else", [](long n) {
    timeval now;
    for (; n > 0; --n) {
      gettimeofday(&now, nullptr);
      bench::keep(now);
    }
  });
  table.row("orla_uuid_gen", [](long n) {
    k7_uuid__t uuid;
    for (; n > 0; --n) {
      orla_uuid_gen(&uuid);
      bench::keep(uuid);
    }
  });
}

int print(char *text, const k7_uuid__t &u) {
  return std::snprintf(text, ORLA_UUID_TEXT_SIZE,
                       "%08lx%04x.%02x.%02x.%02x.%02x.%02x.%02x.%02x.%02x",
                       static_cast<unsigned long>(u.time_high), u.time_low, u.family, u.host[0],
                       u.host[1], u.host[2], u.host[3], u.host[4], u.host[5], u.host[6]);
}

void encode() {
  bench::Table table("UUID to text");
  table.row("memcpy of 37 bytes", [](long n) {
    char text[ORLA_UUID_TEXT_SIZE];
    for (; n > 0; --n) {
      bench::keep(kText);
      std::memcpy(text, kText, sizeof text);
      bench::keep(text);
    }
  });
  table.row("orla_uuid_encode", [](long n) {
    char text[ORLA_UUID_TEXT_SIZE];
    k7_uuid__t uuid = kRecord;
    for (; n > 0; --n) {
      bench::keep(uuid);
      orla_uuid_encode(&uuid, text);
      bench::keep(text);
    }
  });
  table.row("snprintf, same format", [](long n) {
    char text[ORLA_UUID_TEXT_SIZE];
    k7_uuid__t uuid = kRecord;
    for (; n > 0; --n) {
      bench::keep(uuid);
      print(text, uuid);
      bench::keep(text);
    }
  });
}

int scan(const char *text) {
  unsigned long high;
  unsigned short f[9];
  const int converted = std::sscanf(text, "%8lx%4hx.%2hx.%2hx.%2hx.%2hx.%2hx.%2hx.%2hx.%2hx", &high,
                                    &f[0], &f[1], &f[2], &f[3], &f[4], &f[5], &f[6], &f[7], &f[8]);
  bench::keep(high);
  bench::keep(f);
  return converted;
}

void decode() {
  bench::Table table("Text to UUID");
  table.row("memcpy of 37 bytes", [](long n) {
    char text[ORLA_UUID_TEXT_SIZE];
    for (; n > 0; --n) {
      bench::keep(kText);
      std::memcpy(text, kText, sizeof text);
      bench::keep(text);
    }
  });
  table.row("orla_uuid_decode, canonical text", [](long n) {
    k7_uuid__t uuid;
    orla_status status;
    for (; n > 0; --n) {
      bench::keep(kText);
      orla_uuid_decode(kText, &uuid, &status);
      bench::keep(uuid);
    }
  });
  table.row("sscanf, same format", [](long n) {
    for (; n > 0; --n) {
      bench::keep(kText);
      scan(kText);
    }
  });
  table.row("orla_uuid_decode, white space in front", [](long n) {
    k7_uuid__t uuid;
    orla_status status;
    for (; n > 0; --n) {
      orla_uuid_decode(" d0f7b2fc0064.82.0a.00.02.03.00.00.00", &uuid, &status);
      bench::keep(uuid);
    }
  });
}

// Two records that differ in their last byte alone, so that every field is looked at.
k7_uuid__t first = kRecord;
k7_uuid__t second = {0xD0F7B2FC, 0x0064, 0, 0x82, {0x0A, 0x00, 0x02, 0x03, 0, 0, 1}};

template <typename Call>
bench::Table::Body each(Call call) {
  return [call](long n) {
    for (; n > 0; --n) {
      bench::keep(first);
      bench::keep(second);
      bench::keep(call());
    }
  };
}

void order() {
  bench::Table table("Order and hash");
  table.row("a call of the library that does next to nothing",
            each([] { return days_in_year(2007); }));
  table.row("memcmp of 16 bytes", each([] { return std::memcmp(&first, &second, sizeof first); }));
  table.row("orla_uuid_cmp", each([] { return orla_uuid_cmp(&first, &second); }));
  table.row("orla_uuid_equal", each([] { return orla_uuid_equal(&first, &second); }));
  table.row("orla_uuid_hash, 101 buckets", each([] { return orla_uuid_hash(&first, 101); }));
}

}  // namespace

int main() {
  generate();
  encode();
  decode();
  order();
}
