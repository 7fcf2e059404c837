// orla host: processors, memory and disks, each figure with its reason.

#include <orla/inventory.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstring>
#include <iostream>

#include "command.h"
#include "standard_output.h"

namespace orla_tool {
namespace {

const char *explain_method(std::uint32_t method) {
  switch (method) {
    case ORLA_COUNT_NO_HYPER_THREADING:
      return "the processor reports no hyper-threading, so logical processors are counted";
    case ORLA_COUNT_PACKAGES:
      return "processor and kernel agree, so physical packages are counted";
    case ORLA_COUNT_NO_KERNEL_FIGURE:
      return "the kernel reports no hyper-threading, so logical processors are counted";
    default:
      return "the kernel's figure is unusable, so logical processors are counted";
  }
}

const char *explain_kernel_figure(int figure) {
  if (figure < 0) return "the kernel could not be asked, or its packages disagree";
  if (figure == 0) return "the kernel reports no hyper-threading figure";
  return "siblings of a package, as the kernel reports them";
}

struct Processor {
  std::string vendor;
  std::uint32_t family = 0;
};

Processor read_processor() {
  if (CPUID_is_supported() == 0) return {"unknown", 0};
  std::uint32_t eax;
  std::uint32_t ebx;
  std::uint32_t ecx;
  std::uint32_t edx;
  cpuid(0, &eax, &ebx, &ecx, &edx);
  char vendor[13] = {};
  std::memcpy(vendor, &ebx, 4);
  std::memcpy(vendor + 4, &edx, 4);
  std::memcpy(vendor + 8, &ecx, 4);
  cpuid(1, &eax, &ebx, &ecx, &edx);
  return {vendor, (eax >> 8) & 0xF};
}

void report_count(Report &report, Run &run) {
  int count = 0;
  if (tavGetOnlineProcs(&count) == 0) {
    report.row("count", "count", count);
  } else {
    report.missing("count", "count", "the kernel gives no configured count");
    run.status = kServiceFailed;
  }
  int counted = 0;
  const std::uint32_t method = count_physical_proc(&counted);
  report.row("method", "method", method, explain_method(method));
  report.row("configured", "configured", get_nprocs_conf(), "logical processors");
}

// What the processor and the kernel say, from which the count follows.
void report_sources(Report &report) {
  const Processor processor = read_processor();
  report.row("vendor", "vendor", processor.vendor);
  report.row("family", "family", processor.family);
  const int per_package = HTSupported();
  report.row("logical_per_package", "processor says", per_package,
             per_package != 0 ? "logical processors per package"
                              : "no hyper-threading, or not an Intel processor of family 15");
  const int kernel_figure = ht_os_cpus();
  report.row("kernel_figure", "kernel says", kernel_figure, explain_kernel_figure(kernel_figure));
  utsname host;
  if (uname(&host) == 0) report.row("kernel_release", "kernel", host.release);
}

void report_processors(Report &report, Run &run) {
  report.section("processors", "Processors");
  report_count(report, run);
  report_sources(report);
}

void report_memory(Report &report, Run &run) {
  report.section("memory", "Memory");
  int size = 0;
  struct sysinfo host;
  if (tavGetMemorySize(&size) != 0 || sysinfo(&host) != 0) {
    report.missing("size", "size", "the kernel does not answer sysinfo()");
    run.status = kServiceFailed;
    return;
  }
  const bool scaled = host.mem_unit > 1;
  report.row("size", "size", size,
             scaled ? "MiB if a unit were a byte; the total is the real size" : "MiB");
  report.row("unit", "unit", host.mem_unit, "bytes per unit in which the kernel counts memory");
  report.row("total", "total", static_cast<std::uint64_t>(host.totalram) * host.mem_unit >> 20,
             "MiB, multiplied by the unit");
}

void report_disks(Report &report) {
  report.section("disks", "Disks");
  unsigned count = 0;
  if (tavGetDisks(&count) == 0) {
    report.row("count", "count", count, "answer a geometry request as /dev/hd? or /dev/sd?");
  } else {
    // It fails for nobody else; that others may not ask is no failure of this command.
    report.missing("count", "count", "needs root");
  }
}

// Without K7LOG_PATH the library's trace lines go to standard output; here they belong on standard
// error.
void show_host(Run &run) {
  Report report = run.report();
  Captured traced(STDOUT_FILENO);
  report_processors(report, run);
  report_memory(report, run);
  report_disks(report);
  std::cerr << visible_lines(traced.text());
  run.finish(report);
}

}  // namespace

void add_host_command(CLI::App &program, Run &run) {
  add_command(program, run,
              {"host", "Show this host: processors, memory, disks",
               "A figure that is missing comes with its reason. The exit status is then 1, unless\n"
               "only figures that need root are missing.",
               "  orla host\n  orla host --json\n  orla host --field processors.count\n"},
              [&run] { show_host(run); });
}

}  // namespace orla_tool
