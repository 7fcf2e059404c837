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
#include <iostream>
#include <memory>

#include "command.h"
#include "standard_output.h"

namespace orla_tool {
namespace {

// Without its line feed, which ends every message of a service.
constexpr std::size_t kLongestMessage = ORLA_STATUSLOG_SIZE - 2;

void write_as_services_do(const std::string &message) {
  std::snprintf(statuslog, sizeof statuslog, "%.*s\n", static_cast<int>(kLongestMessage),
                message.c_str());
  TavTrace(statuslog);
  statuslog[0] = '\0';
}

std::string why_it_does_not_open(const char *path) {
  const int descriptor = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
  if (descriptor == -1) return std::strerror(errno);
  close(descriptor);
  return "it could be opened a moment later";
}

void report_line(Report &report, const std::string &message) {
  report.row("written", "written", true,
             message.size() > kLongestMessage
                 ? "cut at " + std::to_string(kLongestMessage) + " characters"
                 : "");
}

void trace_to_output(Run &run, const std::string &message) {
  Captured output(STDOUT_FILENO);
  write_as_services_do(message);
  const std::string line = output.text();
  if (!run.json) std::cout << line;
  Report report;
  report_line(report, message);
  report.row("to", "to", "standard output", "K7LOG_PATH is not set");
  report.row("line", "line", line.substr(0, line.find_last_not_of('\n') + 1));
  run.finish(report);
}

// The size of a regular file; -1 for anything else.
std::int64_t size_of(const char *path) {
  struct stat file;
  return stat(path, &file) == 0 && S_ISREG(file.st_mode) ? file.st_size : -1;
}

void trace_to_file(Run &run, const std::string &message, const char *path) {
  const std::int64_t size_before = size_of(path);
  Captured errors(STDERR_FILENO);
  write_as_services_do(message);
  const std::string complaint = errors.text();
  if (!complaint.empty()) {
    return run.fail("nothing was written: the trace file \"" + std::string(path) +
                    "\" cannot be opened (" + why_it_does_not_open(path) +
                    "); set K7LOG_PATH to a file that may be written");
  }
  struct stat file;
  const bool rotated = stat(path, &file) != 0 && errno == ENOENT;
  if (size_before >= 0 && !rotated && size_of(path) == size_before) {
    return run.fail("nothing was written: the trace file \"" + std::string(path) +
                    "\" did not grow; is the disk full?");
  }
  Report report;
  report_line(report, message);
  report.row("to", "to", rotated ? std::string(path) + ".1" : path,
             rotated ? "it had grown past its size, and was moved there" : "by K7LOG_PATH");
  run.finish(report);
}

void trace_message(Run &run, const std::string &message) {
  if (orlalib_verbose == 0) {
    return run.fail(
        std::string("nothing was written: the library's trace switch is off; set "
                    "K7LIB_VERB=y") +
        (orlathr_verbose != 0 ? " (K7THR_VERB alone does not make services write)" : ""));
  }
  const char *path = std::getenv("K7LOG_PATH");
  path == nullptr ? trace_to_output(run, message) : trace_to_file(run, message, path);
}

}  // namespace

void add_trace_command(CLI::App &program, Run &run) {
  const auto message = std::make_shared<std::string>();
  CLI::App *trace =
      add_command(program, run, "trace", "Write one trace line, and say where it went");
  trace->add_option("MESSAGE", *message, "Without a line feed; one is added")->required();
  trace->footer(
      "In the trace file \"%%\" comes out as one percent sign and \"%m\" as an error text.\n"
      "The environment decides: K7LIB_VERB=y switches tracing on, K7LOG_PATH names the file.");
  trace->callback([&run, message] { trace_message(run, *message); });
}

}  // namespace orla_tool
