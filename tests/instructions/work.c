/* The same work each time, one family per run: what tests/instructions counts.
 *
 *     work FAMILY FOLDER        files are written into FOLDER
 */

#include <arpa/inet.h>
#include <orla/orla.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static char path[4096];

static void fixed_host(uint32_t *identifier, uint16_t *class_code) {
  *identifier = 0x0A000203;
  *class_code = 2;
}

static void use_inventory(void) {
  int count = 0;
  for (int i = 0; i < 100; ++i)
    tavGetMemorySize(&count);
}

static void use_time(void) {
  char text[ORLA_DATE_TEXT_SIZE];
  for (uint16_t date = 0; date < 65000; date = (uint16_t)(date + 500)) {
    uint16_t back = 0;
    date_to_string(text, date);
    string_to_date(text, &back);
  }
}

static void use_uuid(void) {
  char text[ORLA_UUID_TEXT_SIZE];
  k7_uuid__t uuid;
  k7_uuid__t back;
  orla_status status;
  orla_uuid_host_provider = fixed_host;
  for (int i = 0; i < 100; ++i) {
    orla_uuid_gen(&uuid);
    orla_uuid_encode(&uuid, text);
    orla_uuid_decode(text, &back, &status);
    orla_uuid_hash(&back, 101);
    orla_uuid_equal(&uuid, &back);
  }
}

static void use_profile(void) {
  char text[64];
  FILE *file = fopen(path, "w");
  if (file == NULL) exit(1);
  for (int section = 0; section < 100; ++section)
    fprintf(file, "[Section%03d]\nFirst=1\nSecond=22\nThird=333\n\n", section);
  fclose(file);
  for (int i = 0; i < 10; ++i) {
    orla_cfg_get_private_profile_int("Section099", "Third", -1, path);
    orla_cfg_get_private_profile_string("Section099", "Third", "", text, sizeof text, path);
    orla_cfg_write_private_profile_string("Section050", "Second", i % 2 == 0 ? "a" : "b", path);
  }
}

static void use_trace(void) {
  char message[] = "KVRCA0001I tavGetMemorySize(): 100%% entering.\n";
  setenv("K7LOG_PATH", path, 1);
  setenv("TZ", "EST5EDT,M3.2.0,M11.1.0", 1);
  orlalib_verbose = 255;
  for (int i = 0; i < 100; ++i)
    TavTrace(message);
  TavTrace(NULL);
}

static void use_token(void) {
  const char *line = "name \"twelve chars\" and \"more\" rest";
  char field[32];
  for (int i = 0; i < 100; ++i) {
    const char *rest = line;
    while ((rest = get_first_delimited_token_in_string(rest, '"', field, sizeof field)) != NULL) {
    }
    count_delimited_tokens_in_string(line, '"');
  }
}

static void use_byteorder(void) {
  volatile uint32_t number = 1;
  for (int i = 0; i < 100; ++i)
    number = (htonl)(number) + (htons)((uint16_t)i);
}

static void use_loader(void) {
  orla_status status = 0;
  orla_library_id *id = orla_slnk_allocate_library_id();
  orla_slnk_load_library("libc.so.6", id, &status);
  for (int i = 0; i < 100; ++i)
    orla_slnk_get_proc_addr(id, "getenv", &status);
  orla_slnk_free_library(id);
  orla_slnk_free_library_id(id);
}

static void use_names(void) {
  char name[ORLA_NAME_SIZE];
  orla_ls_user = "operator";
  orla_ls_group = "operators";
  for (int i = 0; i < 100; ++i) {
    orla_get_user_name(name);
    orla_get_group_name(name);
  }
}

static const struct {
  const char *family;
  void (*use)(void);
} families[] = {
    {"byteorder", use_byteorder}, {"inventory", use_inventory}, {"loader", use_loader},
    {"names", use_names},         {"profile", use_profile},     {"time", use_time},
    {"token", use_token},         {"trace", use_trace},         {"uuid", use_uuid},
};

int main(int argc, char **argv) {
  if (argc != 3) return 2;
  snprintf(path, sizeof path, "%s/file", argv[2]);
  for (size_t i = 0; i < sizeof families / sizeof families[0]; ++i) {
    if (strcmp(argv[1], families[i].family) == 0) {
      families[i].use();
      return 0;
    }
  }
  return 2;
}
