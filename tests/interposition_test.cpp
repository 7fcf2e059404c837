// The program replaces every function that the library calls through its own exported name, and
// records who calls whom. The list is in man/orla.3; a call that is bound inside the library is not
// seen here.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <orla/orla.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "kit/captured.h"
#include "kit/converters.h"
#include "kit/environment.h"
#include "kit/temp_dir.h"

namespace {

using Call = std::pair<std::string, std::string>;  // who is called, and by whom
using Calls = std::set<Call>;

Calls &seen() {
  static Calls calls;
  return calls;
}

const char *running = nullptr;  // the function of the library that is running
int calls_of_stand_ins = 0;

// A function that is running, from its call to its return.
class Running {
 public:
  explicit Running(const char *name) : earlier_(std::exchange(running, name)) {
    ++calls_of_stand_ins;
    if (earlier_ != nullptr) seen().emplace(name, earlier_);
  }
  ~Running() { running = earlier_; }
  Running(const Running &) = delete;
  Running &operator=(const Running &) = delete;

 private:
  const char *earlier_;
};

// Calls a function that the program does not replace.
template <typename Work>
void run(const char *name, Work work) {
  const char *const earlier = std::exchange(running, name);
  work();
  running = earlier;
}

bool symbol_is_missing = false;
std::string stores_nothing;  // the function of dates that succeeds without storing what it read
std::int32_t converted[3];   // what data_to_date() was given last: year, month and day

}  // namespace

#define STAND_IN(result, name, parameters, arguments)                                 \
  result name parameters noexcept {                                                   \
    const Running now(#name);                                                         \
    return reinterpret_cast<result(*) parameters>(dlsym(RTLD_NEXT, #name)) arguments; \
  }

extern "C" {
STAND_IN(int, CPUID_is_supported, (void), ())
STAND_IN(int, HTSupported, (void), ())
STAND_IN(int, ht_os_cpus, (void), ())
STAND_IN(std::uint32_t, count_physical_proc, (int *count), (count))
STAND_IN(void, TavTrace, (char *message), (message))
STAND_IN(int, copy_file, (const char *from, const char *to), (from, to))
STAND_IN(int, create_temporary_name, (char *name), (name))
STAND_IN(int, date_to_line, (std::uint16_t date, char *line, const char *prefix),
         (date, line, prefix))
STAND_IN(std::size_t, date_to_string, (char *text, std::uint16_t date), (text, date))
STAND_IN(int, fprint_date_line, (std::FILE * stream, std::uint16_t date, const char *prefix),
         (stream, date, prefix))
STAND_IN(const char *, get_first_delimited_token_in_string,
         (const char *text, char delimiter, char *out, int size), (text, delimiter, out, size))
STAND_IN(void, orla_reserved_uuid_inflate,
         (k7_uuid__t * uuid, std::uint32_t high, std::uint16_t low, std::uint16_t number),
         (uuid, high, low, number))
STAND_IN(orla_library_id *, orla_slnk_allocate_library_id, (void), ())
STAND_IN(int, orla_slnk_free_library, (const orla_library_id *id), (id))
STAND_IN(void, orla_slnk_free_library_id, (orla_library_id * id), (id))
STAND_IN(void, orla_slnk_load_library, (const char *name, orla_library_id *id, orla_status *status),
         (name, id, status))
STAND_IN(void, orla_strptime, (const char *text, const char *format, std::tm *fields),
         (text, format, fields))
STAND_IN(int, orla_uuid_cmp, (const k7_uuid__t *a, const k7_uuid__t *b), (a, b))
STAND_IN(void, orla_uuid_gen, (k7_uuid__t * uuid), (uuid))
STAND_IN(int, print_date_line, (std::uint16_t date, const char *prefix), (date, prefix))
STAND_IN(void, swap, (char *a, char *b), (a, b))
STAND_IN(std::tm *, tav_gmtime, (const std::time_t *when), (when))
STAND_IN(std::tm *, tav_localtime, (const std::time_t *when), (when))
STAND_IN(std::int32_t, wek_localtime_offset, (void), ())
STAND_IN(std::int32_t, wek_time_stamp, (void), ())
STAND_IN(std::uint32_t, wek_time_stamp_local, (void), ())

int data_to_date(std::int32_t y, std::int32_t m, std::int32_t d, std::uint16_t *date) noexcept {
  const Running now("data_to_date");
  converted[0] = y;
  converted[1] = m;
  converted[2] = d;
  return reinterpret_cast<decltype(&data_to_date)>(dlsym(RTLD_NEXT, "data_to_date"))(y, m, d, date);
}

int k7_parse_date(const char *text, std::int32_t *y, std::int32_t *m, std::int32_t *d) noexcept {
  const Running now("k7_parse_date");
  if (stores_nothing == "k7_parse_date") return 0;
  return reinterpret_cast<decltype(&k7_parse_date)>(dlsym(RTLD_NEXT, "k7_parse_date"))(text, y, m,
                                                                                       d);
}

int string_to_date(const char *text, std::uint16_t *date) noexcept {
  const Running now("string_to_date");
  if (stores_nothing == "string_to_date") return 1;
  return reinterpret_cast<decltype(&string_to_date)>(dlsym(RTLD_NEXT, "string_to_date"))(text,
                                                                                         date);
}

void *orla_slnk_get_proc_addr(const orla_library_id *id, const char *symbol,
                              orla_status *status) noexcept {
  const Running now("orla_slnk_get_proc_addr");
  if (symbol_is_missing) return *status = ORLA_LOADER_FAILED, nullptr;
  using Function = void *(*)(const orla_library_id *, const char *, orla_status *);
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, "orla_slnk_get_proc_addr"))(id, symbol,
                                                                                 status);
}

// An Intel processor with hyper-threading, so that every probe is asked.
void cpuid(std::uint32_t leaf, std::uint32_t *eax, std::uint32_t *ebx, std::uint32_t *ecx,
           std::uint32_t *edx) noexcept {
  const Running now("cpuid");
  *eax = 0xF29;
  *ebx = leaf == 0 ? 0x756E6547 : 2 << 16;
  *ecx = 0x6C65746E;
  *edx = 0x49656E69;
}
}

namespace {

#define RUN(call) run(std::string(#call, std::strcspn(#call, "(")).c_str(), [&] { call; })

void use_inventory() {
  int count;
  unsigned disks;
  RUN(tavGetOnlineProcs(&count));
  RUN(tavGetConfigProcs(&count));
  RUN(tavGetMemorySize(&count));
  RUN(tavGetDisks(&disks));
}

void use_time() {
  const std::int32_t stamp = -1;
  char text[64];
  std::uint16_t date;
  RUN(wek_gmtime(&stamp));
  RUN(wek_localtime(&stamp));
  RUN(wek_date_stamp());
  RUN(time_to_string(text, 0));
  RUN(time_to_line(0, text, ""));
  Captured output(STDOUT_FILENO);
  RUN(print_time_line(0, ""));
  RUN(fprint_time_line(stdout, 0, ""));
  print_date_line(0, "");
  fprint_date_line(stdout, 0, "");
  RUN(string_to_time("1/2/2007"));
  string_to_date("1/2/2007", &date);
}

void use_uuids() {
  k7_uuid__t uuid;
  RUN(orla_reserved_uuid_gen(&uuid, 1));
  RUN(orla_uuid_equal(&uuid, &uuid));
}

void use_text() {
  char token[8];
  RUN(get_delimited_token_in_string("''", 1, '\'', token, 8));
  RUN(htonl(1));
  RUN(htons(1));
  RUN(ntohl(1));
  RUN(ntohs(1));
}

void use_profile(const TempDir &folder) {
  const std::string path = folder.write("profile", "[Main]\nKey=1\n");
  RUN(orla_cfg_write_private_profile_string("Main", "Key", "2", path.c_str()));
}

void use_loader() {
  char name[ORLA_NODE_NAME_SIZE];
  symbol_is_missing = true;
  RUN(orla_get_node_name(name));
  symbol_is_missing = false;
  orla_status status;
  orla_library_id *id = orla_slnk_allocate_library_id();
  orla_slnk_load_library("no such library", id, &status);
  orla_slnk_free_library_id(id);
}

// All calls that the library makes to its own functions, with the trace on.
Calls calls_of_everything() {
  const TempDir folder;
  const WithVariable path("K7LOG_PATH", folder.path("trace").c_str());
  orlalib_verbose = 255;
  use_inventory();
  use_loader();
  TavTrace(nullptr);
  orlalib_verbose = 0;
  use_time();
  use_uuids();
  use_text();
  use_profile(folder);
  return seen();
}

// "name ,", ".Fn name" and the like: the name.
std::string name_in(const std::string &words) {
  std::istringstream stream(words);
  std::string name;
  stream >> name;
  return name;
}

// The list of the section: an item for each function, and after it those that call it.
Calls calls_in_manual() {
  std::ifstream page(ORLA_MANUAL_PAGE);
  Calls calls;
  std::string called;
  bool inside = false;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with(".S")) inside = line == ".Ss Interposition";
    if (!inside) continue;
    if (line.starts_with(".It Fn ")) called = name_in(line.substr(7));
    if (line.starts_with(".Fn ") && !called.empty()) calls.emplace(called, name_in(line.substr(4)));
    if (line == ".El") called.clear();
  }
  return calls;
}

