// What every exported function does when a call that it makes of the C library fails: every call,
// at every place.
//
// A function has a case for each path through it. A case gives the outcome when nothing fails, and
// lists all calls made on that path: with which error numbers each is made to fail, and the outcome
// when it fails the first time it is made, the second time, and so on. What should have been given
// back and was not is added to the outcome: ", keeps 1 descriptor".

#ifndef ORLA_TESTS_FAILING_CALLS_TABLE_H
#define ORLA_TESTS_FAILING_CALLS_TABLE_H

#include <arpa/inet.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <vector>

#include "failing_calls/scenes.h"

namespace failing_calls {

struct FailingCall {
  const char *name;
  std::vector<int> errors;
  std::vector<std::string> outcomes;  // of the first call that fails, the second, ...
};

struct Case {
  const char *function;
  const char *way;  // empty where there is only one
  Play play;
  std::string outcome;
  std::vector<FailingCall> calls;
};

inline std::vector<std::string> times(std::size_t count, const char *outcome) {
  return std::vector<std::string>(count, outcome);
}

inline std::vector<std::string> both(const char *outcome) { return times(2, outcome); }

inline const std::vector<int> kAnyError = {EIO, ENOMEM};
inline const std::vector<int> kNoMemory = {ENOMEM};
inline const std::vector<int> kCannotOpen = {EACCES, ENOENT, EPERM};
inline const std::vector<int> kCannotOpenNow = {EMFILE, ENFILE, ENOMEM, EINTR, EIO, ESTALE};
inline const std::vector<int> kCannotWrite = {ENOSPC, EDQUOT, EIO, kNothing};
inline const std::vector<int> kPassing = {EINTR, kShort};

#define CALLS_NOTHING(...) \
  "", [](Scene &scene) { return calls_nothing(scene, [] { __VA_ARGS__; }); }, "done", {}

inline const std::vector<Case> &table() {
  // clang-format off
  static const std::vector<FailingCall> counting = {
    {"get_nprocs_conf", {ENOMEM}, {"1, -1"}},
    {"uname", {EFAULT}, {"0, 2"}},
    {"fopen", kCannotOpen, {"0, 2"}},
    {"fgets", {EIO}, {"0, 2", "0, 1", "0, 1"}},
    {"fclose", {EIO}, {"0, 1"}},
  };
  static const std::vector<Case> cases = {
    // Inventory.
    {"CPUID_is_supported", CALLS_NOTHING(CPUID_is_supported())},
    {"cpuid", CALLS_NOTHING(std::uint32_t r[4]; cpuid(0, r, r + 1, r + 2, r + 3))},
    {"HTSupported", CALLS_NOTHING(HTSupported())},
    {"ht_os_cpus", "cpuinfo", kernel_figure_of_cpuinfo, "2", {
      {"uname", {EFAULT}, {"-1"}},
      {"fopen", kCannotOpen, {"-1Can't open /proc/cpuinfo\n"}},
      {"fgets", {EIO}, {"0", "2", "2"}},
      {"fclose", {EIO}, {"2"}},
    }},
    {"ht_os_cpus", "log", kernel_figure_of_log, "2", {
      {"uname", {EFAULT}, {"-1"}},
      {"klogctl", {EPERM, ENOSYS}, {"exits with status 1"}},
    }},
    {"ht_os_cpus", "without cpuinfo", kernel_figure_without_cpuinfo, "-1Can't open /proc/cpuinfo\n", {
      {"uname", {EFAULT}, {"-1"}},
      {"fwrite", {EIO}, {"-1"}},
    }},
    {"count_physical_proc", "", count_by_method, "1, 1", {
      {"get_nprocs_conf", {ENOMEM}, {"3, -1"}},
      {"uname", {EFAULT}, {"3, 2"}},
      {"fopen", kCannotOpen, {"3, 2"}},
      {"fgets", {EIO}, {"2, 2", "1, 1", "1, 1"}},
      {"fclose", {EIO}, {"1, 1"}},
    }},
    {"tavGetOnlineProcs", "", with<count_processors, tavGetOnlineProcs>, "0, 1", counting},
    {"tavGetConfigProcs", "", with<count_processors, tavGetConfigProcs>, "0, 1", counting},
    {"tavGetMemorySize", "", memory_size, "0, 512", {{"sysinfo", {EFAULT}, {"1, 4711"}}}},
    // A failure of the trace does not change the service's result.
    {"tavGetMemorySize", "traced", traced_memory_size, "0, 512", {
      {"sysinfo", {EFAULT}, {"1, 4711"}},
      {"fopen", {EACCES}, {"0, 512, complains"}},
      {"fileno", {EBADF}, {"0, 512"}},
      {"time", {EINVAL, EOVERFLOW}, both("0, 512")},
      {"localtime", {EOVERFLOW}, {"0, 512"}},  // once for both lines, which are of one second
      {"write", {ENOSPC, kShort}, both("0, 512")},
      {"fstat", {EIO}, both("0, 512")},
    }},
    {"tavGetDisks", "", disks, "0, 50", {
      {"geteuid", {EPERM}, {"1, 4711"}},
      {"open", {ENOENT, EACCES}, times(50, "0, 49")},
      {"ioctl", {ENOTTY, EINVAL}, times(50, "0, 49")},
      {"close", {EIO}, times(50, "0, 50")},
    }},

    // Calendar and time.
    {"wek_time_stamp", "", clock_stamp, "1183280400", {
      {"time", {EFAULT, EINVAL}, {"0"}},
      {"time", {EOVERFLOW}, {"100000"}},
    }},
    {"wek_time_stamp", "past 2038", clock_stamp_past_2038, "100000", {{KERNEL_CLOCK_NAME, {EINVAL}, {"0"}}}},
    {"wek_localtime_offset", "", offset, "-7200", {
      {"time", {EFAULT, EINVAL}, {"-3600"}},  // as in January 1970
      {"time", {EOVERFLOW}, {"-3600"}},       // as the kernel's clock
      {"localtime", {EOVERFLOW}, {"-3600"}},  // the zone's own
    }},
    {"wek_time_stamp_local", "", local_stamp, "1183287600", {
      {"time", {EFAULT}, {"7200", "1183284000"}},
      {"time", {EOVERFLOW}, {"107200", "1183284000"}},
      {"localtime", {EOVERFLOW}, {"1183284000"}},
    }},
    {"wek_date_stamp", "", local_date, "7490", {
      {"time", {EFAULT}, {"59331", "7490"}},
      {"time", {EOVERFLOW}, {"59332", "7490"}},
      {"localtime", {EOVERFLOW}, {"7490"}},
    }},
    {"days_in_year", CALLS_NOTHING(days_in_year(2007))},
    {"days_in_month", CALLS_NOTHING(days_in_month(2007, 2))},
    {"data_to_date", CALLS_NOTHING(std::uint16_t date; data_to_date(107, 2, 28, &date))},
    // These and time_to_string() hand over 32 bits of seconds, which the C library always converts.
    {"wek_gmtime", "", with<broken_down, wek_gmtime>, "107", {{"gmtime", {}, {""}}}},
    {"wek_localtime", "", with<broken_down, wek_localtime>, "107", {{"localtime", {}, {""}}}},
    {"tav_mktime", "", made_time, "82800", {{"mktime", {EOVERFLOW}, {"-1"}}}},
    {"tav_gmtime", "", with<passed_through, tav_gmtime>, "107", {{"gmtime", {EOVERFLOW}, {"null"}}}},
    {"tav_localtime", "", with<passed_through, tav_localtime>, "107", {{"localtime", {EOVERFLOW}, {"null"}}}},
    {"tav_ctime", "", time_text_of_the_c_library, "Sun Jul  1 11:00:00 2007\n", {
      {"ctime", {EOVERFLOW}, {"null"}},
    }},
    {"RestoreTZ", CALLS_NOTHING(RestoreTZ())},
    {"date_to_string", "", date_text, "10, 12/28/1986", {}},
    {"time_to_string", "", time_text, "24, Sun Jul  1 09:00:00 2007", {
      {"gmtime", {}, {""}},
      {"strftime", {ERANGE}, {"0, "}},
    }},
    {"date_to_line", "", date_line, "12>12/28/1986\n", {}},
    {"time_to_line", "", time_line, "1107/01/2007\n", {}},
    {"print_date_line", "", print_date, "12>12/28/1986\n", {{"fprintf", {EIO, ENOSPC}, {"-1"}}}},
    {"print_time_line", "", print_time, "12>07/01/2007\n", {{"fprintf", {EIO, ENOSPC}, {"-1"}}}},
    {"fprint_date_line", "", print_date_into_stream, "12>12/28/1986\n", {{"fprintf", {EIO, ENOSPC}, {"-1"}}}},
    {"fprint_date_line", "of a long prefix", print_long_line, "3011x", {
      {"malloc", kNoMemory, {"2048x"}},
      {"fprintf", {EIO, ENOSPC}, {"-1"}},
    }},
    {"fprint_time_line", "", print_time_into_stream, "12>07/01/2007\n", {{"fprintf", {EIO, ENOSPC}, {"-1"}}}},
    {"k7_date_format", "", date_format, "%1$2d", {}},
    {"orla_strptime", "", strptime_fields, "107, 0, 2", {{"strptime", {EINVAL}, {"-1, 0, 0"}}}},
    {"k7_parse_date", "canonical", parsed_canonical, "0, 107, 1, 2", {}},
    {"k7_parse_date", "standard", parsed_short, "0, 107, 1, 2", {{"strptime", {EINVAL}, {"255"}}}},
    {"k7_parse_date", "old with blanks", parsed_old_with_blanks, "0, 107, 1, 2", {
      {"sscanf", kNoMemory, {"255"}},
    }},
    {"k7_parse_date", "old with slashes", parsed_old_with_slashes, "0, 107, 1, 2", {
      {"sscanf", kNoMemory, {"0, 107, 1, 2", "255"}},
    }},
    {"string_to_date", "", date_of_text, "1, 5", {{"strptime", {EINVAL}, {"0, 4711"}}}},
    {"string_to_time", "", stamp_of_text, "86400", {{"strptime", {EINVAL}, {"0"}}}},

    // Loader.
    {"orla_slnk_allocate_library_id", "", allocate_id, "record", {
      {"malloc", kNoMemory, {"null"}},
    }},
    {"orla_slnk_load_library", "by name", load_by_name, "0, handle, keeps 1 handle", {
      {"dlopen", kAnyError, {"failed, null"}},
    }},
    {"orla_slnk_load_library", "from the fallback folder", load_from_fallback_folder, "0, handle, keeps 1 handle", {
      {"dlopen", kAnyError, {"0, handle, keeps 1 handle", "failed, null"}},
    }},
    {"orla_slnk_load_library", "missing", load_missing, "failed, null", {
      {"dlopen", kAnyError, both("failed, null")},
      {"dlerror", kAnyError, {"failed, null"}},
    }},
    {"orla_slnk_get_proc_addr", "there", look_up_there, "0, address, quiet", {
      {"dlsym", kAnyError, {"failed, null, printed null"}},
    }},
    {"orla_slnk_get_proc_addr", "missing", look_up_missing, "failed, null, printed", {
      {"dlsym", kAnyError, {"failed, null, printed null"}},
      {"dlerror", kAnyError, {"failed, null, printed null"}},
      {"printf", {ENOSPC}, {"failed, null, quiet"}},
    }},
    {"orla_slnk_free_library", "", free_library, "0", {{"dlclose", kAnyError, {"-1"}}}},
    {"orla_slnk_free_library_id", "", free_id, "done", {}},

    // Tokens and byte order.
    {"count_delimited_tokens_in_string", CALLS_NOTHING(count_delimited_tokens_in_string("|", '|'))},
    {"get_delimited_token_in_string",
      CALLS_NOTHING(char out[2]; get_delimited_token_in_string("|a|", 0, '|', out, 2))},
    {"get_first_delimited_token_in_string",
      CALLS_NOTHING(char out[2]; get_first_delimited_token_in_string("|a|", '|', out, 2))},
    {"htonl", "", with<reversed<std::uint32_t>, htonl>, "16777216", {}},
    {"htons", "", with<reversed<std::uint16_t>, htons>, "256", {}},
    {"ntohl", "", with<reversed<std::uint32_t>, ntohl>, "16777216", {}},
    {"ntohs", "", with<reversed<std::uint16_t>, ntohs>, "256", {}},
    {"swap", CALLS_NOTHING(char a = 1; char b = 2; swap(&a, &b))},

    // Names.
    {"orla_get_user_name", "", user_name, "somebody", {{"getpwuid", {EIO, ENOENT}, {"unknown"}}}},
    {"orla_get_group_name", "", group_name, "some", {{"getgrgid", {EIO, ENOENT}, {"unknown"}}}},
    {"orla_get_node_name", "", node_name, "\"node\", \"node\", keeps 1 handle", {
      {"malloc", kNoMemory, {"\"\", \"node\", keeps 1 handle"}},
      {"dlopen", kAnyError, {"\"\", \"node\", keeps 1 handle"}},
      {"dlsym", kAnyError, {"\"\", \"node\", printed, keeps 1 handle"}},
      {"uname", {EFAULT}, {"\"\", \"node\", keeps 1 handle", "\"node\", \"\", keeps 1 handle"}},
    }},

    // Profile files.
    {"copy_file", "", copy, "0, new", {
      {"open", kCannotOpen, {"1, old", "1, empty"}},
      {"open", kCannotOpenNow, {"1, old", "1, empty"}},
      // Of both, to see whether they are the same, and of the destination once more.
      {"statx", {EIO, ENOSYS}, times(3, "0, new")},
      {"read", {EIO}, {"0, empty", "0, new"}},
      {"read", kPassing, both("0, new")},
      {"write", kCannotWrite, {"0, empty"}},
      {"write", kPassing, {"0, new"}},
      {"close", {EIO, EINTR}, both("0, new")},
    }},
    {"copy_file", "over a longer file", copy_over_longer, "0, new", {
      {"open", kCannotOpen, {"1, old", "1, empty"}},
      // Without the size of the destination its rest is not hidden, but it is cut off.
      {"statx", {EIO, ENOSYS}, times(3, "0, new")},
      {"read", {EIO}, {"0, empty", "0, new"}},
      {"read", kPassing, both("0, new")},
      {"write", kCannotWrite, {"0, empty"}},
      {"write", kPassing, {"0, new"}},
      {"ftruncate64", {EIO}, {"0, new, the rest hidden"}},
      {"ftruncate64", {EINTR}, {"0, new"}},
      {"close", {EIO, EINTR}, both("0, new")},
    }},
    {"copy_file", "onto itself", copy_onto_itself, "0, empty", {
      {"open", kCannotOpen, {"1, old", "1, empty"}},
      // When it is not known whether they are the same, the file is copied.
      {"statx", {EIO, ENOSYS}, both("0, old")},
      {"ftruncate64", {EIO}, {"0, old"}},
      {"ftruncate64", {EINTR}, {"0, empty"}},
      {"close", {EIO, EINTR}, both("0, empty")},
    }},
    {"copy_file", "of a long file", copy_long, "0, new", {
      {"open", kCannotOpen, {"1, old", "1, empty"}},
      {"statx", {EIO, ENOSYS}, times(3, "0, new")},
      {"read", {EIO}, {"0, empty", "0, new"}},
      {"read", kPassing, both("0, new")},
      {"write", kCannotWrite, {"0, empty"}},
      {"write", kPassing, {"0, new"}},
      {"realloc", kNoMemory, {"0, new"}},
      {"close", {EIO, EINTR}, both("0, new")},
    }},
    {"create_temporary_name", "", temporary_name, "0, created", {
      {"mkstemp", {EMFILE, ENOSPC, EACCES}, {"1, nothing"}},
    }},
    {"orla_cfg_file", "", profile_in_force, "named, 1", {
      {"open", kCannotOpen, {ORLA_DEFAULT_PROFILE_PATH ", 0"}},
      {"open", kCannotOpenNow, {ORLA_DEFAULT_PROFILE_PATH ", 0"}},
      {"close", {EIO}, {"named, 1"}},
    }},
    {"orla_cfg_get_private_profile_int", "", read_int, "5", {
      {"open", kCannotOpen, {"-1"}},
      {"read", {EIO}, {"-1"}},
      {"read", kPassing, {"5"}},
      {"close", {EIO}, {"5"}},
    }},
    // Without memory for long pieces, or where it cannot go back to the start, it reads on from the
    // end of the first piece.
    {"orla_cfg_get_private_profile_int", "of a long file", read_int_of_long_profile, "5", {
      {"open", kCannotOpen, {"-1"}},
      {"read", {EIO}, both("-1")},
      {"read", kPassing, both("5")},
      {"lseek", {ESPIPE}, {"5"}},
      {"realloc", kNoMemory, {"5"}},
      {"close", {EIO}, {"5"}},
    }},
    {"orla_cfg_get_private_profile_int", "of a long line", read_int_of_long_line, "5", {
      {"open", kCannotOpen, {"-1"}},
      {"read", {EIO}, times(3, "-1")},
      {"read", kPassing, times(3, "5")},
      {"lseek", {ESPIPE}, {"5"}},
      {"realloc", kNoMemory, {"5", "-1"}},
      {"close", {EIO}, {"5"}},
    }},
    {"orla_cfg_get_private_profile_string", "", read_string, "1, 5", {
      {"open", kCannotOpen, {"4, none"}},
      {"read", {EIO}, {"4, none"}},
      {"read", kPassing, {"1, 5"}},
      {"close", {EIO}, {"1, 5"}},
    }},
    {"orla_cfg_write_private_profile_string", "a new file", write_new_profile, "1, entry alone", {
      {"mkstemp", {EMFILE, ENOSPC, EACCES}, {"0, no file"}},
      // Temporary, target, target to be created.
      {"open", kCannotOpen, {"0, no file, temporary left", "1, entry alone", "0, no file"}},
      {"open", kCannotOpenNow, {"0, no file, temporary left", "0, no file", "0, no file"}},
      {"write", kCannotWrite, {"0, empty"}},
      {"write", kPassing, {"1, entry alone"}},
      {"close", {EIO, ENOSPC}, {"1, entry alone", "0, entry alone"}},
      {"truncate", {EIO}, {"1, entry alone"}},
      {"unlink", {EACCES}, {"1, entry alone, temporary left"}},
    }},
    {"orla_cfg_write_private_profile_string", "a larger text", write_larger_profile, "1, new", {
      {"mkstemp", {EMFILE, ENOSPC, EACCES}, {"0, old"}},
      // Temporary, target, target for its room, target for the copy, temporary.
      {"open", kCannotOpen, {"0, old, temporary left", "1, entry alone", "0, old", "0, old", "0, empty"}},
      {"open", kCannotOpenNow, {"0, old, temporary left", "0, old", "0, old", "0, old", "0, empty"}},
      // Of the target, its end, of the temporary copy, its end.
      {"read", {EIO}, {"0, old", "0, old", "1, empty", "1, new"}},
      {"read", kPassing, times(4, "1, new")},
      // To the temporary copy, to the target.
      {"write", kCannotWrite, {"0, old", "1, empty"}},
      {"write", kPassing, both("1, new")},
      // Of the target for its room, and those of copy_file().
      {"statx", {EIO, ENOSYS}, times(4, "1, new")},
      // Target, temporary, target for its room, temporary, target.
      {"close", {EIO, ENOSPC}, {"1, new", "0, old", "1, new", "1, new", "1, new"}},
      {"fallocate64", {ENOSPC, EDQUOT, EFBIG, EIO}, {"0, old"}},
      {"fallocate64", {EOPNOTSUPP, ENOSYS, EINTR}, {"1, new"}},
      {"truncate", {EIO}, {"1, new"}},
      {"unlink", {EACCES}, {"1, new, temporary left"}},
    }},
    {"orla_cfg_write_private_profile_string", "a smaller text", write_smaller_profile, "1, new", {
      {"mkstemp", {EMFILE, ENOSPC, EACCES}, {"0, old"}},
      // Temporary, target, target for the copy, temporary.
      {"open", kCannotOpen, {"0, old, temporary left", "1, entry alone", "0, old", "0, empty"}},
      {"open", kCannotOpenNow, {"0, old, temporary left", "0, old", "0, old", "0, empty"}},
      {"read", {EIO}, {"0, old", "0, old", "1, empty", "1, new"}},
      {"read", kPassing, times(4, "1, new")},
      {"write", kCannotWrite, {"0, old", "1, empty"}},
      {"write", kPassing, both("1, new")},
      {"statx", {EIO, ENOSYS}, times(4, "1, new")},
      {"ftruncate64", {EIO}, {"1, new, the rest hidden"}},
      {"ftruncate64", {EINTR}, {"1, new"}},
      {"close", {EIO, ENOSPC}, {"1, new", "0, old", "1, new", "1, new"}},
      {"truncate", {EIO}, {"1, new"}},
      {"unlink", {EACCES}, {"1, new, temporary left"}},
    }},
    {"orla_cfg_write_private_profile_string", "a long file", write_long_profile, "1, new", {
      {"mkstemp", {EMFILE}, {"0, old"}},
      {"open", {EMFILE}, {"0, old, temporary left", "0, old", "0, old", "0, old", "0, empty"}},
      {"read", {EIO}, {"0, old", "0, old", "0, old", "1, empty", "1, new"}},
      {"read", kPassing, times(5, "1, new")},
      {"write", kCannotWrite, {"0, old", "1, empty"}},
      {"write", kPassing, both("1, new")},
      {"lseek", {ESPIPE}, {"1, new"}},
      // For the lines, for the new text, for the copy.
      {"realloc", kNoMemory, times(3, "1, new")},
      {"statx", {EIO}, times(4, "1, new")},
      {"close", {EIO}, {"1, new", "0, old", "1, new", "1, new", "1, new"}},
      {"fallocate64", {ENOSPC}, {"0, old"}},
      {"truncate", {EIO}, {"1, new"}},
      {"unlink", {EACCES}, {"1, new, temporary left"}},
    }},
    {"orla_cfg_write_private_profile_string", "without room", write_without_room, "0, old", {
      {"mkstemp", {EMFILE}, {"0, old"}},
      {"open", {EMFILE}, {"0, old, temporary left", "0, old", "0, old"}},
      {"read", {EIO, EINTR, kShort}, both("0, old")},
      {"write", {ENOSPC, EINTR, kShort}, {"0, old"}},
      {"statx", {EIO}, both("0, old")},
      {"ftruncate64", {EIO, EINTR}, {"0, old"}},
      {"close", {EIO}, times(3, "0, old")},
      {"truncate", {EIO}, {"0, old"}},
      {"unlink", {EACCES}, {"0, old, temporary left"}},
    }},
    {"orla_i_cfg_read_line", "", read_line, "1, ab", {{"getc", {EIO}, {"0, ", "0, a", "0, ab"}}}},

    // Trace writer.
    {"TavTrace", "into a new file", trace_into_new_file, "trace: 07/01/2007 11:00:00 N line/", {
      {"fopen", {EACCES, EMFILE, ENOSPC}, {"complains, no trace"}},
      {"fileno", {EBADF}, {"trace: 07/01/2007 11:00:00 N line/"}},
      {"time", {EFAULT}, {"trace: 01/01/1970  1:00:00 N line/"}},
      {"time", {EOVERFLOW}, {"trace: 01/02/1970  4:46:40 N line/"}},
      {"localtime", {EOVERFLOW}, {"trace: 07/01/2007  0:00:00 N line/"}},
      {"write", {ENOSPC, EIO, kNothing}, {"trace: "}},
      {"write", {EINTR, kShort}, {"trace: 07/01/2007 11:00:00 N line/"}},
      {"fstat", {EIO}, {"trace: 07/01/2007 11:00:00 N line/"}},
      {"fstat", {EOVERFLOW}, {"trace: 07/01/2007 11:00:00 N line/"}},
    }},
    {"TavTrace", "of a long line", trace_long_line, "whole", {
      {"fopen", {EACCES}, {"complains, cut"}},
      {"fileno", {EBADF}, {"whole"}},
      {"time", {EFAULT}, {"whole"}},
      {"localtime", {EOVERFLOW}, {"whole"}},
      {"malloc", kNoMemory, {"cut"}},
      {"write", {ENOSPC}, {"cut"}},
      {"fstat", {EIO}, {"whole"}},
    }},
    {"TavTrace", "past the limit", trace_past_the_limit, "rotated, with it", {
      {"fopen", {EACCES}, {"complains, goes on, without it, earlier"}},
      {"fileno", {EBADF}, {"goes on, with it, earlier"}},
      {"time", {EFAULT}, {"rotated, with it"}},
      {"localtime", {EOVERFLOW}, {"rotated, with it"}},
      {"write", {ENOSPC}, {"goes on, without it, earlier"}},
      {"write", {EINTR, kShort}, {"rotated, with it"}},
      {"fstat", {EIO}, {"goes on, with it, earlier"}},
      {"fstat", {EOVERFLOW}, {"rotated, with it"}},
      {"open", {EMFILE, EACCES, ENOENT}, {"rotated, with it"}},
      {"flock", {EWOULDBLOCK, EINTR}, {"goes on, with it, earlier"}},
      {"flock", {ENOLCK, EOPNOTSUPP, ENOSYS}, {"rotated, with it"}},
      // Of the open file, of the file at the path, of the predecessor.
      {"statx", {EIO, ENOSYS}, {"rotated, with it", "rotated, with it", "rotated, with it"}},
      {"statx", {ESTALE}, {"rotated, with it", "rotated, with it", "goes on, with it, earlier"}},
      {"rename", {EACCES, ENOSPC}, {"goes on, with it, earlier"}},
      {"close", {EIO}, {"rotated, with it"}},
      {"fclose", {EIO, ENOSPC}, {"rotated, with it"}},
    }},
    // The record of fstat() does not hold such times.
    {"TavTrace", "past the limit in 2040", trace_past_the_limit_in_2040, "rotated, with it", {
      {"fopen", {EACCES}, {"complains, goes on, without it, earlier"}},
      {"fileno", {EBADF}, {"goes on, with it, earlier"}},
      {"time", {EOVERFLOW}, {"rotated, with it"}},
      {"localtime", {EOVERFLOW}, {"rotated, with it"}},
      {"write", {ENOSPC}, {"goes on, without it, earlier"}},
      {"lseek", {ESPIPE}, {"goes on, with it, earlier"}},
      {"open", {EMFILE}, {"rotated, with it"}},
      {"flock", {EWOULDBLOCK}, {"goes on, with it, earlier"}},
      {"statx", {EIO}, {"rotated, with it", "rotated, with it", "rotated, with it"}},
      {"rename", {EACCES}, {"goes on, with it, earlier"}},
      {"close", {EIO}, {"rotated, with it"}},
      {"fclose", {EIO}, {"rotated, with it"}},
    }},
    {"TavTrace", "into a file that does not open", trace_that_does_not_open, "complains, no trace", {
      {"fprintf", {EIO}, {"no trace"}},
    }},
    {"TavTrace", "on standard output", trace_on_standard_output, "printed: line\n", {
      {"printf", {ENOSPC}, {"printed: "}},
    }},
    {"TavTrace", "close request", trace_close, "closed", {{"fclose", {EIO}, {"closed"}}}},

    // Identifiers.
    {"orla_uuid_gen", "", uuid, "3310244907, host, errno kept", {
      {"gettimeofday", {EFAULT}, {"3091286820, host, errno kept"}},
      {"gettimeofday", {EOVERFLOW}, {"3091668296, host, errno kept"}},
      {"getifaddrs", {EMFILE, ENOMEM}, {"3310244907, address, errno kept"}},
    }},
    {"orla_uuid_gen", "past 2038", uuid_past_2038, "3091668296, host, errno kept", {
      {KERNEL_CLOCK_NAME, {EINVAL}, {"3091286820, host, errno kept"}},
      {"getifaddrs", {EMFILE, ENOMEM}, {"3091668296, address, errno kept"}},
    }},
    {"orla_reserved_uuid_gen", "", reserved_uuid, "3310244907, 7", {
      {"gettimeofday", {EFAULT}, {"3091286820, 7"}},
      {"getifaddrs", {EMFILE, ENOMEM}, {"3310244907, 7"}},
    }},
    {"orla_reserved_uuid_inflate", CALLS_NOTHING(k7_uuid__t made; orla_reserved_uuid_inflate(&made, 1, 2, 3))},
    {"orla_uuid_encode", CALLS_NOTHING(char text[ORLA_UUID_TEXT_SIZE]; orla_uuid_encode(&k7_uuid__nil, text))},
    {"orla_uuid_decode", "canonical", decoded_canonical, "0, 1", {}},
    {"orla_uuid_decode", "formatted", decoded_formatted, "0, 1", {
      {"sscanf", kNoMemory, {"4294967295, 4711"}},
    }},
    {"orla_uuid_cmp", CALLS_NOTHING(orla_uuid_cmp(&k7_uuid__nil, &k7_uuid__nil))},
    {"orla_uuid_equal", CALLS_NOTHING(orla_uuid_equal(&k7_uuid__nil, &k7_uuid__nil))},
    {"orla_uuid_hash", CALLS_NOTHING(orla_uuid_hash(&k7_uuid__nil, 7))},
  };
  // clang-format on
  return cases;
}

#undef CALLS_NOTHING

}  // namespace failing_calls

#endif
