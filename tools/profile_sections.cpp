#include "profile_sections.h"

#include <algorithm>
#include <numeric>
#include <set>

namespace orla_tool {
namespace {

std::uint32_t place_of(const Keys &keys, std::string_view key) {
  return static_cast<std::uint32_t>(std::lower_bound(keys.begin(), keys.end(), key, InAnyCase()) -
                                    keys.begin());
}

// Hands on each line that a search can come to, and the number of the last line above it that may
// count as a header. Of an empty name nothing is compared, so the first line may.
template <typename Action>
void for_each_reached(const ProfileText &text, Action action) {
  std::size_t header = 0;  // none after an empty line
  for (LineWalk walk = text.lines(); walk.next();) {
    const Line line = walk.line();
    if (line.text.empty()) header = 0;
    if (header != 0) action(line, static_cast<std::uint32_t>(header));
    if (line.number == 1 || begins_header(line.text)) header = line.number;
  }
}

void leave_each_once(Keys &keys) {
  std::stable_sort(keys.begin(), keys.end(), InAnyCase());
  keys.erase(std::unique(keys.begin(), keys.end(), is_same), keys.end());
}

}  // namespace

Keys keys_of(std::initializer_list<const ProfileText *> texts) {
  Keys keys;
  // A key may stand in every line, so room is made before more is taken.
  std::size_t most = 4096;
  for (const ProfileText *text : texts)
    for_each_reached(*text, [&keys, &most](const Line &line, std::uint32_t /*header*/) {
      const std::string_view key = key_of(line.text);
      const bool is_known = !keys.empty() && is_same(keys.back(), key);
      if (has_equals(line.text) && !is_known) keys.push_back(key);
      if (keys.size() < most) return;
      leave_each_once(keys);
      most = std::max(most, keys.size() * 2);
    });
  leave_each_once(keys);
  return keys;
}

LinesOfKeys::LinesOfKeys(const ProfileText &text, const Keys &keys)
    : text_(text), keys_(keys), shorter_(keys.size()), ends_(keys.size() + 1) {
  if (keys.empty()) return;
  set_shorter();
  const std::vector<PlaceOfKey> found = find_places();
  for (const PlaceOfKey &each : found)
    ++ends_[each.key + 1];
  std::partial_sum(ends_.begin(), ends_.end(), ends_.begin());
  places_.resize(found.size());
  // The end of the places before a key's moves on to the end of its own.
  for (const PlaceOfKey &each : found)
    places_[ends_[each.key]++] = each.place;
}

void LinesOfKeys::set_shorter() {
  for (std::uint32_t key = 0; key < keys_.size(); ++key) {
    std::uint32_t shorter = key == 0 ? key : key - 1;
    while (!begins_with(keys_[key], keys_[shorter]))
      shorter = shorter_[shorter] == shorter ? key : shorter_[shorter];
    shorter_[key] = shorter;
  }
}

// Keys that a line begins with are each the beginning of the next longer one, so from the longest
// the others are found without a search.
std::vector<LinesOfKeys::PlaceOfKey> LinesOfKeys::find_places() const {
  std::vector<PlaceOfKey> found;
  std::vector<std::uint32_t> headers(keys_.size());  // the last below which a key has been found
  for_each_reached(text_, [&](const Line &line, std::uint32_t header) {
    const auto after = std::upper_bound(keys_.begin(), keys_.end(), line.text, InAnyCase());
    if (after == keys_.begin()) return;
    const Place place = {static_cast<std::uint32_t>(line.number), text_.offset_of(line)};
    for (auto key = static_cast<std::uint32_t>(after - keys_.begin() - 1);; key = shorter_[key]) {
      if (headers[key] != header && begins_with(line.text, keys_[key])) {
        headers[key] = header;
        found.push_back({key, place});
      }
      if (shorter_[key] == key) return;
    }
  });
  return found;
}

Line LinesOfKeys::first_below(const Line &line, std::uint32_t key) const {
  const Place *begin = places_.data() + (key == 0 ? 0 : ends_[key - 1]);
  const Place *end = places_.data() + ends_[key];
  const Place *found =
      std::upper_bound(begin, end, line.number,
                       [](std::size_t number, const Place &each) { return number < each.number; });
  return found == end ? Line() : text_.line_at(found->offset, found->number);
}

ProfileSections::ProfileSections(const ProfileText &text, const Keys &keys)
    : text_(text), keys_(keys), lines_(text, keys) {
  std::set<std::string_view, InAnyCase> known;
  for (LineWalk walk = text.lines(); walk.next();) {
    const Line line = walk.line();
    if (line.number == 1) first_ = line;
    if (!begins_header(line.text)) continue;
    headers_.add({line.text.substr(1), line.number});
    const std::string_view name = section_name(line.text);
    if (known.insert(name).second) names_.push_back(name);
  }
}

Line ProfileSections::header(std::string_view name) {
  // Nothing of an empty name is compared, so the first line will do.
  return name.empty() ? first_ : headers_.find(compared_name(name));
}

const Block &ProfileSections::block_of(const Line &header) {
  if (header.number >= block_.begin && header.number < block_.end) return block_;
  block_ = {header.number, header.number + 1, {}};
  for (LineWalk walk = text_.lines_after(header); walk.next() && !walk.line().text.empty();) {
    const Line line = walk.line();
    block_.end = line.number + 1;
    if (has_equals(line.text))
      block_.keys.push_back(
          {place_of(keys_, key_of(line.text)), static_cast<std::uint32_t>(line.number)});
  }
  // Of the lines with one key the last comes first, and stays.
  const auto comes_before = [](const Block::Key &one, const Block::Key &other) {
    return one.key != other.key ? one.key < other.key : one.last > other.last;
  };
  std::sort(block_.keys.begin(), block_.keys.end(), comes_before);
  const auto has_same_key = [](const Block::Key &one, const Block::Key &other) {
    return one.key == other.key;
  };
  block_.keys.erase(std::unique(block_.keys.begin(), block_.keys.end(), has_same_key),
                    block_.keys.end());
  return block_;
}

std::vector<std::uint32_t> ProfileSections::keys_below(const Line &header) {
  std::vector<std::uint32_t> keys;
  if (header.number == 0) return keys;
  for (const Block::Key &each : block_of(header).keys)
    if (each.last > header.number) keys.push_back(each.key);
  return keys;
}

Line ProfileSections::find(const Line &header, std::uint32_t key) {
  if (header.number == 0) return {};
  const Line found = lines_.first_below(header, key);
  return found.number < block_of(header).end ? found : Line();
}

std::vector<Line> ProfileSections::entries_below(const Line &header) {
  std::vector<Line> entries;
  for (const std::uint32_t key : keys_below(header)) {
    const Line line = find(header, key);
    if (has_equals(line.text) && key_of(line.text).size() == keys_[key].size())
      entries.push_back(line);
  }
  std::sort(entries.begin(), entries.end(),
            [](const Line &one, const Line &other) { return one.number < other.number; });
  return entries;
}

}  // namespace orla_tool
