// How each exported function is called while its calls of the C library are made to fail, and how
// the outcome is put into words.

#ifndef ORLA_TESTS_FAILING_CALLS_SCENES_H
#define ORLA_TESTS_FAILING_CALLS_SCENES_H

#include <gtest/gtest.h>
#include <orla/orla.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <sstream>
#include <string>

#include "fakes/failing_calls.h"
#include "kit/captured.h"
#include "kit/environment.h"
#include "kit/modules.h"
#include "kit/temp_dir.h"

namespace failing_calls {

// A host with a folder and a zone of its own.
struct Scene : FailingHost {
  TempDir folder;
  WithZone zone{kBerlin};
};

// Prepares a scene, calls the function in it, and describes the outcome.
using Play = std::string (*)(Scene &);

template <typename... Values>
std::string told(const Values &...values) {
  std::ostringstream text;
  const char *separator = "";
  ((text << separator << values, separator = ", "), ...);
  return text.str();
}

// A play of two that differ in the function alone.
template <auto play, auto function>
std::string with(Scene &scene) {
  return play(scene, function);
}

// Functions that use only their arguments.

inline std::string calls_nothing(Scene &scene, void (*function)()) {
  scene.calls_of_the_library([&] { function(); });
  return "done";
}

template <typename Number>
inline std::string reversed(Scene &scene, Number (*convert)(Number)) {
  return told(scene.calls_of_the_library([&] { return convert(1); }));
}

// Inventory.

inline void set_hyper_threaded(Scene &scene) {
  scene.per_package = 2;
  scene.cpuinfo_path = scene.folder.write("cpuinfo", "siblings : 2\nsiblings : 2\n");
}

inline std::string count_by_method(Scene &scene) {
  set_hyper_threaded(scene);
  int count = 4711;
  const auto method = scene.calls_of_the_library([&] { return count_physical_proc(&count); });
  return told(method, count);
}

inline std::string kernel_figure_of_cpuinfo(Scene &scene) {
  set_hyper_threaded(scene);
  Captured error(STDERR_FILENO);
  const int figure = scene.calls_of_the_library([] { return ht_os_cpus(); });
  return told(figure) + error.text();
}

inline std::string kernel_figure_without_cpuinfo(Scene &scene) {
  scene.fail_always("fopen", EACCES);
  return kernel_figure_of_cpuinfo(scene);
}

inline std::string kernel_figure_of_log(Scene &scene) {
  scene.release = "2.4.18-3";
  scene.kernel_log = "cpu_sibling_map[0] cpu_sibling_map[1]";
  return told(scene.calls_of_the_library([] { return ht_os_cpus(); }));
}

inline std::string count_processors(Scene &scene, orla_status (*entry_point)(int *) noexcept) {
  set_hyper_threaded(scene);
  int count = 4711;
  const auto status = scene.calls_of_the_library([&] { return entry_point(&count); });
  return told(status, count);
}

inline std::string memory_size(Scene &scene) {
  int size = 4711;
  const auto status = scene.calls_of_the_library([&] { return tavGetMemorySize(&size); });
  return told(status, size);
}

inline std::string disks(Scene &scene) {
  unsigned count = 4711;
  const auto status = scene.calls_of_the_library([&] { return tavGetDisks(&count); });
  return told(status, count);
}

// Tracing.

// The trace file, with N for the process and / for a line feed.
inline std::string lines_of_trace(const Scene &scene) {
  if (!scene.folder.holds("trace")) return "no trace";
  std::string text = scene.folder.read("trace");
  const std::string process = " " + std::to_string(getpid()) + " ";
  const std::size_t at = text.find(process);
  if (at != std::string::npos) text.replace(at, process.size(), " N ");
  std::replace(text.begin(), text.end(), '\n', '/');
  return "trace: " + text;
}

inline std::string traced_memory_size(Scene &scene) {
  const WithVariable path("K7LOG_PATH", scene.folder.path("trace").c_str());
  Captured error(STDERR_FILENO);
  orlalib_verbose = 255;
  const std::string result = memory_size(scene);
  TavTrace(nullptr);
  return result + (error.text().empty() ? "" : ", complains");
}

inline std::string trace(Scene &scene, std::string message) {
  const WithVariable path("K7LOG_PATH", scene.folder.path("trace").c_str());
  Captured error(STDERR_FILENO);
  orlalib_verbose = 255;
  scene.calls_of_the_library([&] { TavTrace(message.data()); });
  TavTrace(nullptr);  // the trace file is meant to stay open until then
  return error.text().empty() ? "" : "complains, ";
}

inline std::string trace_into_new_file(Scene &scene) {
  const std::string complaint = trace(scene, "line\n");
  return complaint + lines_of_trace(scene);
}

inline std::string trace_long_line(Scene &scene) {
  const std::string complaint = trace(scene, std::string(3000, 'x') + "\n");
  return complaint + told(scene.folder.read("trace").size() > 3000 ? "whole" : "cut");
}

inline constexpr std::size_t kLimit = ORLA_TRACE_ROTATION_SIZE;

inline std::string trace_past_the_limit(Scene &scene) {
  scene.folder.write("trace", std::string(kLimit, 'x'));
  scene.folder.write("trace.1", "earlier");
  const std::string complaint = trace(scene, "line\n");
  const std::string rotated = scene.folder.read("trace.1");
  if (scene.folder.holds("trace"))
    return complaint + told("goes on",
                            scene.folder.read("trace").size() > kLimit ? "with it" : "without it",
                            rotated);
  return complaint + told("rotated", rotated.size() > kLimit + 1 ? "with it" : "without it");
}

inline std::string trace_past_the_limit_in_2040(Scene &scene) {
  scene.fail_always("fstat", EOVERFLOW);
  return trace_past_the_limit(scene);
}

inline std::string trace_that_does_not_open(Scene &scene) {
  scene.fail_always("fopen", EACCES);
  return trace_into_new_file(scene);
}

inline std::string trace_on_standard_output(Scene &scene) {
  const WithVariable path("K7LOG_PATH", nullptr);
  orlalib_verbose = 255;
  char message[] = "line";
  Captured out(STDOUT_FILENO);
  scene.calls_of_the_library([&] { TavTrace(message); });
  return told("printed: ") + out.text();
}

inline std::string trace_close(Scene &scene) {
  const WithVariable path("K7LOG_PATH", scene.folder.path("trace").c_str());
  orlalib_verbose = 255;
  char message[] = "line\n";
  TavTrace(message);
  scene.calls_of_the_library([] { TavTrace(nullptr); });
  return "closed";
}

// Time.

inline std::string clock_stamp(Scene &scene) {
  return told(scene.calls_of_the_library([] { return wek_time_stamp(); }));
}

inline std::string clock_stamp_past_2038(Scene &scene) {
  scene.fail_always("time", EOVERFLOW);
  return clock_stamp(scene);
}

inline std::string offset(Scene &scene) {
  return told(scene.calls_of_the_library([] { return wek_localtime_offset(); }));
}

inline std::string local_stamp(Scene &scene) {
  return told(scene.calls_of_the_library([] { return wek_time_stamp_local(); }));
}

inline std::string local_date(Scene &scene) {
  return told(scene.calls_of_the_library([] { return wek_date_stamp(); }));
}

inline constexpr std::int32_t kStamp = 1183280400;
inline constexpr std::time_t kTime = 1183280400;

inline std::string year_of(const std::tm *fields) {
  return fields != nullptr ? told(fields->tm_year) : "null";
}

inline std::string broken_down(Scene &scene, std::tm *(*function)(const std::int32_t *) noexcept) {
  return year_of(scene.calls_of_the_library([&] { return function(&kStamp); }));
}

inline std::string passed_through(Scene &scene,
                                  std::tm *(*function)(const std::time_t *) noexcept) {
  return year_of(scene.calls_of_the_library([&] { return function(&kTime); }));
}

inline std::string made_time(Scene &scene) {
  std::tm fields = {};
  fields.tm_year = 70;
  fields.tm_mday = 2;
  return told(scene.calls_of_the_library([&] { return tav_mktime(&fields); }));
}

inline std::string time_text_of_the_c_library(Scene &scene) {
  const char *text = scene.calls_of_the_library([] { return tav_ctime(&kTime); });
  return text != nullptr ? text : "null";
}

inline std::string time_text(Scene &scene) {
  char text[ORLA_DATE_TEXT_SIZE] = "";
  const auto size = scene.calls_of_the_library([&] { return time_to_string(text, kStamp); });
  return told(size, text);
}

inline std::string date_text(Scene &scene) {
  char text[ORLA_DATE_TEXT_SIZE];
  const auto size = scene.calls_of_the_library([&] { return date_to_string(text, 0); });
  return told(size, text);
}

inline std::string date_line(Scene &scene) {
  char line[64];
  const auto size = scene.calls_of_the_library([&] { return date_to_line(0, line, ">"); });
  return told(size) + line;
}

inline std::string time_line(Scene &scene) {
  char line[64];
  const auto size = scene.calls_of_the_library([&] { return time_to_line(kStamp, line, nullptr); });
  return told(size) + line;
}

template <typename Print>
inline std::string printed(Scene &scene, Print print) {
  Captured out(STDOUT_FILENO);
  const int result = scene.calls_of_the_library(print);
  return told(result) + out.text();
}

inline std::string print_date(Scene &scene) {
  return printed(scene, [] { return print_date_line(0, ">"); });
}

inline std::string print_time(Scene &scene) {
  return printed(scene, [] { return print_time_line(kStamp, ">"); });
}

inline std::string print_date_into_stream(Scene &scene) {
  return printed(scene, [] { return fprint_date_line(stdout, 0, ">"); });
}

inline std::string print_time_into_stream(Scene &scene) {
  return printed(scene, [] { return fprint_time_line(stdout, kStamp, ">"); });
}

inline std::string print_long_line(Scene &scene) {
  const std::string prefix(3000, 'x');
  return printed(scene, [&] { return fprint_date_line(stdout, 0, prefix.c_str()); }).substr(0, 5);
}

inline std::string date_format(Scene &scene) {
  char numeric[64];
  scene.calls_of_the_library([&] { k7_date_format("%m", numeric); });
  return numeric;
}

inline std::string strptime_fields(Scene &scene) {
  std::tm fields = {};
  scene.calls_of_the_library([&] { orla_strptime("1/2/2007", "%m/%d/%Y", &fields); });
  return told(fields.tm_year, fields.tm_mon, fields.tm_mday);
}

inline std::string parsed(Scene &scene, const char *text) {
  std::int32_t year = 0;
  std::int32_t month = 0;
  std::int32_t day = 0;
  const int result =
      scene.calls_of_the_library([&] { return k7_parse_date(text, &year, &month, &day); });
  return result == 0 ? told(result, year, month, day) : told(result);
}

// Not the first text of the process, which the C library always reads.
inline std::string parsed_canonical(Scene &scene) {
  std::uint16_t date;
  string_to_date("01/02/2007", &date);
  return parsed(scene, "01/02/2007");
}
inline std::string parsed_short(Scene &scene) { return parsed(scene, "1/2/2007"); }

inline std::string parsed_old(Scene &scene, const char *text) {
  const WithVariable old("ORLALS_DATE_FORMAT_OLD", "");
  return parsed(scene, text);
}

inline std::string parsed_old_with_blanks(Scene &scene) { return parsed_old(scene, "2007 1 2"); }
inline std::string parsed_old_with_slashes(Scene &scene) { return parsed_old(scene, "2007/1/2"); }

inline std::string date_of_text(Scene &scene) {
  std::uint16_t date = 4711;
  const int result = scene.calls_of_the_library([&] { return string_to_date("1/2/1987", &date); });
  return told(result, date);
}

inline std::string stamp_of_text(Scene &scene) {
  return told(scene.calls_of_the_library([] { return string_to_time("1/2/1970"); }));
}

// Identifiers.

// The host bytes are those of the interface, or else of the record's address.
inline std::string kind_of(const k7_uuid__t &uuid) {
  const bool has_host = std::memcmp(uuid.host, "\x0A\x00\x02\x03", 4) == 0;
  const auto address = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(&uuid));
  const bool has_address = std::memcmp(uuid.host, &address, 4) == 0;
  return has_host ? "host" : has_address ? "address" : "neither";
}

