#include "terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace orla_tool {
namespace {

using std::chrono::milliseconds;
constexpr milliseconds kBeforeFirst(300);
constexpr milliseconds kBetween(100);
constexpr std::size_t kLongestQuoted = 100;
constexpr char kEraseLine[] = "\r\033[K";
constexpr std::size_t kEraseLineSize = sizeof kEraseLine - 1;

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

// Bytes of the first character: 1 for a byte that begins none in UTF-8.
std::size_t character_size(std::string_view text) {
  const auto first = static_cast<unsigned char>(text[0]);
  const std::size_t size = first < 0xC2   ? 1
                           : first < 0xE0 ? 2
                           : first < 0xF0 ? 3
                           : first < 0xF5 ? 4
                                          : 1;
  if (size > text.size()) return 1;
  for (std::size_t i = 1; i < size; ++i)
    if ((text[i] & 0xC0) != 0x80) return 1;
  const auto second = static_cast<unsigned char>(text[size > 1 ? 1 : 0]);
  const bool is_too_long = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
  return is_too_long ? 1 : size;
}

bool is_control(std::string_view character) {
  const auto last = static_cast<unsigned char>(character.back());
  if (character.size() == 1) return last < ' ' || (last >= 0x7F && last < 0xA0);
  return character.size() == 2 && character[0] == '\xC2' && last < 0xA0;
}

void append_escaped(std::string &out, unsigned char byte) {
  constexpr const char *kDigits = "0123456789abcdef";
  out += "\\x";
  out += kDigits[byte >> 4];
  out += kDigits[byte & 0xF];
}

// Columns that a line may take: one less than there are, as some terminals go to the next line
// after the last.
std::size_t usable_width() {
  winsize size = {};
  const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return (known ? size.ws_col : 80U) - 1U;
}

// Whether the line stands on the terminal, for the signal handler.
volatile std::sig_atomic_t progress_is_drawn = 0;

extern "C" void erase_and_end(int signal) {
  if (progress_is_drawn != 0) [[maybe_unused]]
    const ssize_t written = write(STDERR_FILENO, kEraseLine, kEraseLineSize);
  raise(signal);  // which ends the process: SA_RESETHAND has removed this handler
}

void erase_when_ended_by(int signal) {
  struct sigaction action = {};
  if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) return;
  action.sa_handler = erase_and_end;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(signal, &action, nullptr);
}

}  // namespace

bool is_coloured(int descriptor, const std::string &choice) {
  if (choice != "auto") return choice == "always";
  return isatty(descriptor) != 0 && !is_set("NO_COLOR") && !is_dumb();
}

void append_visible(std::string &out, std::string_view text) {
  const auto is_plain = [](char c) { return c >= ' ' && c <= '~'; };
  if (std::all_of(text.begin(), text.end(), is_plain)) {
    out += text;
    return;
  }
  while (!text.empty()) {
    const std::size_t size = character_size(text);
    const std::string_view character = text.substr(0, size);
    if (is_control(character)) {
      for (const char byte : character)
        append_escaped(out, static_cast<unsigned char>(byte));
    } else {
      out += character;
    }
    text.remove_prefix(size);
  }
}

std::string visible(std::string_view text) {
  std::string out;
  append_visible(out, text);
  return out;
}

std::string visible_lines(std::string_view text) {
  std::string out;
  for (std::size_t end; (end = text.find('\n')) != std::string_view::npos;
       text.remove_prefix(end + 1)) {
    append_visible(out, text.substr(0, end));
    out += '\n';
  }
  append_visible(out, text);
  return out;
}

std::string in_quotes(std::string_view text) {
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
  if (!is_wanted_) return;
  for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM})
    erase_when_ended_by(signal);
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
  progress_is_drawn = 1;
  std::fprintf(stderr, "%s%s", kEraseLine, line(now).substr(0, usable_width()).c_str());
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
  progress_is_drawn = 0;
}

}  // namespace orla_tool
