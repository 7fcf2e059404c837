// Fake of the environment as it is read in a process that may run with another user's rights.

#ifndef ORLA_TESTS_FAKES_SECURE_GETENV_H
#define ORLA_TESTS_FAKES_SECURE_GETENV_H

#include "fake.h"

extern Fake<char *(const char *name)> fake_secure_getenv;

#endif
