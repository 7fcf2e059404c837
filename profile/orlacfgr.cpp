// Profile files: the readers, and which profile is in force.
//
// The writer is in orlacfgw.cpp; the grammar is in orla/profile.h.

#include <orla/profile.h>

#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>

#include "base/descriptor.h"
#include "base/kept_errno.h"
#include "profile/header_walk.h"
#include "profile/line_source.h"
#include "profile/profile_file.h"
#include "profile/profile_line.h"

namespace {

using orla::Descriptor;
using orla::HeaderRule;
using orla::KeptErrno;
using orla::LineSource;

// The profile in force, decided by the first call of orla_cfg_file() and never changed after it.
char pcConfig[ORLA_PROFILE_PATH_SIZE];  // its path
int bAlreadyDone = 0;                   // 1 once it is decided
char tmpEnvSet = 0;                     // 1 when ORLA_CONFIG named it

// Finds the line of a key in the section whose header was found before.
std::optional<std::string_view> find_entry(LineSource &source, std::string_view key) {
  while (const auto line = source.next_line()) {
    if (orla::is_empty_line(*line)) return {};
    if (orla::begins_with(*line, key)) return line;
  }
  return {};
}

// Finds a value, which lies in the source's memory.
std::optional<std::string_view> find_value(LineSource &source, const char *section, HeaderRule rule,
                                           const char *key) {
  const auto skip = [](std::string_view) {};
  if (!orla::walk_past_header(source, section, rule, skip)) return {};
  const auto line = find_entry(source, key);
  return line ? orla::value_of_line(*line) : std::nullopt;
}

// Copies a default into `text`, which is all zeros. Quirk: one of `size` characters or more leaves
// no terminator.
unsigned copy_default(const char *fallback, char *text, unsigned size) {
  if (fallback == nullptr) return 0;
  const std::size_t length = std::strlen(fallback);
  std::memcpy(text, fallback, length < size ? length : size);
  return static_cast<unsigned>(length);
}

// Copies as much of a value as leaves a terminator.
unsigned copy_value(std::string_view value, char *text, unsigned size) {
  const std::size_t length = value.size() < size ? value.size() : size - 1;
  std::memcpy(text, value.data(), length);
  return static_cast<unsigned>(length);
}

// Whether a path fits into pcConfig and names a file that opens.
bool can_be_in_force(const char *path) {
  if (std::strlen(path) >= sizeof pcConfig) return false;
  return Descriptor(orla::open_for_reading(path)).is_open();
}

void settle_path() {
  const char *named = orla::config_variable();
  if (named != nullptr && can_be_in_force(named)) {
    std::strcpy(pcConfig, named);
    tmpEnvSet = 1;
  } else {
    std::strcpy(pcConfig, ORLA_DEFAULT_PROFILE_PATH);
  }
  bAlreadyDone = 1;
}

}  // namespace

int orla_cfg_get_private_profile_int(const char *section, const char *key, int fallback,
                                     const char *path) noexcept {
  const KeptErrno kept;
  // Quirk: the path as it is given; ORLA_CONFIG is not looked at.
  const Descriptor file(orla::open_for_reading(path));
  if (!file.is_open()) return fallback;
  LineSource source(file.number());
  const auto value = find_value(source, section, HeaderRule::whole_line, key);
  return value ? orla::integer_of_value(*value, fallback) : fallback;
}

unsigned orla_cfg_get_private_profile_string(const char *section, const char *key,
                                             const char *fallback, char *text, unsigned size,
                                             const char *path) noexcept {
  const KeptErrno kept;
  if (size == 0) return 0;
  std::memset(text, 0, size);
  if (size == 1) return 0;
  const Descriptor file(orla::open_for_reading(orla::resolved_path(path)));
  if (!file.is_open()) return copy_default(fallback, text, size);
  LineSource source(file.number());
  const auto value = find_value(source, section, HeaderRule::length_of_name, key);
  if (!value || (fallback != nullptr && orla::is_blank(*value)))
    return copy_default(fallback, text, size);
  return copy_value(*value, text, size);
}

void orla_cfg_file(char *path, char *from_environment) noexcept {
  const KeptErrno kept;
  if (bAlreadyDone == 0) settle_path();
  std::strcpy(path, pcConfig);
  if (from_environment != nullptr) *from_environment = tmpEnvSet;
}

int orla_i_cfg_read_line(std::FILE *stream, char *line) noexcept {
  const KeptErrno kept;
  constexpr std::size_t kLongest = ORLA_PROFILE_LINE_SIZE - 1;
  std::size_t length = 0;
  for (;;) {
    // Quirk: a byte 0xFF counts as the end of the file. EOF, cut to a byte, is that byte as well.
    const auto c = static_cast<unsigned char>(std::getc(stream));
    if (c == 0xFF) return 0;
    if (c == '\n') break;
    if (c != '\r' && length < kLongest) line[length++] = static_cast<char>(c);
  }
  line[length] = '\0';
  return 1;
}
