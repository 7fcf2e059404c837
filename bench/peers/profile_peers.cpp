// Profile files of minIni, inih, GLib, SimpleIni and iniparser: each opens the file anew, reads one
// key, or changes one key and saves the file.

#define SI_NO_CONVERSION
#include <SimpleIni.h>
#include <glib.h>
#include <ini.h>
#include <iniparser/iniparser.h>
#include <minIni.h>

#include <cstring>
#include <string>

#include "profile_files.h"
#include "rows.h"

namespace {

// A place in a profile.
struct Place {
  std::string file;
  std::string section;
  std::string key;
};

void read_minini(const Place &at) {
  char text[64];
  ini_gets(at.section.c_str(), at.key.c_str(), "", text, sizeof text, at.file.c_str());
  bench::keep(text);
}

int take_inih(void *user, const char *section, const char *name, const char *value) {
  const auto &at = *static_cast<const Place *>(user);
  if (at.section == section && at.key == name) bench::keep(value);
  return 1;
}

void read_inih(const Place &at) {
  Place place = at;
  bench::keep_result(ini_parse(at.file.c_str(), take_inih, &place));
}

void read_glib(const Place &at) {
  GKeyFile *file = g_key_file_new();
  g_key_file_load_from_file(file, at.file.c_str(), G_KEY_FILE_NONE, nullptr);
  char *value = g_key_file_get_value(file, at.section.c_str(), at.key.c_str(), nullptr);
  bench::keep(value);
  g_free(value);
  g_key_file_free(file);
}

void read_simpleini(const Place &at) {
  CSimpleIniA file;
  file.LoadFile(at.file.c_str());
  bench::keep_result(file.GetValue(at.section.c_str(), at.key.c_str()));
}

void read_iniparser(const Place &at) {
  dictionary *file = iniparser_load(at.file.c_str());
  bench::keep_result(iniparser_getstring(file, (at.section + ":" + at.key).c_str(), ""));
  iniparser_freedict(file);
}

// Another one each time: a library may leave a file alone that would not change.
const char *next_value() {
  static unsigned asked = 0;
  return ++asked % 2 != 0 ? "odd" : "even";
}

void write_minini(const Place &at) {
  ini_puts(at.section.c_str(), at.key.c_str(), next_value(), at.file.c_str());
}

void write_glib(const Place &at) {
  GKeyFile *file = g_key_file_new();
  g_key_file_load_from_file(file, at.file.c_str(), G_KEY_FILE_KEEP_COMMENTS, nullptr);
  g_key_file_set_value(file, at.section.c_str(), at.key.c_str(), next_value());
  g_key_file_save_to_file(file, at.file.c_str(), nullptr);
  g_key_file_free(file);
}

void write_simpleini(const Place &at) {
  CSimpleIniA file;
  file.LoadFile(at.file.c_str());
  file.SetValue(at.section.c_str(), at.key.c_str(), next_value());
  file.SaveFile(at.file.c_str());
}

bench::Body on(const Place &place, void (*work)(const Place &)) {
  return bench::repeat([place, work] { work(place); });
}

const bench::Rows rows([] {
  const Place late = {bench::large_file("large-peers.ini"), "Section000998", "Key08"};
  bench::Table many("Profile: a key near the end of 10,000");
  many.peer("minIni", on(late, read_minini));
  many.peer("inih", on(late, read_inih));
  many.peer("GKeyFile", on(late, read_glib));
  many.peer("SimpleIni", on(late, read_simpleini));
  many.peer("iniparser", on(late, read_iniparser));

  const Place first = {bench::small_file("small-peers.ini"), "General", "Port"};
  bench::Table few("Profile: a key of 20 lines");
  few.peer("minIni", on(first, read_minini));
  few.peer("inih", on(first, read_inih));
  few.peer("GKeyFile", on(first, read_glib));
  few.peer("SimpleIni", on(first, read_simpleini));
  few.peer("iniparser", on(first, read_iniparser));

  bench::Table big("Profile: rewrite one key of 10,000");
  big.peer("minIni", on(late, write_minini));
  big.peer("GKeyFile", on(late, write_glib));
  big.peer("SimpleIni", on(late, write_simpleini));
  bench::Table small("Profile: rewrite one key of 20 lines");
  small.peer("minIni", on(first, write_minini));
  small.peer("GKeyFile", on(first, write_glib));
  small.peer("SimpleIni", on(first, write_simpleini));
});

}  // namespace