inline std::string uuid(Scene &scene) {
  k7_uuid__t made;
  errno = 4711;
  scene.calls_of_the_library([&] { orla_uuid_gen(&made); });
  return told(made.time_high, kind_of(made), errno == 4711 ? "errno kept" : "errno changed");
}

inline std::string uuid_past_2038(Scene &scene) {
  scene.fail_always("gettimeofday", EOVERFLOW);
  return uuid(scene);
}

inline std::string reserved_uuid(Scene &scene) {
  k7_uuid__t made;
  scene.calls_of_the_library([&] { orla_reserved_uuid_gen(&made, 7); });
  return told(made.time_high, made.reserved);
}

inline std::string decoded(Scene &scene, const char *text) {
  k7_uuid__t read = {4711, 0, 0, 0, {}};
  orla_status status = 0;
  scene.calls_of_the_library([&] { orla_uuid_decode(text, &read, &status); });
  return told(status, read.time_high);
}

inline std::string decoded_canonical(Scene &scene) {
  return decoded(scene, "00000001fc64.82.0a.00.02.03.00.00.00");
}

// A blank, which sscanf() skips.
inline std::string decoded_formatted(Scene &scene) {
  return decoded(scene, "00000001fc64.82.0a.00.02.03.00.00. 0");
}

// Profile files.

