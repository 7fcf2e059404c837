// Fakes of the calls that ask for a file's status, lock it and rename it.

#ifndef ORLA_TESTS_FAKES_FILE_STATUS_H
#define ORLA_TESTS_FAKES_FILE_STATUS_H

#include <sys/stat.h>

#include "fake.h"

extern Fake<int(int descriptor, int operation)> fake_flock;
extern Fake<int(int, struct stat *)> fake_fstat;
extern Fake<int(const char *, const char *)> fake_rename;
extern Fake<int(int folder, const char *path, int flags, unsigned mask, struct statx *out)>
    fake_statx;

#endif
