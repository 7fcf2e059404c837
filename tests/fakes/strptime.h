#ifndef ORLA_TESTS_FAKES_STRPTIME_H
#define ORLA_TESTS_FAKES_STRPTIME_H

#include <ctime>

#include "fake.h"

extern Fake<char *(const char *, const char *, std::tm *)> fake_strptime;

#endif
