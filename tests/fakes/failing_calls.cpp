#include "cmake/plain_names.h"  // first: sscanf() is the one that the library calls

#include "failing_calls.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <grp.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <orla/inventory.h>
#include <orla/loader.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/klog.h>
#include <sys/stat.h>
#include <sys/sysinfo.h>
#include <sys/time.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iterator>
#include <set>
#include <string_view>

#ifdef __LP64__
using KernelTimespec = timespec;
#else
struct KernelTimespec {
  std::int64_t seconds;
  long nanoseconds;
};
#endif

namespace {

// One for each function at the end of this file.
constexpr const char *kNames[] = {
    // The processor and the kernel.
    "get_nprocs_conf", "klogctl", "sysinfo", "uname",
    // Users and network.
    "geteuid", "getgrgid", "getpwuid", "getifaddrs",
    // The clock and its texts.
    KERNEL_CLOCK_NAME, "ctime", "gettimeofday", "gmtime", "localtime", "mktime", "strftime",
    "strptime", "time",
    // Files.
    "close", "fallocate64", "flock", "fstat", "ftruncate64", "ioctl", "lseek", "mkstemp", "open",
    "read", "rename", "statx", "truncate", "unlink", "write",
    // Streams and formats.
    "fclose", "fgets", "fileno", "fopen", "fprintf", "fwrite", "getc", "printf", "sscanf",
    // The dynamic linker.
    "dlclose", "dlerror", "dlopen", "dlsym",
    // The heap.
    "malloc", "realloc"};

struct Call {
  int made = 0;
  int always_fails_with = 0;
};
constinit Call calls[std::size(kNames)] = {};

// Is no constant, and so does not compile, for a name that is not there.
consteval std::size_t index_of(std::string_view name) {
  std::size_t at = 0;
  while (name != kNames[at])
    ++at;
  return at;
}

std::size_t index_at_run_time(std::string_view name) {
  const auto *const at = std::find(std::begin(kNames), std::end(kNames), name);
  if (at == std::end(kNames)) abort();
  return static_cast<std::size_t>(at - std::begin(kNames));
}

FailingHost *host = nullptr;
Failure failure;
bool failure_was_reached = false;
bool watching = false;  // false also while the real function or a fake runs
int descriptors_before = 0;
std::set<std::FILE *> streams;
std::multiset<void *> libraries;
int lists = 0;
std::vector<std::string> temporary_names;

constexpr int kMostBlocks = 64;
constinit void *blocks[kMostBlocks] = {};

const void *base_of(const void *code) {
  Dl_info where;
  return dladdr(code, &where) != 0 ? where.dli_fbase : nullptr;
}

using Dlsym = void *(void *, const char *);

// dlsym() itself is stood in for, and is found by its version.
Dlsym *real_dlsym() {
  static Dlsym *const found = reinterpret_cast<Dlsym *>(dlvsym(RTLD_NEXT, "dlsym", "GLIBC_2.34"));
  return found;
}

// Of the next library behind this executable: the call is not the last step, or it would come from
// whoever called.
void *next(const char *name) {
  void *const found = real_dlsym()(RTLD_NEXT, name);
  return found;
}

template <typename Function>
Function *real(const char *name) {
  return reinterpret_cast<Function *>(next(name));
}

// Looked up once and early: a look-up at the call would use up the error that is asked for.
using Dlerror = char *();
constinit Dlerror *real_dlerror = nullptr;
[[gnu::constructor]] void find_real_dlerror() { real_dlerror = real<char *()>("dlerror"); }

// The library, its companion, or this executable where the library's call was its last step, after
// which nothing of the library is left to return to.
bool is_of_the_library(const void *caller) {
  Dl_info where;
  if (dladdr(caller, &where) == 0) return false;
  const char *const slash = std::strrchr(where.dli_fname, '/');
  const char *const file = slash != nullptr ? slash + 1 : where.dli_fname;
  return std::strncmp(file, "liborla", 7) == 0 ||
         where.dli_fbase == base_of(reinterpret_cast<const void *>(&is_of_the_library));
}

// What happens to one call of a fake.
class Intercepted {
 public:
  Intercepted(std::size_t index, const void *caller)
      : seen_(watching && is_of_the_library(caller)) {
    if (!seen_) return;
    watching = false;
    Call &call = calls[index];
    ++call.made;
    const bool is_meant = failure.call == kNames[index] && failure.occurrence == call.made;
    failure_was_reached = failure_was_reached || is_meant;
    error_ = is_meant ? failure.error : call.always_fails_with;
  }
  ~Intercepted() {
    if (!seen_) return;
    watching = true;
    if (error_ > 0) errno = error_;
  }
  Intercepted(const Intercepted &) = delete;
  Intercepted &operator=(const Intercepted &) = delete;

