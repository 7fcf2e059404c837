#include "users.h"

#include <unistd.h>

constinit Fake<uid_t()> fake_getuid("getuid");
constinit Fake<gid_t()> fake_getgid("getgid");
constinit Fake<passwd *(uid_t)> fake_getpwuid("getpwuid");
constinit Fake<group *(gid_t)> fake_getgrgid("getgrgid");

extern "C" {

uid_t getuid() noexcept { return fake_getuid(); }

gid_t getgid() noexcept { return fake_getgid(); }

passwd *getpwuid(uid_t user) { return fake_getpwuid(user); }

group *getgrgid(gid_t group_id) { return fake_getgrgid(group_id); }
}
