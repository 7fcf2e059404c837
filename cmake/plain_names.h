// Included before every unit of the library: it calls scanf() and strtol() of the C library by
// these plain names, which programs may define themselves. Otherwise the headers would use other
// names, newer ones with each revision of the language: __isoc99_sscanf, and since glibc 2.38
// __isoc23_strtol, which reads "0b1" too where the base is left open.

#if __has_include(<features.h>)
#include <features.h>
#ifdef __GLIBC__
#undef __GLIBC_USE_C2X_STRTOL
#define __GLIBC_USE_C2X_STRTOL 0
#undef __GLIBC_USE_C23_STRTOL
#define __GLIBC_USE_C23_STRTOL 0
#undef __GLIBC_USE_DEPRECATED_SCANF
#define __GLIBC_USE_DEPRECATED_SCANF 1
#endif
#endif