inline const std::string kOld = "[Main]\nHost=h\nPort=5\n";
inline const std::string kOldAndLarger = "[Main]\nHost=h\nPort=123456789\n";
inline const std::string kNew = "[Main]\nHost=h\nPort=77777\n";
inline const std::string kEntryAlone = "[Main]\nPort=77777\n";

inline std::string long_profile() {
  std::string text;
  while (text.size() < 5000)
    text += "one entry=of many\n";
  return text + "\n" + kOld;
}

inline std::string in_place_of_old(std::string text) {
  return text.replace(text.size() - kOld.size(), kOld.size(), kNew);
}

inline std::string state_of_target(const Scene &scene) {
  if (!scene.folder.holds("f")) return "no file";
  const std::string text = scene.folder.read("f");
  for (const std::string &old : {kOld, kOldAndLarger, long_profile()})
    if (text == old) return "old";
  for (const std::string &rewritten : {kNew, in_place_of_old(long_profile())})
    if (text == rewritten) return "new";
  if (text == kEntryAlone) return "entry alone";
  if (text.substr(0, text.find('\xFF')) == kNew) return "new, the rest hidden";
  return text.empty() ? "empty" : testing::PrintToString(text);
}

inline std::string write_new_profile(Scene &scene) {
  const std::string path = scene.folder.path("f");
  const int result = scene.calls_of_the_library(
      [&] { return orla_cfg_write_private_profile_string("Main", "Port", "77777", path.c_str()); });
  std::string outcome = told(result, state_of_target(scene));
  if (scene.temporary_files_left() != 0) outcome += ", temporary left";
  return outcome;
}

