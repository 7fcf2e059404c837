#ifndef ORLA_TESTS_FAKES_FOPEN_H
#define ORLA_TESTS_FAKES_FOPEN_H

#include <cstdio>

#include "fake.h"

extern Fake<std::FILE *(const char *, const char *)> fake_fopen;

#endif
