// Copies the text of a profile file with one key changed, from a source of lines into a sink. No
// file is opened here.

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

// A file that holds the entry alone, under its header.
void put_section(TextSink &to, const Entry &entry);

// Copies all lines and puts the entry in its place.
void rewrite(LineSource &from, TextSink &to, const Entry &entry);

}  // namespace orla

#endif
