// A moment in the local zone.
//
// A moment that the C library cannot convert gets the fields of one 28, 56 or 84 years earlier,
// with the years added again.

#ifndef ORLA_TIME_LOCAL_TIME_H
#define ORLA_TIME_LOCAL_TIME_H

#include <cstdint>
#include <ctime>

#include "time/clock.h"

namespace orla {

// Local calendar fields: the C library's static record. Null when the moment cannot be converted.
std::tm *local_fields(const Moment &moment);

// Seconds west of UTC: those of the zone (`timezone`), less one hour while daylight saving is in
// effect. A negative daylight flag is set to 0 in the record itself. Null fields: the moment cannot
// be converted, and the zone alone counts.
std::int32_t offset_west_of_utc(long zone, std::tm *fields);

}  // namespace orla

#endif
