// Profile files looked through line by line, over the library's own line reader.

#ifndef ORLA_TOOLS_PROFILE_SEARCH_H
#define ORLA_TOOLS_PROFILE_SEARCH_H

#include <cstdio>
#include <string>
#include <vector>

namespace orla_tool {

// The file that the string reader and the writer open for a path.
std::string file_behind(const std::string &path);

// The lines of a file, as the library hands them out.
class ProfileLines {
 public:
  explicit ProfileLines(const std::string &path);
  ~ProfileLines();
  ProfileLines(const ProfileLines &) = delete;
  ProfileLines &operator=(const ProfileLines &) = delete;

  bool are_open() const { return stream_ != nullptr; }
  bool next();
  const std::string &line() const { return line_; }
  std::size_t number() const { return number_; }  // of the line, from 1
  int error() const { return error_; }            // of errno, when the end was none; else 0

 private:
  std::FILE *stream_;
  std::string line_;
  std::size_t number_ = 0;
  int error_ = 0;
};

// How a search for a key ends.
struct Search {
  std::string missing;  // why there is no entry; empty when there is one
  std::string line;     // of the entry
  std::size_t number = 0;
};

// The readers answer "not found" and "empty" alike, so the search is made over the lines themselves:
// with `whole_header` as the integer reader and the writer search, else as the string reader does. In
// messages `name` stands for the file.
Search search_profile(const std::string &file, const std::string &name, const std::string &section,
                      const std::string &key, bool whole_header);

// For completion; nothing of a file that does not open.
std::vector<std::string> sections_of(const std::string &file);
std::vector<std::string> keys_of(const std::string &file, const std::string &section);

}  // namespace orla_tool

#endif
