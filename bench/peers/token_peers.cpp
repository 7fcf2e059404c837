// Abseil's way to split a text.

#include <absl/strings/str_split.h>

#include <cstring>
#include <string_view>
#include <utility>

#include "rows.h"

namespace {

const char kLine[] = "name \"twelve chars\" rest";

const bench::Rows rows([] {
  bench::Table table("Token out of a line");
  table.peer("absl::StrSplit", bench::repeat([] {
               char out[64];
               const auto parts = absl::StrSplit(bench::unknown(kLine), '"');
               auto part = parts.begin();
               ++part;
               const absl::string_view token = *part;
               std::memcpy(out, token.data(), token.size());
               out[token.size()] = '\0';
               bench::keep(out);
             }));
});

}  // namespace
