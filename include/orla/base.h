/** @file
 *  What every header of orla needs: fixed-width integers, the export mark, and the macros that let
 *  one declaration serve C and C++. It declares no function; include the header of the family you
 *  need.
 */
#ifndef ORLA_BASE_H
#define ORLA_BASE_H

#include <stdint.h>

/** Marks what the library exports; everything else in it is hidden. */
#define ORLA_EXPORT __attribute__((visibility("default")))

#ifndef __cplusplus
/** Begins declarations, in C++ with C linkage. */
#define ORLA_BEGIN_DECLS
/** Ends declarations. */
#define ORLA_END_DECLS
/** Says in C++ that a function throws nothing. */
#define ORLA_NOEXCEPT
#else
#define ORLA_BEGIN_DECLS extern "C" {
#define ORLA_END_DECLS }
#define ORLA_NOEXCEPT noexcept
#endif

/** Status of a service: 0 is success; each family states its own failure values. */
typedef uint32_t orla_status;

#endif
