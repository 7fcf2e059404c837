/** @file
 *  What every header of orla rests on: fixed-width integers, the export mark, and the macros that let
 *  one declaration serve C and C++. It declares no function; include the header of the family you need.
 */
#ifndef ORLA_BASE_H
#define ORLA_BASE_H

#include <orla/export.h>
#include <stdint.h>

#ifdef __cplusplus
#define ORLA_BEGIN_DECLS extern "C" {
#define ORLA_END_DECLS }
#define ORLA_NOEXCEPT noexcept
#else
#define ORLA_BEGIN_DECLS
#define ORLA_END_DECLS
#define ORLA_NOEXCEPT
#endif

/** Status of a service: 0 is success; each family states its own failure values. */
typedef uint32_t orla_status;

#endif