  bool is_seen() const { return seen_; }
  bool fails() const { return error_ != 0; }
  int error() const { return error_; }

 private:
  bool seen_;
  int error_ = 0;
};

#define INTERCEPTED(name) const Intercepted call(index_of(name), __builtin_return_address(0))

[[maybe_unused]] void keep(void *block) {
  if (block == nullptr) return;
  void **const slot = std::find(std::begin(blocks), std::end(blocks), nullptr);
  if (slot == std::end(blocks)) abort();
  *slot = block;
}

[[maybe_unused]] void forget(void *block) {
  if (block != nullptr)
    std::replace(std::begin(blocks), std::end(blocks), block, static_cast<void *>(nullptr));
}

int open_descriptors() {
  int count = 0;
  DIR *folder = opendir("/proc/self/fd");
  while (readdir(folder) != nullptr)
    ++count;
  closedir(folder);
  return count;
}

// How many bytes a call of a stream or descriptor takes that does not fail outright.
std::size_t part_of(std::size_t size, int error) {
  return error == kShort ? std::min<std::size_t>(size, 1) : 0;
}

}  // namespace

std::vector<std::string> calls_that_can_fail() {
  std::vector<std::string> names(std::begin(kNames), std::end(kNames));
#ifdef ORLA_SANITIZED
  // A sanitizer has a heap of its own, and looks functions up by where it calls from.
  for (const char *own : {"dlsym", "malloc", "realloc"})
    std::erase(names, own);
#endif
  return names;
}

FailingHost::FailingHost() {
  host = this;
  descriptors_before = open_descriptors();
}

FailingHost::~FailingHost() {
  for (const std::string &name : temporary_names)
    unlink(name.c_str());
  host = nullptr;
}

FailingHost::Watch::Watch() { watching = true; }
FailingHost::Watch::~Watch() { watching = false; }

void FailingHost::fail(const Failure &what) { failure = what; }

void FailingHost::fail_always(const char *name, int error) {
  calls[index_at_run_time(name)].always_fails_with = error;
}

int FailingHost::made(const std::string &name) const { return calls[index_at_run_time(name)].made; }

bool FailingHost::always_fails(const std::string &name) const {
  return calls[index_at_run_time(name)].always_fails_with != 0;
}

bool FailingHost::failed() const { return failure_was_reached; }

int FailingHost::descriptors_kept() const {
  return open_descriptors() - descriptors_before - static_cast<int>(temporary_names.size());
}
int FailingHost::streams_kept() const { return static_cast<int>(streams.size()); }
int FailingHost::libraries_kept() const { return static_cast<int>(libraries.size()); }
int FailingHost::lists_kept() const { return lists; }

int FailingHost::blocks_kept() const {
  return kMostBlocks - static_cast<int>(std::count(std::begin(blocks), std::end(blocks), nullptr));
}

int FailingHost::temporary_files_left() const {
  return static_cast<int>(
      std::count_if(temporary_names.begin(), temporary_names.end(),
                    [](const std::string &name) { return access(name.c_str(), F_OK) == 0; }));
}

