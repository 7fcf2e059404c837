// UUIDs, compared with the clock alone, copies of the same bytes, and formatted output and input.

#include <sys/time.h>
#include <orla/orla.hpp>

#include <cstdio>
#include <cstring>

#include "rows.h"

namespace {

const char kText[] = "d0f7b2fc0064.82.0a.00.02.03.00.00.00";
k7_uuid__t record = {0xD0F7B2FC, 0x0064, 0, 0x82, {0x0A, 0x00, 0x02, 0x03, 0, 0, 0}};
// Differs only in its last byte, so that every field is compared.
k7_uuid__t other = {0xD0F7B2FC, 0x0064, 0, 0x82, {0x0A, 0x00, 0x02, 0x03, 0, 0, 1}};
orla::uuid inline_record(record);
orla::uuid inline_other(other);
k7_uuid__t made;
char text[ORLA_UUID_TEXT_SIZE];

void copy_text() {
  bench::keep(kText);
  std::memcpy(text, kText, sizeof text);
  bench::keep(text);
}

void print_text() {
  const k7_uuid__t &u = record;
  bench::keep(u);
  std::snprintf(text, sizeof text, "%08lx%04x.%02x.%02x.%02x.%02x.%02x.%02x.%02x.%02x",
                static_cast<unsigned long>(u.time_high), u.time_low, u.family, u.host[0], u.host[1],
                u.host[2], u.host[3], u.host[4], u.host[5], u.host[6]);
  bench::keep(text);
}

void scan_text() {
  unsigned long high;
  unsigned short f[9];
  bench::keep(kText);
  std::sscanf(kText, "%8lx%4hx.%2hx.%2hx.%2hx.%2hx.%2hx.%2hx.%2hx.%2hx", &high, &f[0], &f[1], &f[2],
              &f[3], &f[4], &f[5], &f[6], &f[7], &f[8]);
  bench::keep(f);
}

// Calls `compare` on two records that the compiler must take for changed.
template <typename Compare>
bench::Body on_records(Compare compare) {
  return bench::repeat([compare] {
    bench::keep(record);
    bench::keep(other);
    bench::keep_result(compare());
  });
}

std::uint32_t fold_inline() {
  std::uint32_t words[4];
  std::memcpy(words, &record, sizeof words);
  return words[0] ^ words[1] ^ words[2] ^ words[3];
}

const bench::Rows rows([] {
  bench::Table generate("UUID: generate");
  generate.floor("gettimeofday", bench::repeat([] {
                   timeval now;
                   gettimeofday(&now, nullptr);
                   bench::keep(now);
                 }));
  generate.ours("orla_uuid_gen", bench::repeat([] {
                  orla_uuid_gen(&made);
                  bench::keep(made);
                }));

  bench::Table encode("UUID: encode");
  encode.floor("an empty call", bench::empty_call());
  encode.floor("copy of 37 bytes", bench::repeat(copy_text));
  encode.ours("orla_uuid_encode", bench::repeat([] {
                bench::keep(record);
                orla_uuid_encode(&record, text);
                bench::keep(text);
              }));
  encode.peer("snprintf", bench::repeat(print_text));

  bench::Table decode("UUID: decode");
  decode.floor("an empty call", bench::empty_call());
  decode.floor("copy of 37 bytes", bench::repeat(copy_text));
  decode.ours("orla_uuid_decode", bench::repeat([] {
                orla_status status;
                bench::keep(kText);
                orla_uuid_decode(kText, &made, &status);
                bench::keep(made);
              }));
  decode.peer("sscanf", bench::repeat(scan_text));

  bench::Table compare("UUID: compare");
  compare.floor("an empty call", bench::empty_call());
  compare.floor("memcmp of 16 bytes",
                on_records([] { return std::memcmp(&record, &other, sizeof record); }));
  compare.ours("orla_uuid_cmp", on_records([] { return orla_uuid_cmp(&record, &other); }));
  compare.ours("orla.hpp: <, inline", bench::repeat([] {
                 bench::keep(inline_record);
                 bench::keep(inline_other);
                 bench::keep_result(inline_record < inline_other);
               }));

  bench::Table hash("UUID: hash");
  hash.floor("an empty call", bench::empty_call());
  hash.floor("fold, inline", on_records(fold_inline));
  hash.ours("orla_uuid_hash, 101 buckets", on_records([] { return orla_uuid_hash(&record, 101); }));
  hash.ours("orla.hpp: 101 buckets, inline", bench::repeat([] {
              bench::keep(inline_record);
              bench::keep_result(inline_record.bucket(101));
            }));
  hash.ours("orla.hpp: std::hash, inline", bench::repeat([] {
              bench::keep(inline_record);
              bench::keep_result(std::hash<orla::uuid>()(inline_record));
            }));
});

}  // namespace
