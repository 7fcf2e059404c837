#ifndef ORLA_TESTS_FAKES_STRFTIME_H
#define ORLA_TESTS_FAKES_STRFTIME_H

#include <cstddef>
#include <ctime>

#include "fake.h"

extern Fake<std::size_t(char *, std::size_t, const char *, const std::tm *)> fake_strftime;

#endif
