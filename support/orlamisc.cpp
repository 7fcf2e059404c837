// User, group and node names.

#include <grp.h>
#include <orla/loader.h>
#include <orla/names.h>
#include <pwd.h>
#include <unistd.h>

#include <cstring>

#include "base/kept_errno.h"

const char *orla_ls_user = nullptr;
const char *orla_ls_group = nullptr;

namespace {

using NodeNameProvider = int(char *out);

constexpr const char *kProviderLibrary = "liborlanode.so";
constexpr const char *kProviderSymbol = "orla_node_name";
constexpr std::size_t kNameLength = ORLA_NAME_SIZE - 1;

NodeNameProvider *node_name_provider = nullptr;  // set by the first call that finds it

void put_override(char *out, const char *name) {
  std::strncpy(out, name, kNameLength);  // fills up with zeros
  out[kNameLength] = '\0';
}

// Quirk: a longer name is cut in the system's own entry.
void put_entry(char *out, char *name) {
  if (std::strlen(name) > kNameLength) name[kNameLength] = '\0';
  std::strcpy(out, name);
}

void put_unknown(char *out) { std::strcpy(out, "unknown"); }

// Finds the provider and leaves its library open; null when either is missing.
NodeNameProvider *open_provider() {
  orla_library_id *id = orla_slnk_allocate_library_id();
  if (id == nullptr) return nullptr;
  orla_status status;
  void *provider = nullptr;
  orla_slnk_load_library(kProviderLibrary, id, &status);
  if (status == 0) {
    provider = orla_slnk_get_proc_addr(id, kProviderSymbol, &status);
    if (provider == nullptr) orla_slnk_free_library(id);
  }
  orla_slnk_free_library_id(id);  // the library stays open without it
  return reinterpret_cast<NodeNameProvider *>(provider);
}

}  // namespace

void orla_get_user_name(char *out) noexcept {
  if (orla_ls_user != nullptr) return put_override(out, orla_ls_user);
  const orla::KeptErrno kept;
  // Quirk: the real id, here and for the group, not the effective one.
  const passwd *entry = getpwuid(getuid());
  entry != nullptr ? put_entry(out, entry->pw_name) : put_unknown(out);
}

void orla_get_group_name(char *out) noexcept {
  if (orla_ls_group != nullptr) return put_override(out, orla_ls_group);
  const orla::KeptErrno kept;
  const group *entry = getgrgid(getgid());
  entry != nullptr ? put_entry(out, entry->gr_name) : put_unknown(out);
}

void orla_get_node_name(char *out) noexcept {
  const orla::KeptErrno kept;
  if (node_name_provider == nullptr) node_name_provider = open_provider();
  if (node_name_provider == nullptr || node_name_provider(out) == 0) out[0] = '\0';
}
