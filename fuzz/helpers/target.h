// Every fuzz target defines this one function. libFuzzer calls it, or replay.cpp with the files of
// the target's corpus.

#ifndef ORLA_FUZZ_HELPERS_TARGET_H
#define ORLA_FUZZ_HELPERS_TARGET_H

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

#endif
