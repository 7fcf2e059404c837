// The stamp at the head of a trace line.

#ifndef ORLA_SUPPORT_TRACE_STAMP_H
#define ORLA_SUPPORT_TRACE_STAMP_H

namespace orla {

// "MM/DD/YYYY hh:mm:ss pid " for the present moment in the local zone, the hour padded with a
// space. Date and time come from one reading of the clock. The text is valid until the next call.
//
// A second is converted only once, so where TZ is not set a change of the host's zone shows from
// the next second on. Takes no lock.
//
// Quirk: for the date, daylight saving is one hour in every zone; for the time of day it is what
// the zone says. Where the zone says half an hour, the last half hour of a day with daylight saving
// has the next day's date.
const char *trace_stamp();

}  // namespace orla

#endif
