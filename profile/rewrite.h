// The text of a profile file with one key written anew: from a source of lines into a sink, without a
// file system's say.

#ifndef ORLA_PROFILE_REWRITE_H
#define ORLA_PROFILE_REWRITE_H

#include <string_view>

#include "profile/line_source.h"
#include "profile/text_sink.h"

namespace orla {

struct Entry {
  std::string_view section;
  std::string_view key;
  std::string_view value;
};

void put_header(TextSink &to, const Entry &entry);
void put_entry(TextSink &to, const Entry &entry);

// Copies all lines, with the entry in its place.
void rewrite(LineSource &from, TextSink &to, const Entry &entry);

}  // namespace orla

#endif
