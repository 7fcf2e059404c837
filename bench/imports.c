/* Takes the same names from the C library as ours does, and has nothing of its own. */

#define IMPORT(name) extern const char name[];
#include "imports.inc"
#undef IMPORT

#define IMPORT(name) name,
extern const char *const orla_bench_imports[];
const char *const orla_bench_imports[] = {
#include "imports.inc"
};
