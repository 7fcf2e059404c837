#include "profile_search.h"

#include <orla/profile.h>
#include <strings.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace orla_tool {
namespace {

bool begins_with(const std::string &line, const std::string &text, std::size_t size) {
  return strncasecmp(line.c_str(), text.c_str(), size) == 0;
}

bool is_header(const std::string &line) {
  return line.size() > 2 && line.front() == '[' && line.back() == ']';
}

bool find_header(ProfileLines &lines, const std::string &section, bool whole_header) {
  const std::string header = '[' + section + ']';
  const std::size_t compared = whole_header ? header.size() + 1 : section.size();
  while (lines.next())
    if (begins_with(lines.line(), header, compared)) return true;
  return false;
}

}  // namespace

std::string file_behind(const std::string &path) {
  const char *named = std::getenv("ORLA_CONFIG");
  return path == ORLA_DEFAULT_PROFILE_PATH && named != nullptr ? named : path;
}

ProfileLines::ProfileLines(const std::string &path) : stream_(std::fopen(path.c_str(), "r")) {}

ProfileLines::~ProfileLines() {
  if (stream_ != nullptr) std::fclose(stream_);
}

bool ProfileLines::next() {
  char line[ORLA_PROFILE_LINE_SIZE];
  if (stream_ == nullptr) return false;
  if (orla_i_cfg_read_line(stream_, line) == 0) {
    if (std::ferror(stream_) != 0) error_ = errno;
    return false;
  }
  line_ = line;
  ++number_;
  return true;
}

Search search_profile(const std::string &file, const std::string &name, const std::string &section,
                      const std::string &key, bool whole_header) {
  ProfileLines lines(file);
  if (!lines.are_open())
    return {name + " does not open: " + std::strerror(errno) + "; check its name and rights", "",
            0};
  const bool has_section = find_header(lines, section, whole_header);
  if (lines.error() != 0) return {name + " cannot be read: " + std::strerror(lines.error()), "", 0};
  if (!has_section) return {name + " has no section [" + section + "]", "", 0};
  const std::string place = "section [" + section + "] of " + name + ", line " +
                            std::to_string(lines.number()) + ", has no key \"" + key + "\"";
  while (lines.next()) {
    if (lines.line().empty())
      return {place + " before the empty line " + std::to_string(lines.number()), "", 0};
    if (begins_with(lines.line(), key, key.size())) return {"", lines.line(), lines.number()};
  }
  return {place + " up to the end of the file", "", 0};
}

std::vector<std::string> sections_of(const std::string &file) {
  std::vector<std::string> sections;
  ProfileLines lines(file);
  while (lines.next())
    if (is_header(lines.line()))
      sections.push_back(lines.line().substr(1, lines.line().size() - 2));
  return sections;
}

std::vector<std::string> keys_of(const std::string &file, const std::string &section) {
  std::vector<std::string> keys;
  ProfileLines lines(file);
  if (!find_header(lines, section, true)) return keys;
  while (lines.next() && !lines.line().empty() && !is_header(lines.line())) {
    const std::size_t end = lines.line().find('=');
    if (end != std::string::npos && end != 0) keys.push_back(lines.line().substr(0, end));
  }
  return keys;
}

}  // namespace orla_tool
