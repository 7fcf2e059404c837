// Fakes of the ids of this process and of the users and groups of the host.

#ifndef ORLA_TESTS_FAKES_USERS_H
#define ORLA_TESTS_FAKES_USERS_H

#include <grp.h>
#include <pwd.h>
#include <sys/types.h>

#include "fake.h"

extern Fake<uid_t()> fake_getuid;
extern Fake<gid_t()> fake_getgid;
extern Fake<passwd *(uid_t)> fake_getpwuid;
extern Fake<group *(gid_t)> fake_getgrgid;

#endif
