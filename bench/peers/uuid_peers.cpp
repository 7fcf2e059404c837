// UUIDs of Boost, libuuid and APR, and hashes of Boost and Abseil.

#include <absl/hash/hash.h>
#include <apr_uuid.h>
#include <uuid/uuid.h>

#include <array>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_hash.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <cstdint>
#include <cstring>

#include "rows.h"

namespace {

const char kText[] = "d0f7b2fc-0064-4abc-8def-0a0002030000";
boost::uuids::uuid boost_uuid = boost::uuids::string_generator()(kText);
boost::uuids::uuid boost_other =
    boost::uuids::string_generator()("d0f7b2fc-0064-4abc-8def-0a0002030001");
uuid_t plain_uuid = {0xd0, 0xf7, 0xb2, 0xfc, 0, 0x64, 0x4a, 0xbc, 0x8d, 0xef, 0x0a, 0, 2, 3, 0, 0};
uuid_t plain_other = {0xd0, 0xf7, 0xb2, 0xfc, 0, 0x64, 0x4a, 0xbc, 0x8d, 0xef, 0x0a, 0, 2, 3, 0, 1};
char text[64];

void generate() {
  bench::Table table("UUID: generate");
  table.peer("Boost.UUID, random", bench::repeat([] {
               static boost::uuids::random_generator generator;
               bench::keep(generator());
             }));
  table.peer("Boost.UUID, pseudo-random", bench::repeat([] {
               static boost::uuids::random_generator_mt19937 generator;
               boost_uuid = generator();
               bench::keep(boost_uuid);
             }));
  table.peer("libuuid, random", bench::repeat([] {
               uuid_generate_random(plain_uuid);
               bench::keep(plain_uuid);
             }));
  table.peer("libuuid, time", bench::repeat([] {
               uuid_generate_time(plain_uuid);
               bench::keep(plain_uuid);
             }));
}

void text_forms() {
  bench::Table encode("UUID: encode");
  encode.peer("libuuid", bench::repeat([] {
                bench::keep(plain_uuid);
                uuid_unparse_lower(plain_uuid, text);
                bench::keep(text);
              }));
  encode.peer("Boost.UUID", bench::repeat([] {
                bench::keep(boost_uuid);
                boost::uuids::to_chars(boost_uuid, text, text + sizeof text);
                bench::keep(text);
              }));
  bench::Table decode("UUID: decode");
  decode.peer("libuuid", bench::repeat([] {
                bench::keep(kText);
                uuid_parse(kText, plain_uuid);
                bench::keep(plain_uuid);
              }));
  decode.peer("Boost.UUID", bench::repeat([] {
                bench::keep(kText);
                boost_uuid = boost::uuids::string_generator()(kText, kText + sizeof kText - 1);
                bench::keep(boost_uuid);
              }));
  decode.peer("APR", bench::repeat([] {
                apr_uuid_t parsed;
                bench::keep(kText);
                apr_uuid_parse(&parsed, kText);
                bench::keep(parsed);
              }));
}

inline std::size_t hash_by_abseil() {
  std::array<std::uint64_t, 2> words;
  bench::keep(plain_uuid);
  std::memcpy(words.data(), plain_uuid, sizeof words);
  return absl::HashOf(words[0], words[1]);
}

void order_and_hash() {
  bench::Table compare("UUID: compare");
  compare.peer("libuuid", bench::repeat([] {
                 bench::keep(plain_uuid);
                 bench::keep_result(uuid_compare(plain_uuid, plain_other));
               }));
  compare.peer("Boost.UUID, inline", bench::repeat([] {
                 bench::keep(boost_uuid);
                 bench::keep(boost_other);
                 bench::keep_result(boost_uuid < boost_other);
               }));
  bench::Table hash("UUID: hash");
  hash.peer("Abseil, inline", bench::repeat([] { bench::keep_result(hash_by_abseil()); }));
  hash.peer("Abseil, 101 buckets, inline",
            bench::repeat([] { bench::keep_result(hash_by_abseil() % 101); }));
  hash.peer("Boost.UUID, inline", bench::repeat([] {
              bench::keep(boost_uuid);
              bench::keep_result(boost::uuids::hash_value(boost_uuid));
            }));
}

const bench::Rows rows([] {
  generate();
  text_forms();
  order_and_hash();
});

}  // namespace
