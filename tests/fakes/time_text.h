// Fakes of the C library's functions from time to text and back.

#ifndef ORLA_TESTS_FAKES_TIME_TEXT_H
#define ORLA_TESTS_FAKES_TIME_TEXT_H

#include <cstddef>
#include <ctime>

#include "fake.h"

extern Fake<std::size_t(char *, std::size_t, const char *, const std::tm *)> fake_strftime;
extern Fake<char *(const char *, const char *, std::tm *)> fake_strptime;

#endif
