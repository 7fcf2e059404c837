#include "terminal.h"

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace orla_tool {
namespace {

using std::chrono::milliseconds;
constexpr milliseconds kBeforeFirst(300);
constexpr milliseconds kBetween(100);
constexpr std::size_t kLongestQuoted = 100;
constexpr const char *kEraseLine = "\r\033[K";

bool is_set(const char *variable) {
  const char *value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

bool is_dumb() {
  const char *terminal = std::getenv("TERM");
  return terminal == nullptr || std::string_view(terminal) == "dumb";
}

std::string dressed(std::string_view sequence, std::string_view text) {
  std::string out(sequence);
  return out.append(text).append("\033[m");
}

// 1234567 as "1,234,567".
std::string grouped(std::uint64_t number) {
  std::string out;
  std::size_t left = std::to_string(number).size();
  for (const char digit : std::to_string(number)) {
    out += digit;
    if (--left > 0 && left % 3 == 0) out += ',';
  }
  return out;
}

}  // namespace

bool is_coloured(int descriptor, const std::string &choice) {
  if (choice != "auto") return choice == "always";
  return isatty(descriptor) != 0 && !is_set("NO_COLOR") && !is_dumb();
}

std::string visible(std::string_view text) {
  constexpr const char *kDigits = "0123456789abcdef";
  std::string out;
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    if (c == '\n' || (code >= ' ' && code != 0x7F)) {
      out += c;
    } else {
      out += "\\x";
      out += kDigits[code >> 4];
      out += kDigits[code & 0xF];
    }
  }
  return out;
}

std::string quoted(std::string_view text) {
  if (text.size() <= kLongestQuoted) return '"' + std::string(text) + '"';
  std::size_t end = kLongestQuoted;
  while (end > 0 && (text[end] & 0xC0) == 0x80)  // not within a UTF-8 character
    --end;
  return '"' + std::string(text.substr(0, end)) + "...\" (" + std::to_string(text.size()) +
         " bytes)";
}

std::string bold(std::string_view text) { return dressed("\033[1m", text); }

std::string alarming(std::string_view text) { return dressed("\033[1;31m", text); }

void Progress::begin(const char *what, std::uint64_t total) {
  what_ = what;
  total_ = total;
  done_ = 0;
  is_wanted_ = isatty(STDERR_FILENO) != 0 && !is_dumb();
  begin_ = Clock::now();
  next_ = begin_ + kBeforeFirst;
}

void Progress::begin_beside_output(const char *what, std::uint64_t total) {
  begin(what, total);
  is_wanted_ = is_wanted_ && isatty(STDOUT_FILENO) == 0;
}

void Progress::draw_in_time() {
  const Clock::time_point now = Clock::now();
  if (now < next_) return;
  next_ = now + kBetween;
  is_drawn_ = true;
  std::fprintf(stderr, "%s%s", kEraseLine, line(now).c_str());
}

std::string Progress::line(Clock::time_point now) const {
  if (total_ == 0) return grouped(done_) + " " + what_;
  const double share = static_cast<double>(done_) / static_cast<double>(total_);
  const double passed = std::chrono::duration<double>(now - begin_).count();
  const auto left = static_cast<std::uint64_t>(std::lround(passed / share - passed));
  return grouped(done_) + " of " + grouped(total_) + " " + what_ + ", " +
         std::to_string(static_cast<int>(share * 100)) + " %, " + grouped(left) + " s left";
}

void Progress::erase() {
  if (is_drawn_) std::fputs(kEraseLine, stderr);
  is_drawn_ = false;
}

}  // namespace orla_tool
