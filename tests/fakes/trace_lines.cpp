#include "trace_lines.h"

constinit Fake<void(char *)> fake_TavTrace("TavTrace");

extern "C" void TavTrace(char *message) noexcept { fake_TavTrace(message); }
