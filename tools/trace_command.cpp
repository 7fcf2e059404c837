// orla trace: writes one trace line the way the library's services do, and says where it went.

#include <fcntl.h>
#include <orla/trace.h>
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "command.h"
#include "inputs.h"
#include "standard_output.h"

namespace orla_tool {
namespace {

// Without its line feed, which ends every message of a service.
constexpr std::size_t kLongestMessage = ORLA_STATUSLOG_SIZE - 2;

void write_as_services_do(const Input &message) {
  std::snprintf(statuslog, sizeof statuslog, "%.*s\n", static_cast<int>(kLongestMessage),
                message.text);
  TavTrace(statuslog);
  statuslog[0] = '\0';
}

// Why a device takes no more, for example because it is full; empty when it takes more, and for
// anything but a device.
std::string why_device_takes_nothing(const char *path) {
  struct stat file;
  if (stat(path, &file) != 0 || !S_ISCHR(file.st_mode)) return "";
  const int descriptor = open(path, O_WRONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor == -1) return "";
  const bool is_full = write(descriptor, "", 0) == -1;
  std::string reason = is_full ? std::strerror(errno) : "";
  close(descriptor);
  return reason;
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

// The size of a regular file; -1 for anything else.
std::int64_t size_of(const char *path) {
  struct stat file;
  return stat(path, &file) == 0 && S_ISREG(file.st_mode) ? file.st_size : -1;
}

// Why a file that opened did not take the line, by its size before; empty when it did.
std::string why_not_written(const char *path, std::int64_t size_before, bool rotated) {
  if (size_before < 0) return why_device_takes_nothing(path);
  return !rotated && size_of(path) == size_before ? "it did not grow; is the disk full?" : "";
}

bool trace_to_file(Run &run, const Input &message, const char *path, Report &report) {
  const std::int64_t size_before = size_of(path);
  Captured errors(STDERR_FILENO);
  write_as_services_do(message);
  const std::string complaint = errors.text();
  if (!complaint.empty()) {
    run.fail("nothing was written: the trace file \"" + std::string(path) +
             "\" cannot be opened (" + why_it_does_not_open(path) +
             "); set K7LOG_PATH to a file that may be written");
    return false;
  }
  struct stat file;
  const bool rotated = stat(path, &file) != 0 && errno == ENOENT;
  const std::string reason = why_not_written(path, size_before, rotated);
  if (!reason.empty()) {
    run.fail("nothing was written to the trace file \"" + std::string(path) + "\": " + reason);
    return false;
  }
  report_line(report, message);
  report.row(
      "to", "to", rotated ? std::string(path) + ".1" : path,
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