inline std::string write_over(Scene &scene, const std::string &text) {
  scene.folder.write("f", text);
  return write_new_profile(scene);
}

inline std::string write_larger_profile(Scene &scene) { return write_over(scene, kOld); }
inline std::string write_smaller_profile(Scene &scene) { return write_over(scene, kOldAndLarger); }
inline std::string write_long_profile(Scene &scene) { return write_over(scene, long_profile()); }

inline std::string write_without_room(Scene &scene) {
  scene.fail_always("fallocate64", ENOSPC);
  return write_larger_profile(scene);
}

inline std::string read_int_of(Scene &scene, const std::string &text) {
  const std::string path = scene.folder.write("f", text);
  return told(scene.calls_of_the_library(
      [&] { return orla_cfg_get_private_profile_int("Main", "Port", -1, path.c_str()); }));
}

inline std::string read_int(Scene &scene) { return read_int_of(scene, kOld); }
inline std::string read_int_of_long_profile(Scene &scene) {
  return read_int_of(scene, long_profile());
}
inline std::string read_int_of_long_line(Scene &scene) {
  return read_int_of(scene, std::string(70000, 'x') + "\n" + kOld);
}

inline std::string read_string(Scene &scene) {
  const std::string path = scene.folder.write("f", kOld);
  char text[8];
  const unsigned length = scene.calls_of_the_library([&] {
    return orla_cfg_get_private_profile_string("Main", "Port", "none", text, sizeof text,
                                               path.c_str());
  });
  return told(length, text);
}

inline std::string profile_in_force(Scene &scene) {
  const std::string named = scene.folder.write("f", kOld);
  const WithVariable variable("ORLA_CONFIG", named.c_str());
  char path[ORLA_PROFILE_PATH_SIZE];
  char from_environment = 'x';
  scene.calls_of_the_library([&] { orla_cfg_file(path, &from_environment); });
  return told(path == named ? "named" : path, static_cast<int>(from_environment));
}

inline std::string read_line(Scene &scene) {
  std::FILE *stream = std::fopen(scene.folder.write("f", "ab\n").c_str(), "r");
  char line[ORLA_PROFILE_LINE_SIZE] = "";
  const int result = scene.calls_of_the_library([&] { return orla_i_cfg_read_line(stream, line); });
  std::fclose(stream);
  return told(result, line);
}

inline std::string temporary_name(Scene &scene) {
  char name[ORLA_TEMPORARY_NAME_SIZE];
  const int result = scene.calls_of_the_library([&] { return create_temporary_name(name); });
  return told(result, scene.temporary_files_left() == 1 ? "created" : "nothing");
}

