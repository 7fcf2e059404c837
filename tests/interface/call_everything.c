/* Calls every function of the library from C, as a program of a user does. */

#undef NDEBUG
#include <assert.h>
#include <orla/orla.h>
#include <stdlib.h>
#include <string.h>

static void call_time(void) {
  char text[ORLA_DATE_TEXT_SIZE];
  char line[64];
  char numeric[64];
  uint16_t date = 0;
  int32_t year, month, day;
  int32_t stamp = 86400;
  time_t when = 86400;
  struct tm fields;

  assert(wek_time_stamp() != 0);
  assert(wek_localtime_offset() > -86400 && wek_localtime_offset() < 86400);
  assert(wek_time_stamp_local() != 0);
  (void)wek_date_stamp();
  assert(days_in_year(2004) == 366);
  assert(days_in_month(2007, 2) == 28);
  assert(data_to_date(70, 1, 2, &date) == 1 && date == 59332);
  assert(wek_gmtime(&stamp)->tm_mday == 2);
  assert(wek_localtime(&stamp) != NULL);
  assert(tav_gmtime(&when)->tm_mday == 2);
  fields = *tav_localtime(&when);
  assert(tav_mktime(&fields) == when);
  assert(strlen(tav_ctime(&when)) == 25);
  RestoreTZ();
  assert(date_to_string(text, date) == 10 && strcmp(text, "01/02/1970") == 0);
  assert(time_to_string(text, stamp) == 24);
  assert(date_to_line(date, line, "on ") == 14 && strcmp(line, "on 01/02/1970\n") == 0);
  assert(time_to_line(stamp, line, NULL) == 11);
  assert(print_date_line(date, NULL) == 11);
  assert(print_time_line(stamp, "100%% ") == 16);
  assert(fprint_date_line(stdout, date, NULL) == 11);
  assert(fprint_time_line(stdout, stamp, NULL) == 11);
  k7_date_format("%d.%m.%Y", numeric);
  assert(strcmp(numeric, "%2$2d.%1$2d.%3$4d") == 0);
  orla_strptime("1/2/2007", "%m/%d/%Y", &fields);
  assert(fields.tm_year == 107);
  assert(k7_parse_date("12/31/2007", &year, &month, &day) == 0 && year == 107);
  assert(string_to_date("01/02/1970", &date) == 1 && date == 59332);
  assert(string_to_time("12/29/1986") == 536198400);
}

static void call_inventory(void) {
  uint32_t eax, ebx, ecx, edx;
  int count = 0;
  int size = 0;
  unsigned disks = 0;

  assert(tavGetOnlineProcs(&count) == 0 && count >= 1);
  assert(tavGetConfigProcs(&count) == 0 && count >= 1);
  assert(count_physical_proc(&count) <= ORLA_COUNT_UNUSABLE_KERNEL_FIGURE);
  assert(tavGetMemorySize(&size) == 0);
  assert(tavGetDisks(&disks) <= 1);
  assert(HTSupported() >= 0);
  assert(ht_os_cpus() >= -1);
  assert(CPUID_is_supported() == 0 || CPUID_is_supported() == 1);
  if (CPUID_is_supported()) cpuid(0, &eax, &ebx, &ecx, &edx);
}

static void call_tokens(void) {
  const char *text = "\"a\" \"bc\"";
  char token[8];

  assert(get_first_delimited_token_in_string(text, '"', token, sizeof token) == text + 3);
  assert(get_delimited_token_in_string(text, 0, '"', token, sizeof token) == text + 3);
  assert(strcmp(token, "a") == 0);
  assert(count_delimited_tokens_in_string(text, '"') == 2);
}

/* As the library defines them: 32 bits come back from all four. */
uint32_t htonl(uint32_t host);
uint32_t htons(uint16_t host);
uint32_t ntohl(uint32_t network);
uint32_t ntohs(uint16_t network);

static void call_byte_order(void) {
  char bytes[2] = {1, 2};

  swap(&bytes[0], &bytes[1]);
  assert(bytes[0] == 2 && bytes[1] == 1);
  assert(htonl(0x11223344u) == 0x44332211u && ntohl(0x11223344u) == 0x44332211u);
  assert(htons(0x1122u) == 0x2211u && ntohs(0x1122u) == 0x2211u);
}

