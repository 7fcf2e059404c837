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

static void call_trace(void) {
  assert(sizeof statuslog == 1024);
  orlathr_verbose = 0;
  orlalib_verbose = 255;
  unsetenv("K7LOG_PATH");
  strcpy(statuslog, "traced");
  TavTrace(statuslog);
  orlalib_verbose = 0;
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
  call_time();
  call_inventory();
  call_trace();
  call_profile();
  return 0;
}