std::string shown(const Calls &calls, const Calls &without) {
  std::string text;
  for (const Call &call : calls) {
    if (without.contains(call)) continue;
    text += "  " + call.first + "() by " + call.second + "()\n";
  }
  return text;
}

TEST(Interposition, ReachesByNameWhatTheManualLists) {
  const Calls manual = calls_in_manual();
  const Calls calls = calls_of_everything();
  EXPECT_EQ(shown(manual, calls), "") << "listed in orla(3), and not called by name";
  EXPECT_EQ(shown(calls, manual), "") << "called by name, and not listed in orla(3)";
  EXPECT_FALSE(manual.empty());
}

TEST(Interposition, ReachesByNameWhatSkipsATokenAndWhatReadsTheNext) {
  char token[8];
  get_delimited_token_in_string("''''", 1, '\'', token, 8);
  EXPECT_EQ(calls_of_stand_ins, 2);
}

// The numbers that the library preset then go on.
TEST(Interposition, OfADateFunctionThatStoresNothingLeavesWhatWasThere) {
  std::uint16_t date = 4711;
  stores_nothing = "k7_parse_date";
  EXPECT_EQ(string_to_date("12/31/2007", &date), 0);
  EXPECT_EQ(std::vector<std::int32_t>(converted, converted + 3),
            (std::vector<std::int32_t>{1969, 0, 1}));
  EXPECT_EQ(date, 4711);
  stores_nothing = "string_to_date";
  EXPECT_EQ(string_to_time("12/31/2007"), 0);
}

}  // namespace