static void call_names(void) {
  char name[ORLA_NAME_SIZE];
  char node[ORLA_NODE_NAME_SIZE];

  orla_ls_user = "a user";
  orla_ls_group = "a group";
  orla_get_user_name(name);
  assert(strcmp(name, "a user") == 0);
  orla_get_group_name(name);
  assert(strcmp(name, "a group") == 0);
  orla_ls_user = NULL;
  orla_ls_group = NULL;
  orla_get_user_name(name);
  orla_get_group_name(name);
  assert(name[0] != '\0');
  orla_get_node_name(node);
  assert(strlen(node) < sizeof node);
}

static void call_loader(void) {
  orla_library_id *id = orla_slnk_allocate_library_id();
  orla_status status;

  assert(id != NULL);
  orla_slnk_load_library("libc.so.6", id, &status);
  assert(status == 0);
  assert(orla_slnk_get_proc_addr(id, "getenv", &status) != NULL);
  assert(orla_slnk_free_library(id) == 0);
  orla_slnk_load_library("liborla-nowhere.so", id, &status);
  assert(status == ORLA_LOADER_FAILED);
  orla_slnk_free_library_id(id);
}

static void call_trace(void) {
  assert(sizeof statuslog == 1024);
  orlathr_verbose = 0;
  orlalib_verbose = 255;
  unsetenv("K7LOG_PATH");
  strcpy(statuslog, "traced");
  TavTrace(statuslog);
  orlalib_verbose = 0;
}

static void fixed_host(uint32_t *identifier, uint16_t *class_code) {
  *identifier = 0x0A000203;
  *class_code = ORLA_UUID_CLASS_IPV4;
}

static void call_uuid(void) {
  k7_uuid__t uuid;
  k7_uuid__t copy;
  char text[ORLA_UUID_TEXT_SIZE];
  orla_status status = 1;

  orla_uuid_gen(&uuid);
  assert(uuid.family == 0x82);
  assert(orla_uuid_host_provider == NULL);
  orla_uuid_host_provider = fixed_host;
  orla_uuid_gen(&uuid);
  assert(uuid.host[0] == 10 && uuid.host[3] == 3);
  assert(orla_uuid_encode(&uuid, text) == 36 && strlen(text) == 36);
  orla_uuid_decode(text, &copy, &status);
  assert(status == 0 && memcmp(&uuid, &copy, sizeof uuid) == 0);
  orla_uuid_decode("", &copy, &status);
  assert(status == ORLA_UUID_MALFORMED);
  assert(orla_uuid_cmp(&uuid, &k7_uuid__nil) > 0);
  assert(orla_uuid_equal(&uuid, &copy) == 1);
  assert(orla_uuid_hash(&uuid, 101) < 101);
  orla_reserved_uuid_gen(&uuid, 7);
  assert(uuid.reserved == 7 && uuid.family == ORLA_UUID_RESERVED_FAMILY);
  orla_reserved_uuid_inflate(&uuid, 1, 2, 3);
  assert(uuid.time_high == 1 && uuid.time_low == 2 && uuid.reserved == 3);
}

static void call_profile(void) {
  char path[ORLA_PROFILE_PATH_SIZE];
  char line[ORLA_PROFILE_LINE_SIZE];
  char name[ORLA_TEMPORARY_NAME_SIZE];
  char copy[ORLA_TEMPORARY_NAME_SIZE];
  char text[8];
  char from_environment = 9;
  FILE *stream;

  orla_cfg_file(path, &from_environment);
  assert(path[0] != '\0' && (from_environment == 0 || from_environment == 1));
  assert(create_temporary_name(name) == 0);
  assert(create_temporary_name(copy) == 0);
  assert(orla_cfg_write_private_profile_string("Main", "Port", "5", name) == 1);
  assert(copy_file(name, copy) == 0);
  assert(orla_cfg_get_private_profile_int("Main", "Port", -1, copy) == 5);
  assert(orla_cfg_get_private_profile_string("Main", "Port", NULL, text, 8, copy) == 1);
  assert(strcmp(text, "5") == 0);
  stream = fopen(copy, "r");
  assert(stream != NULL && orla_i_cfg_read_line(stream, line) == 1 && line[0] == '\0');
  assert(orla_i_cfg_read_line(stream, line) == 1 && strcmp(line, "[Main]") == 0);
  fclose(stream);
  remove(name);
  remove(copy);
}

int main(void) {
  unsetenv("ORLALS_DATE_FORMAT_OLD");
  call_time();
  call_inventory();
  call_tokens();
  call_byte_order();
  call_names();
  call_loader();
  call_trace();
  call_uuid();
  call_profile();
  return 0;
}
