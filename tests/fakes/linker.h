// Fakes of the dynamic linker. Its look-up, dlsym(), is needed by the fakes themselves and stays
// real.

#ifndef ORLA_TESTS_FAKES_LINKER_H
#define ORLA_TESTS_FAKES_LINKER_H

#include "fake.h"

extern Fake<void *(const char *path, int flags)> fake_dlopen;
extern Fake<int(void *handle)> fake_dlclose;
extern Fake<char *()> fake_dlerror;

#endif
