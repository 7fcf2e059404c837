// orla trace: writes one trace line the way the library's services do, and says where it went.

#include <fcntl.h>
#include <orla/trace.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "command.h"
#include "inputs.h"
#include "standard_output.h"

namespace orla_tool {
namespace {

// What the system took since this was last emptied, and why it took no more, if it did not.
struct Writing {
  std::size_t bytes = 0;
  int error = 0;
};

Writing writing;

// Without its line feed, which ends every message of a service.
constexpr std::size_t kLongestMessage = ORLA_STATUSLOG_SIZE - 2;

void write_as_services_do(const Input &message) {
  std::snprintf(statuslog, sizeof statuslog, "%.*s\n", static_cast<int>(kLongestMessage),
                message.text);
  TavTrace(statuslog);
  statuslog[0] = '\0';
}

std::string why_it_does_not_open(const char *path) {
  const int descriptor = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
  if (descriptor == -1) return std::strerror(errno);
  close(descriptor);
  return "it could be opened a moment later";
}

void report_line(Report &report, const Input &message) {
  report.row("written", "written", true,
             message.size > kLongestMessage
                 ? "cut at " + std::to_string(kLongestMessage) + " characters"
                 : "");
}

void trace_to_output(const Run &run, const Input &message, Report &report) {
  Captured output(STDOUT_FILENO);
  write_as_services_do(message);
  const std::string line = output.text();
  if (!run.wants_values()) print(visible_lines(line));
  report_line(report, message);
  report.row("to", "to", "standard output", "K7LOG_PATH is not set");
  report.row("line", "line", line.substr(0, line.find_last_not_of('\n') + 1));
}

// Why a line is not in the file as a whole; empty when it is.
std::string why_not_written(const Writing &traced, const std::string &file) {
  if (traced.error != 0 && traced.bytes != 0)
    return "the line was cut after " + std::to_string(traced.bytes) +
           " bytes in the trace file \"" + file + "\": " + std::strerror(traced.error);
  if (traced.error != 0)
    return "nothing was written to the trace file \"" + file + "\": " + std::strerror(traced.error);
  if (traced.bytes != 0) return "";
  return "nothing was written: the trace file \"" + file + "\" cannot be opened (" +
         why_it_does_not_open(file.c_str()) + "); set K7LOG_PATH to a file that may be written";
}

bool trace_to_file(Run &run, const Input &message, const std::string &path, Report &report) {
  {
    const Captured complaint(STDERR_FILENO);  // of a file that does not open
    writing = {};
    write_as_services_do(message);
  }
  const Writing traced = std::exchange(writing, {});
  struct stat file;
  const bool rotated = traced.bytes != 0 && stat(path.c_str(), &file) != 0 && errno == ENOENT;
  const std::string to = rotated ? path + ".1" : path;
  const std::string reason = why_not_written(traced, to);
  if (!reason.empty()) {
    run.fail(reason);
    return false;
  }
  report_line(report, message);
  report.row(
      "to", "to", to,
      rotated ? "the file had reached its size limit and was renamed to this" : "by K7LOG_PATH");
  return true;
}

void trace_messages(Run &run, const std::vector<std::string> &messages) {
  if (orlalib_verbose == 0) {
    return run.fail(
        std::string("nothing was written: the library's trace switch is off; set "
                    "K7LIB_VERB=y") +
        (orlathr_verbose != 0 ? " (K7THR_VERB alone does not make services write)" : ""));
  }
  const char *path = std::getenv("K7LOG_PATH");
  const bool lines_are_enough = path == nullptr && !run.wants_values() && !is_single(messages);
  const auto describe = [&](const Input &message, Report &report) {
    if (path != nullptr) return trace_to_file(run, message, path, report);
    trace_to_output(run, message, report);
    return !lines_are_enough;
  };
  describe_each(run, messages, {describe, {"to"}});
}

}  // namespace
}  // namespace orla_tool

// The library writes a line with write() and does not tell how that ended. Only the call itself
// knows: the file's size is also that of what other processes trace. So the tool has a write() of
// its own, which the library then calls.
extern "C" [[gnu::visibility("default")]] ssize_t write(int fd, const void *buf, std::size_t n) {
  const long written = syscall(SYS_write, fd, buf, n);
  orla_tool::writing.error = written < 0 ? errno : 0;
  if (written > 0) orla_tool::writing.bytes += static_cast<std::size_t>(written);
  return written;
}

namespace orla_tool {

void add_trace_command(CLI::App &program, Run &run) {
  const auto messages = std::make_shared<std::vector<std::string>>();
  CLI::App *trace = add_command(
      program, run,
      {"trace", "Write trace lines, and say where they went",
       "In the trace file \"%%\" becomes one percent sign and \"%m\" an error text.\n"
       "The environment decides: K7LIB_VERB=y switches tracing on, K7LOG_PATH names the file.\n"
       "A message that begins with \"-\" goes after \"--\".",
       "  K7LIB_VERB=y orla trace 'upgrade begins'\n"
       "  K7LIB_VERB=y K7LOG_PATH=product.trace orla trace -- '--- upgrade ---'\n"
       "  date | K7LIB_VERB=y orla trace -\n"},
      [&run, messages] { trace_messages(run, *messages); });
  add_texts(*trace, "MESSAGE", *messages,
            "Without a line feed; one is added; - for the lines of standard input");
}

}  // namespace orla_tool
