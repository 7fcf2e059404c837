// orla load: whether the library's loader opens a library, where, and whether it finds symbols in
// it.

#include <dlfcn.h>
#include <link.h>
#include <orla/loader.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "command.h"
#include "standard_output.h"

namespace orla_tool {
namespace {

struct LoadArguments {
  std::string library;
  std::vector<std::string> symbols;
};

struct FreeId {
  void operator()(orla_library_id *id) const { orla_slnk_free_library_id(id); }
};
using LibraryId = std::unique_ptr<orla_library_id, FreeId>;

bool has_fallback(const std::string &library) {
  return library.size() <= ORLA_LIBRARY_FALLBACK_NAME_MAX;
}

std::string fallback_of(const std::string &library) {
  return ORLA_LIBRARY_FALLBACK_DIRECTORY + library;
}

// The file of a library that is open under this name; empty when none is.
std::string file_of(const std::string &name) {
  void *handle = dlopen(name.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle == nullptr) return "";
  const link_map *map = nullptr;
  const bool known = dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0;
  std::string file = known && map->l_name[0] != '\0' ? map->l_name : name;
  dlclose(handle);
  return file;
}

// Why the linker does not open it.
std::string linker_error(const std::string &name) {
  void *handle = dlopen(name.c_str(), RTLD_NOW);
  if (handle == nullptr) return dlerror();
  dlclose(handle);
  return "opens for this tool, but not for the library, which looks in other directories";
}

void report_opened(Report &report, const std::string &library) {
  // A library in the fallback directory is known by its name too, where its soname is the same.
  const std::string file = file_of(library);
  const bool fallback = file.empty() || file == fallback_of(library);
  report.row("opened", "opened", fallback ? "in the fallback directory" : "by name");
  report.row("file", "file", fallback ? fallback_of(library) : file);
}

void report_failure(Report &report, const std::string &library) {
  report.missing("opened", "opened", "neither by name nor in the fallback directory");
  report.missing("by_name", "by name", linker_error(library));
  report.missing("in_fallback_directory", "in fallback directory",
                 has_fallback(library)
                     ? linker_error(fallback_of(library))
                     : "not tried: a name over " + std::to_string(ORLA_LIBRARY_FALLBACK_NAME_MAX) +
                           " characters");
}

// The library prints the linker's text in a line of its own, after a comma.
std::string missing_symbol_text(const std::string &printed) {
  const std::size_t comma = printed.find("\n,");
  std::string text = comma == std::string::npos ? "not found" : printed.substr(comma + 2);
  while (!text.empty() && text.back() == '\n')
    text.pop_back();
  return text == "(null)" ? "its value is null, which counts as missing" : text;
}

void report_symbol(Report &report, Run &run, const orla_library_id *id, const std::string &symbol) {
  orla_status status = 0;
  Captured output(STDOUT_FILENO);
  orla_slnk_get_proc_addr(id, symbol.c_str(), &status);
  const std::string printed = output.text();
  if (status == 0) {
    report.item("symbols", {{"name", symbol}, {"found", true}}, symbol, "found");
    return;
  }
  const std::string reason = missing_symbol_text(printed);
  report.item("symbols", {{"name", symbol}, {"found", false}, {"reason", reason}}, symbol, "-",
              reason);
  run.status = kServiceFailed;
}

// While tracing goes to standard output, a failed load writes there; it belongs on standard error.
orla_status load(const std::string &library, orla_library_id *id) {
  orla_status status;
  Captured output(STDOUT_FILENO);
  orla_slnk_load_library(library.c_str(), id, &status);
  std::cerr << visible_lines(output.text());
  return status;
}

// What a library prints when it is closed belongs on standard error too.
void unload(const orla_library_id *id) {
  Captured output(STDOUT_FILENO);
  orla_slnk_free_library(id);
  std::cerr << visible_lines(output.text());
}

void try_library(Run &run, const LoadArguments &arguments) {
  const LibraryId id(orla_slnk_allocate_library_id());
  if (id == nullptr) return run.fail("there is no memory for a library id");
  Report report = run.report();
  report.row("library", "library", arguments.library);
  const orla_status status = load(arguments.library, id.get());
  if (status != 0) {
    report_failure(report, arguments.library);
    run.status = kServiceFailed;
    return run.finish(report);
  }
  report_opened(report, arguments.library);
  for (const std::string &symbol : arguments.symbols)
    report_symbol(report, run, id.get(), symbol);
  unload(id.get());
  run.finish(report);
}

}  // namespace

void add_load_command(CLI::App &program, Run &run) {
  const auto arguments = std::make_shared<LoadArguments>();
  CLI::App *load = add_command(
      program, run,
      {"load", "Test whether a library opens and has the named symbols",
       "The name is tried as it stands, then in " ORLA_LIBRARY_FALLBACK_DIRECTORY ".\n"
       "Code that a library runs when it is opened runs here too.\n"
       "Exit status 1: the library does not open or a symbol is missing.",
       "  orla load libm.so.6 cos\n  orla load ./plugin.so plugin_open plugin_close --json\n"},
      [&run, arguments] { try_library(run, *arguments); });
  load->add_option("LIBRARY", arguments->library, "Soname, file name or path")
      ->required()
      ->check([](const std::string &name) {
        return name.empty() ? "the name is empty; name a library" : "";
      });
  load->add_option("SYMBOL", arguments->symbols, "To look up in it");
}

}  // namespace orla_tool