inline std::string copy_between(Scene &scene, const std::string &from, const std::string &to) {
  const int result =
      scene.calls_of_the_library([&] { return copy_file(from.c_str(), to.c_str()); });
  return told(result, state_of_target(scene));
}

inline std::string copy(Scene &scene) {
  return copy_between(scene, scene.folder.write("from", kNew), scene.folder.write("f", kOld));
}

inline std::string copy_over_longer(Scene &scene) {
  return copy_between(scene, scene.folder.write("from", kNew),
                      scene.folder.write("f", kOldAndLarger));
}

inline std::string copy_onto_itself(Scene &scene) {
  const std::string path = scene.folder.write("f", kOld);
  return copy_between(scene, path, path);
}

inline std::string copy_long(Scene &scene) {
  const std::string text = in_place_of_old(long_profile());
  return copy_between(scene, scene.folder.write("from", text), scene.folder.write("f", kOld));
}

// Loader.

inline std::string allocate_id(Scene &scene) {
  auto *id = scene.calls_of_the_library([] { return orla_slnk_allocate_library_id(); });
  const char *outcome = id != nullptr ? "record" : "null";
  orla_slnk_free_library_id(id);
  return outcome;
}

inline std::string load(Scene &scene, const char *name) {
  orla_library_id *id = orla_slnk_allocate_library_id();
  orla_status status = 4711;
  scene.calls_of_the_library([&] { orla_slnk_load_library(name, id, &status); });
  void *handle;
  std::memcpy(&handle, id, sizeof handle);
  orla_slnk_free_library_id(id);
  return told(status == ORLA_LOADER_FAILED ? "failed" : told(status),
              handle != nullptr ? "handle" : "null");
}

inline std::string load_by_name(Scene &scene) { return load(scene, kGoodModule); }

inline std::string load_from_fallback_folder(Scene &scene) {
  scene.fallback_library = kGoodModule;
  return load(scene, "liborla-test-nowhere.so");
}

inline std::string load_missing(Scene &scene) { return load(scene, "liborla-test-nowhere.so"); }

inline std::string look_up(Scene &scene, const char *symbol) {
  orla_library_id *id = orla_slnk_allocate_library_id();
  orla_status status;
  orla_slnk_load_library(kGoodModule, id, &status);
  status = 0;
  Captured out(STDOUT_FILENO);
  const void *address =
      scene.calls_of_the_library([&] { return orla_slnk_get_proc_addr(id, symbol, &status); });
  const std::string text = out.text();
  orla_slnk_free_library_id(id);
  return told(status == ORLA_LOADER_FAILED ? "failed" : told(status),
              address != nullptr ? "address" : "null",
              text.find("(null)") != std::string::npos ? "printed null"
              : text.empty()                           ? "quiet"
                                                       : "printed");
}

inline std::string look_up_there(Scene &scene) { return look_up(scene, "orla_module_answer"); }
inline std::string look_up_missing(Scene &scene) { return look_up(scene, "orla_module_missing"); }

inline std::string free_library(Scene &scene) {
  orla_library_id *id = orla_slnk_allocate_library_id();
  orla_status status;
  orla_slnk_load_library(kGoodModule, id, &status);
  const int result = scene.calls_of_the_library([&] { return orla_slnk_free_library(id); });
  orla_slnk_free_library_id(id);
  return told(result);
}

inline std::string free_id(Scene &scene) {
  orla_library_id *id = orla_slnk_allocate_library_id();
  scene.calls_of_the_library([&] { orla_slnk_free_library_id(id); });
  return "done";
}

// Names.

inline std::string user_name(Scene &scene) {
  char name[ORLA_NAME_SIZE];
  scene.calls_of_the_library([&] { orla_get_user_name(name); });
  return name;
}

inline std::string group_name(Scene &scene) {
  char name[ORLA_NAME_SIZE];
  scene.calls_of_the_library([&] { orla_get_group_name(name); });
  return name;
}

// Called twice: a provider that was not found is looked for again.
inline std::string node_name(Scene &scene) {
  char first[ORLA_NODE_NAME_SIZE] = "x";
  char second[ORLA_NODE_NAME_SIZE] = "x";
  Captured out(STDOUT_FILENO);
  scene.calls_of_the_library([&] { orla_get_node_name(first); });
  scene.calls_of_the_library([&] { orla_get_node_name(second); });
  return told(testing::PrintToString(std::string(first)),
              testing::PrintToString(std::string(second))) +
         (out.text().empty() ? "" : ", printed");
}

}  // namespace failing_calls

#endif
