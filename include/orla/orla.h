/** @file
 *  All of orla: includes the header of every family.
 */
#ifndef ORLA_ORLA_H
#define ORLA_ORLA_H

#include <orla/inventory.h>
#include <orla/profile.h>
#include <orla/time.h>
#include <orla/trace.h>

#endif
