/** @file
 *  All of orla: includes the header of every family.
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
