// Asks the library what it makes of the machine that it runs on, and prints one "key=value" per
// line.
//
//     report QUESTION...    now | at SECONDS | host | disks | identity | profile PATH |
//                           rotation PATH | as-2.6 | as-2.4 | as-user: what the kernel or the
//                           process is from there on
//
// Clock and file sizes are read through system calls that know neither 32-bit times nor the
// library, to be compared with what the library says.

#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <orla/orla.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/personality.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/utsname.h>
#include <time.h>
#include <unistd.h>

#ifdef SYS_clock_gettime64
#define CLOCK_GET SYS_clock_gettime64
#define CLOCK_SET SYS_clock_settime64
#else
#define CLOCK_GET SYS_clock_gettime
#define CLOCK_SET SYS_clock_settime
#endif

// As the kernel takes a moment on every architecture.
struct moment {
  int64_t seconds;
  int64_t nanoseconds;
};

static const char *release_to_report = NULL;

// Stands in for the C library's, for the library too.
int uname(struct utsname *host) {
  const long result = syscall(SYS_uname, host);
  if (release_to_report != NULL) strcpy(host->release, release_to_report);
  return (int)result;
}

static void print_kernel_clock(const char *key) {
  struct moment now;
  syscall(CLOCK_GET, CLOCK_REALTIME, &now);
  printf("%s=%lld.%09lld\n", key, (long long)now.seconds, (long long)now.nanoseconds);
}

static void print_c_library_clock(void) {
  struct timeval now;
  errno = 0;
  const int fails = time(NULL) == -1;
  printf("c_library.time=%s\n", fails ? strerror(errno) : "answers");
  printf("c_library.gettimeofday=%s\n",
         gettimeofday(&now, NULL) != 0 ? strerror(errno) : "answers");
}

static void print_fields(const char *key, const struct tm *fields) {
  printf("%s=%d-%02d-%02d %02d:%02d:%02d weekday %d day %d dst %d\n", key, fields->tm_year + 1900,
         fields->tm_mon + 1, fields->tm_mday, fields->tm_hour, fields->tm_min, fields->tm_sec,
         fields->tm_wday, fields->tm_yday, fields->tm_isdst);
}

static void identify(uint32_t *identifier, uint16_t *class_code) {
  *identifier = 0x0A000203;
  *class_code = 2;
}

static void print_uuids(void) {
  k7_uuid__t uuid;
  char text[ORLA_UUID_TEXT_SIZE];
  orla_uuid_host_provider = identify;
  orla_uuid_gen(&uuid);
  orla_uuid_encode(&uuid, text);
  printf("uuid=%s\n", text);
  orla_reserved_uuid_gen(&uuid, 0x1234);
  orla_uuid_encode(&uuid, text);
  printf("uuid.reserved=%s\n", text);
}

// The trace file as it is after one line, which is removed again.
static void print_trace_line(void) {
  static const char kPath[] = "/tmp/trace";
  char line[200] = "";
  char message[] = "message\n";
  setenv("K7LOG_PATH", kPath, 1);
  orlalib_verbose = 255;
  TavTrace(message);
  TavTrace(NULL);
  orlalib_verbose = 0;
  const int file = open(kPath, O_RDONLY);
  const ssize_t length = read(file, line, sizeof line - 1);
  close(file);
  unlink(kPath);
  printf("process=%ld\ntrace=%.*s", (long)getpid(), (int)length, line);
}

// The figures of the present lie between the kernel's clock before and after them.
static void answer_now(const char *unused) {
  (void)unused;
  char date[ORLA_DATE_TEXT_SIZE];
  print_kernel_clock("before");
  print_c_library_clock();
  const int32_t stamp = wek_time_stamp();
  printf("stamp=%ld\n", (long)stamp);
  printf("offset=%ld\n", (long)wek_localtime_offset());
  printf("local=%lu\n", (unsigned long)wek_time_stamp_local());
  date_to_string(date, wek_date_stamp());
  printf("date=%s\n", date);
  print_uuids();
  print_trace_line();
  print_kernel_clock("after");
  print_fields("stamp.gmtime", wek_gmtime(&stamp));
  print_fields("stamp.localtime", wek_localtime(&stamp));
}

static void answer_at(const char *seconds) {
  const struct moment when = {strtoll(seconds, NULL, 10), 0};
  if (syscall(CLOCK_SET, CLOCK_REALTIME, &when) != 0) perror("clock_settime");
  answer_now(NULL);
}

static void answer_disks(const char *unused) {
  (void)unused;
  unsigned disks = 99;
  printf("disks.status=%lu\n", (unsigned long)tavGetDisks(&disks));
  printf("disks=%u\n", disks);
}

static void print_cpuid(void) {
  uint32_t eax, ebx, ecx, edx;
  cpuid(0, &eax, &ebx, &ecx, &edx);
  printf("vendor=%.4s%.4s%.4s\n", (const char *)&ebx, (const char *)&edx, (const char *)&ecx);
  cpuid(1, &eax, &ebx, &ecx, &edx);
  printf("family_field=%lu\nper_package_field=%lu\n", (unsigned long)(eax >> 8 & 0xF),
         (unsigned long)(ebx >> 16 & 0xFF));
}

