// The profile functions in a plain version, a byte and a line at a time, over files that are
// strings. The library, which reads in blocks, is compared with it.

#ifndef ORLA_TESTS_PLAIN_PROFILE_H
#define ORLA_TESTS_PLAIN_PROFILE_H

#include <strings.h>

#include <cstring>
#include <string>
#include <vector>

namespace plain {

class Reader {
 public:
  explicit Reader(const std::string &file) : file_(file) {}

  bool read_line(std::string &line) {
    line.clear();
    while (at_ < file_.size()) {
      const char c = file_[at_++];
      if (c == '\xFF') break;
      if (c == '\n') return true;
      if (c != '\r') line += c;
    }
    at_ = file_.size();
    return false;
  }

 private:
  const std::string &file_;
  std::size_t at_ = 0;
};

inline bool is_empty(const std::string &line) { return line.c_str()[0] == '\0'; }

inline bool has_key(const std::string &line, const char *key) {
  return strncasecmp(line.c_str(), key, std::strlen(key)) == 0;
}

inline std::string header(const char *section) {
  std::string text = "[";
  text += section;
  return text += "]";
}

// The value of the entry, which is a part of `line`, or null.
inline const char *find(Reader &reader, std::string &line, const char *key) {
  do {
    if (!reader.read_line(line) || is_empty(line)) return nullptr;
  } while (!has_key(line, key));
  const char *equals = std::strrchr(line.c_str(), '=');
  return equals != nullptr ? equals + 1 : nullptr;
}

inline int read_int(const std::string &file, const char *section, const char *key, int fallback) {
  Reader reader(file);
  std::string line;
  do {
    if (!reader.read_line(line)) return fallback;
  } while (strcasecmp(line.c_str(), header(section).c_str()) != 0);
  const char *value = find(reader, line, key);
  if (value == nullptr || *value == '\0' || std::strlen(value) > 5) return fallback;
  int number = 0;
  for (; *value >= '0' && *value <= '9'; ++value)
    number = number * 10 + (*value - '0');
  return number;
}

inline unsigned copy_default(std::vector<char> &out, const char *fallback) {
  if (fallback == nullptr) return 0;
  std::strncpy(out.data(), fallback, out.size());
  return static_cast<unsigned>(std::strlen(fallback));
}

// `fallback` may be null; `out` has two bytes or more.
inline unsigned read_string(const std::string &file, const char *section, const char *key,
                            const char *fallback, std::vector<char> &out) {
  out.assign(out.size(), '\0');
  Reader reader(file);
  std::string line;
  do {
    if (!reader.read_line(line)) return copy_default(out, fallback);
  } while (strncasecmp(line.c_str(), header(section).c_str(), std::strlen(section)) != 0);
  const char *value = find(reader, line, key);
  if (value == nullptr) return copy_default(out, fallback);
  const bool is_blank = value[std::strspn(value, " ")] == '\0';
  if (is_blank && fallback != nullptr) return copy_default(out, fallback);
  std::strncpy(out.data(), value, out.size() - 1);
  out.back() = '\0';
  return static_cast<unsigned>(std::strlen(out.data()));
}

inline std::string write(const std::string &file, const char *section, const char *key,
                         const char *value) {
  const std::string entry = std::string(key) + "=" + value + "\n";
  Reader reader(file);
  std::string line;
  std::string out;
  do {
    if (!reader.read_line(line)) return out + "\n" + header(section) + "\n" + entry;
    out += line + "\n";
  } while (strcasecmp(line.c_str(), header(section).c_str()) != 0);
  for (;;) {
    if (!reader.read_line(line)) return out + entry;
    if (has_key(line, key)) {
      out += entry;
      break;
    }
    if (is_empty(line)) {
      out += entry + line + "\n";
      break;
    }
    out += line + "\n";
  }
  while (reader.read_line(line))
    out += line + "\n";
  return out;
}

}  // namespace plain

#endif