extern "C" {

// The processor, as the library's own probe tells it.
int HTSupported() noexcept {
  return watching && host->per_package != 0 ? host->per_package : real<int()>("HTSupported")();
}

// The clock.

std::time_t time(std::time_t *out) noexcept {
  INTERCEPTED("time");
  if (!call.is_seen()) return real<std::time_t(std::time_t *)>("time")(out);
  if (call.fails()) return -1;
  const auto now = static_cast<std::time_t>(host->now);
  if (out != nullptr) *out = now;
  return now;
}

int gettimeofday(timeval *out, void *zone) noexcept {
  INTERCEPTED("gettimeofday");
  if (!call.is_seen()) return real<int(timeval *, void *)>("gettimeofday")(out, zone);
  if (call.fails()) return -1;
  *out = {static_cast<std::time_t>(host->now), 0};
  return 0;
}

int KERNEL_CLOCK(clockid_t clock, KernelTimespec *out) noexcept {
  INTERCEPTED(KERNEL_CLOCK_NAME);
  if (!call.is_seen()) return real<int(clockid_t, KernelTimespec *)>(KERNEL_CLOCK_NAME)(clock, out);
  if (call.fails()) return -1;
  *out = {host->kernel_now, 0};
  return 0;
}

std::tm *gmtime(const std::time_t *when) noexcept {
  INTERCEPTED("gmtime");
  return call.fails() ? nullptr : real<std::tm *(const std::time_t *)>("gmtime")(when);
}

std::tm *localtime(const std::time_t *when) noexcept {
  INTERCEPTED("localtime");
  return call.fails() ? nullptr : real<std::tm *(const std::time_t *)>("localtime")(when);
}

char *ctime(const std::time_t *when) noexcept {
  INTERCEPTED("ctime");
  return call.fails() ? nullptr : real<char *(const std::time_t *)>("ctime")(when);
}

std::time_t mktime(std::tm *fields) noexcept {
  INTERCEPTED("mktime");
  return call.fails() ? -1 : real<std::time_t(std::tm *)>("mktime")(fields);
}

std::size_t strftime(char *out, std::size_t room, const char *format,
                     const std::tm *fields) noexcept {
  INTERCEPTED("strftime");
  if (call.fails()) return 0;
  return real<std::size_t(char *, std::size_t, const char *, const std::tm *)>("strftime")(
      out, room, format, fields);
}

char *strptime(const char *text, const char *format, std::tm *fields) noexcept {
  INTERCEPTED("strptime");
  if (call.fails()) return nullptr;
  return real<char *(const char *, const char *, std::tm *)>("strptime")(text, format, fields);
}

int sscanf(const char *text, const char *format, ...) noexcept {
  INTERCEPTED("sscanf");
  if (call.fails()) return EOF;
  std::va_list list;
  va_start(list, format);
  const int converted = std::vsscanf(text, format, list);
  va_end(list);
  return converted;
}

// The host.

int get_nprocs_conf() noexcept {
  INTERCEPTED("get_nprocs_conf");
  if (!call.is_seen()) return real<int()>("get_nprocs_conf")();
  return call.fails() ? -1 : 2;
}

int uname(utsname *out) noexcept {
  INTERCEPTED("uname");
  if (!call.is_seen()) return real<int(utsname *)>("uname")(out);
  if (call.fails()) return -1;
  std::strcpy(out->release, host->release.c_str());
  std::strcpy(out->nodename, "node");
  return 0;
}

int klogctl(int action, char *log, int size) noexcept {
  INTERCEPTED("klogctl");
  if (!call.is_seen()) return real<int(int, char *, int)>("klogctl")(action, log, size);
  if (call.fails()) return -1;
  std::memcpy(log, host->kernel_log.data(), host->kernel_log.size());
  return static_cast<int>(host->kernel_log.size());
}

int sysinfo(struct sysinfo *out) noexcept {
  INTERCEPTED("sysinfo");
  if (!call.is_seen()) return real<int(struct sysinfo *)>("sysinfo")(out);
  if (call.fails()) return -1;
  *out = {};
  out->totalram = 512 << 20;
  return 0;
}

// Fails as it does for anybody but root.
uid_t geteuid() noexcept {
  INTERCEPTED("geteuid");
  if (!call.is_seen()) return real<uid_t()>("geteuid")();
  return call.fails() ? 1000 : 0;
}

passwd *getpwuid(uid_t user) {
  INTERCEPTED("getpwuid");
  if (!call.is_seen()) return real<passwd *(uid_t)>("getpwuid")(user);
  static char name[] = "somebody";
  static passwd entry;
  entry.pw_name = name;
  return call.fails() ? nullptr : &entry;
}

group *getgrgid(gid_t group_id) {
  INTERCEPTED("getgrgid");
  if (!call.is_seen()) return real<group *(gid_t)>("getgrgid")(group_id);
  static char name[] = "some";
  static group entry;
  entry.gr_name = name;
  return call.fails() ? nullptr : &entry;
}

// One interface, 10.0.2.3.
int getifaddrs(ifaddrs **list) noexcept {
  INTERCEPTED("getifaddrs");
  if (!call.is_seen()) return real<int(ifaddrs **)>("getifaddrs")(list);
  if (call.fails()) return -1;
  static sockaddr_in address;
  static ifaddrs entry;
  address.sin_family = AF_INET;
  std::memcpy(&address.sin_addr, "\x0A\x00\x02\x03", 4);
  entry.ifa_flags = IFF_UP;
  entry.ifa_addr = reinterpret_cast<sockaddr *>(&address);
  *list = &entry;
  ++lists;
  return 0;
}

void freeifaddrs(ifaddrs *list) noexcept {
  if (watching) {
    --lists;
  } else {
    real<void(ifaddrs *)>("freeifaddrs")(list);
  }
}

// Files. Every disk opens, and answers.

int open(const char *path, int flags, ...) {
  std::va_list list;
  va_start(list, flags);
  const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(list, mode_t) : 0;
  va_end(list);
  INTERCEPTED("open");
  if (call.fails()) return -1;
  const bool is_disk = call.is_seen() && std::strncmp(path, "/dev/", 5) == 0;
  return real<int(const char *, int, ...)>("open")(is_disk ? "/dev/null" : path, flags, mode);
}

int ioctl(int descriptor, unsigned long request, ...) noexcept {
  std::va_list list;
  va_start(list, request);
  void *const argument = va_arg(list, void *);
  va_end(list);
  INTERCEPTED("ioctl");
  if (!call.is_seen())
    return real<int(int, unsigned long, ...)>("ioctl")(descriptor, request, argument);
  return call.fails() ? -1 : 0;
}

int close(int descriptor) {
  INTERCEPTED("close");
  const int status = real<int(int)>("close")(descriptor);  // also where an error is reported
  return call.fails() ? -1 : status;
}

ssize_t read(int descriptor, void *out, std::size_t size) {
  INTERCEPTED("read");
  if (call.error() > 0) return -1;
  if (call.fails()) size = part_of(size, call.error());
  return real<ssize_t(int, void *, std::size_t)>("read")(descriptor, out, size);
}

ssize_t write(int descriptor, const void *data, std::size_t size) {
  INTERCEPTED("write");
  if (call.error() > 0) return -1;
  if (call.fails()) size = part_of(size, call.error());
  return real<ssize_t(int, const void *, std::size_t)>("write")(descriptor, data, size);
}

off_t lseek(int descriptor, off_t offset, int from) noexcept {
  INTERCEPTED("lseek");
  return call.fails() ? -1 : real<off_t(int, off_t, int)>("lseek")(descriptor, offset, from);
}

int fstat(int descriptor, struct stat *out) noexcept {
  INTERCEPTED("fstat");
  return call.fails() ? -1 : real<int(int, struct stat *)>("fstat")(descriptor, out);
}

int flock(int descriptor, int operation) noexcept {
  INTERCEPTED("flock");
  return call.fails() ? -1 : real<int(int, int)>("flock")(descriptor, operation);
}

int statx(int folder, const char *path, int flags, unsigned mask, struct statx *out) noexcept {
  INTERCEPTED("statx");
  if (call.fails()) return -1;
  const int status = real<int(int, const char *, int, unsigned, struct statx *)>("statx")(
      folder, path, flags, mask, out);
  // Some file systems take their time to count blocks.
  if (call.is_seen()) out->stx_blocks = (out->stx_size + 511) / 512;
  return status;
}

// Always to be had, whatever the file system.
int fallocate64(int descriptor, int mode, off64_t offset, off64_t size) {
  INTERCEPTED("fallocate64");
  if (!call.is_seen())
    return real<int(int, int, off64_t, off64_t)>("fallocate64")(descriptor, mode, offset, size);
  return call.fails() ? -1 : 0;
}

int ftruncate64(int descriptor, off64_t size) noexcept {
  INTERCEPTED("ftruncate64");
  return call.fails() ? -1 : real<int(int, off64_t)>("ftruncate64")(descriptor, size);
}

int truncate(const char *path, off_t size) noexcept {
  INTERCEPTED("truncate");
  return call.fails() ? -1 : real<int(const char *, off_t)>("truncate")(path, size);
}

int mkstemp(char *name) {
  INTERCEPTED("mkstemp");
  if (call.fails()) return -1;
  const int descriptor = real<int(char *)>("mkstemp")(name);
  if (call.is_seen()) temporary_names.emplace_back(name);
  return descriptor;
}

int rename(const char *from, const char *to) noexcept {
  INTERCEPTED("rename");
  return call.fails() ? -1 : real<int(const char *, const char *)>("rename")(from, to);
}

int unlink(const char *path) noexcept {
  INTERCEPTED("unlink");
  return call.fails() ? -1 : real<int(const char *)>("unlink")(path);
}

// Streams.

std::FILE *fopen(const char *path, const char *mode) {
  INTERCEPTED("fopen");
  if (call.fails()) return nullptr;
  const bool is_cpuinfo = call.is_seen() && std::strcmp(path, "/proc/cpuinfo") == 0;
  std::FILE *const stream = real<std::FILE *(const char *, const char *)>("fopen")(
      is_cpuinfo ? host->cpuinfo_path.c_str() : path, mode);
  if (call.is_seen() && stream != nullptr) streams.insert(stream);
  return stream;
}

int fclose(std::FILE *stream) {
  INTERCEPTED("fclose");
  streams.erase(stream);
  const int status = real<int(std::FILE *)>("fclose")(stream);  // also where an error is reported
  return call.fails() ? EOF : status;
}

char *fgets(char *out, int size, std::FILE *stream) {
  INTERCEPTED("fgets");
  return call.fails() ? nullptr
                      : real<char *(char *, int, std::FILE *)>("fgets")(out, size, stream);
}

int getc(std::FILE *stream) {
  INTERCEPTED("getc");
  return call.fails() ? EOF : real<int(std::FILE *)>("getc")(stream);
}

std::size_t fwrite(const void *data, std::size_t size, std::size_t count, std::FILE *stream) {
  INTERCEPTED("fwrite");
  if (call.fails()) count = call.error() > 0 ? 0 : part_of(count, call.error());
  return real<std::size_t(const void *, std::size_t, std::size_t, std::FILE *)>("fwrite")(
      data, size, count, stream);
}

int fputs(const char *text, std::FILE *stream) {
  INTERCEPTED("fwrite");
  return call.fails() ? EOF : real<int(const char *, std::FILE *)>("fputs")(text, stream);
}

int fprintf(std::FILE *stream, const char *format, ...) {
  INTERCEPTED("fprintf");
  if (call.fails()) return -1;
  std::va_list list;
  va_start(list, format);
  const int length = std::vfprintf(stream, format, list);
  va_end(list);
  return length;
}

int printf(const char *format, ...) {
  INTERCEPTED("printf");
  if (call.fails()) return -1;
  std::va_list list;
  va_start(list, format);
  const int length = std::vfprintf(stdout, format, list);
  va_end(list);
  return length;
}

int puts(const char *text) {
  INTERCEPTED("printf");
  return call.fails() ? EOF : real<int(const char *)>("puts")(text);
}

int fileno(std::FILE *stream) noexcept {
  INTERCEPTED("fileno");
  return call.fails() ? -1 : real<int(std::FILE *)>("fileno")(stream);
}

#ifndef ORLA_SANITIZED

// The heap. The C library's own names for its functions need no look-up, which would use the heap.

void *__libc_malloc(std::size_t size) noexcept;
void *__libc_realloc(void *earlier, std::size_t size) noexcept;
void __libc_free(void *block) noexcept;

void *malloc(std::size_t size) noexcept {
  INTERCEPTED("malloc");
  if (call.fails()) return nullptr;
  void *const block = __libc_malloc(size);
  if (call.is_seen()) keep(block);
  return block;
}

void *realloc(void *earlier, std::size_t size) noexcept {
  INTERCEPTED("realloc");
  if (call.fails()) return nullptr;
  forget(earlier);
  void *const block = __libc_realloc(earlier, size);
  if (call.is_seen()) keep(block);
  return block;
}

void free(void *block) noexcept {
  forget(block);
  __libc_free(block);
}

void *dlsym(void *handle, const char *symbol) noexcept {
  INTERCEPTED("dlsym");
  if (call.fails()) return nullptr;
  void *const address = real_dlsym()(handle, symbol);
  return address;
}

#endif

// The dynamic linker.

void *dlopen(const char *path, int flags) noexcept {
  INTERCEPTED("dlopen");
  if (call.fails()) return nullptr;
  const bool is_fallback = call.is_seen() && !host->fallback_library.empty() &&
                           std::strncmp(path, ORLA_LIBRARY_FALLBACK_DIRECTORY,
                                        sizeof ORLA_LIBRARY_FALLBACK_DIRECTORY - 1) == 0;
  void *const library = real<void *(const char *, int)>("dlopen")(
      is_fallback ? host->fallback_library.c_str() : path, flags);
  if (call.is_seen() && library != nullptr) libraries.insert(library);
  return library;
}

int dlclose(void *handle) noexcept {
  INTERCEPTED("dlclose");
  if (call.fails()) return -1;
  const auto opened = libraries.find(handle);
  if (opened != libraries.end()) libraries.erase(opened);
  return real<int(void *)>("dlclose")(handle);
}

char *dlerror() noexcept {
  if (real_dlerror == nullptr) find_real_dlerror();
  INTERCEPTED("dlerror");
  char *const text = real_dlerror();
  return call.fails() ? nullptr : text;
}
}
