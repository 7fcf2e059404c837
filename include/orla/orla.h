/** @file
 *  All of orla: includes the header of every family.
 *
 *  A program that defines an exported function itself replaces it, also for those calls of the
 *  library itself that orla(3) lists in "Interposition".
 */
#ifndef ORLA_ORLA_H
#define ORLA_ORLA_H

#include <orla/byteorder.h>
#include <orla/inventory.h>
#include <orla/loader.h>
#include <orla/names.h>
#include <orla/profile.h>
#include <orla/time.h>
#include <orla/token.h>
#include <orla/trace.h>
#include <orla/uuid.h>

#endif