static void answer_host(const char *unused) {
  (void)unused;
  struct utsname host;
  char node[ORLA_NODE_NAME_SIZE] = "";
  char user[ORLA_NAME_SIZE] = "";
  char group[ORLA_NAME_SIZE] = "";
  int count = -1;
  int memory = -1;
  uname(&host);
  printf("release=%s\n", host.release);
  print_cpuid();
  printf("CPUID_is_supported=%d\n", CPUID_is_supported());
  printf("HTSupported=%d\n", HTSupported());
  printf("ht_os_cpus=%d\n", ht_os_cpus());
  printf("method=%lu\n", (unsigned long)count_physical_proc(&count));
  printf("count=%d\n", count);
  printf("online.status=%lu\n", (unsigned long)tavGetOnlineProcs(&count));
  printf("online=%d\n", count);
  printf("config.status=%lu\n", (unsigned long)tavGetConfigProcs(&count));
  printf("config=%d\n", count);
  printf("memory.status=%lu\n", (unsigned long)tavGetMemorySize(&memory));
  printf("memory=%d\n", memory);
  orla_get_node_name(node);
  printf("node=%s\n", node);
  orla_get_user_name(user);
  printf("user=%s\n", user);
  orla_get_group_name(group);
  printf("group=%s\n", group);
}

static void answer_profile(const char *path) {
  char text[40];
  printf("replaced=%d\n", orla_cfg_write_private_profile_string("Main", "Port", "7", path));
  printf("added=%d\n", orla_cfg_write_private_profile_string("Main", "Host", "h", path));
  printf("int=%d\n", orla_cfg_get_private_profile_int("Main", "Port", 99, path));
  orla_cfg_get_private_profile_string("Main", "Host", "none", text, sizeof text, path);
  printf("string=%s\n", text);
}

// Bytes of a file, or -1.
static long long size_of(const char *path) {
  const int file = open(path, O_RDONLY | O_LARGEFILE);
  if (file < 0) return -1;
  const off64_t size = lseek64(file, 0, SEEK_END);
  close(file);
  return size;
}

static void trace_and_print_sizes(const char *key, const char *path, char *message) {
  char rotated[100];
  snprintf(rotated, sizeof rotated, "%s.1", path);
  TavTrace(message);
  printf("%s=%lld %lld\n", key, size_of(path), size_of(rotated));
}

// The file holds 200 bytes less than the limit: one line to the limit itself, one past it, one
// more.
static void answer_rotation(const char *path) {
  char stamp[60];
  char message[201];
  char next[] = "next\n";
  const int stamp_length =
      snprintf(stamp, sizeof stamp, "MM/DD/YYYY hh:mm:ss %ld ", (long)getpid());
  memset(message, 'x', sizeof message);
  message[200 - stamp_length - 1] = '\n';
  message[200 - stamp_length] = '\0';
  setenv("K7LOG_PATH", path, 1);
  orlalib_verbose = 255;
  printf("limit=%d\n", ORLA_TRACE_ROTATION_SIZE);
  printf("line=%zu\n", (size_t)stamp_length + strlen(next));
  trace_and_print_sizes("at_limit", path, message);
  trace_and_print_sizes("past_limit", path, next);
  trace_and_print_sizes("rotated", path, next);
  orlalib_verbose = 0;
}

static void report_2_6(const char *unused) {
  (void)unused;
  if (personality(UNAME26) == -1) perror("personality");
}

static void report_2_4(const char *unused) {
  (void)unused;
  release_to_report = "2.4.18-3smp";
}

static void become_user(const char *unused) {
  (void)unused;
  if (setuid(1000) != 0) perror("setuid");
}

// A UUID of the library's own provider, and the low 32 bits of the record's address.
static void answer_identity(const char *unused) {
  (void)unused;
  k7_uuid__t uuid;
  orla_uuid_gen(&uuid);
  printf("family=%02x\nhost=%02x%02x%02x%02x\n", uuid.family, uuid.host[0], uuid.host[1],
         uuid.host[2], uuid.host[3]);
  printf("address=%08lx\n", (unsigned long)((uintptr_t)&uuid & 0xFFFFFFFF));
}

struct question {
  const char *name;
  int arguments;  // 0 or 1
  void (*ask)(const char *argument);
};

static const struct question kQuestions[] = {
    {"now", 0, answer_now},           {"at", 1, answer_at},
    {"host", 0, answer_host},         {"disks", 0, answer_disks},
    {"identity", 0, answer_identity}, {"profile", 1, answer_profile},
    {"rotation", 1, answer_rotation}, {"as-2.6", 0, report_2_6},
    {"as-2.4", 0, report_2_4},        {"as-user", 0, become_user},
};

static const struct question *find_question(const char *name) {
  for (size_t at = 0; at < sizeof kQuestions / sizeof kQuestions[0]; ++at)
    if (strcmp(kQuestions[at].name, name) == 0) return &kQuestions[at];
  return NULL;
}

int main(int count, char **words) {
  setvbuf(stdout, NULL, _IOLBF, 0);
  for (int at = 1; at < count; ++at) {
    const struct question *question = find_question(words[at]);
    if (question == NULL || at + question->arguments >= count) return 2;
    at += question->arguments;
    question->ask(words[at]);
  }
  return 0;
}
