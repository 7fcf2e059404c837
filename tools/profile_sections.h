// What the string reader finds in a profile file, for every section and key that stand in it.
//
// A section is asked for by the name of a line that begins with "[", as that is all that makes a
// line a header to the string reader. The search for one of its keys begins below the line that the
// reader takes for its header, and ends at the first empty line: it runs on into sections below.

#ifndef ORLA_TOOLS_PROFILE_SECTIONS_H
#define ORLA_TOOLS_PROFILE_SECTIONS_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "profile_text.h"

namespace orla_tool {

// Keys in the order of InAnyCase, each once. Others are called by their place in it, a number that
// fits 32 bits, as do all numbers here: a file has at most 64 MiB.
using Keys = std::vector<std::string_view>;

// The keys of all lines of these files that a search can come to, each as the first spells it.
Keys keys_of(std::initializer_list<const ProfileText *> texts);

// For each key the lines that begin with it and that a search can find: the first below each line
// that may count as a header.
class LinesOfKeys {
 public:
  LinesOfKeys(const ProfileText &text, const Keys &keys);

  // The first of them below a line.
  Line first_below(const Line &line, std::uint32_t key) const;

 private:
  struct Place {
    std::uint32_t number;
    std::uint32_t offset;
  };
  struct PlaceOfKey {
    std::uint32_t key;
    Place place;
  };

  void set_shorter();
  std::vector<PlaceOfKey> find_places() const;

  const ProfileText &text_;
  const Keys &keys_;
  // The longest other key that a key begins with; its own place where there is none.
  std::vector<std::uint32_t> shorter_;
  std::vector<std::uint32_t> ends_;  // of each key's places
  std::vector<Place> places_;
};

// Lines up to an empty one, and the keys in them.
struct Block {
  struct Key {
    std::uint32_t key;
    std::uint32_t last;  // the number of the last line that has it
  };

  std::size_t begin = 0;
  std::size_t end = 0;
  std::vector<Key> keys;
};

class ProfileSections {
 public:
  // Both outlive this.
  ProfileSections(const ProfileText &text, const Keys &keys);

  // Those of the sections, in the order of the file, each once.
  const std::vector<std::string_view> &names() const { return names_; }

  // The line that the string reader takes for the header of a section.
  Line header(std::string_view name);

  // The keys that stand below a header, where a search goes.
  std::vector<std::uint32_t> keys_below(const Line &header);

  // The line that is found for a key below a header.
  Line find(const Line &header, std::uint32_t key);

  // The lines below a header that are found by their own keys.
  std::vector<Line> entries_below(const Line &header);

 private:
  const Block &block_of(const Line &header);

  const ProfileText &text_;
  const Keys &keys_;
  LinesOfKeys lines_;
  std::vector<std::string_view> names_;
  EarlierLines headers_;  // without their brackets
  Line first_;            // of the file
  Block block_;           // that was asked for last
};

}  // namespace orla_tool

#endif
