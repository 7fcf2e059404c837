// Fake of what the kernel reports about this node.

#ifndef ORLA_TESTS_FAKES_NODE_H
#define ORLA_TESTS_FAKES_NODE_H

#include <sys/utsname.h>

#include "fake.h"

extern Fake<int(utsname *)> fake_uname;

#endif
