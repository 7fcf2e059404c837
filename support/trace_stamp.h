// The stamp at the head of a trace line.

#ifndef ORLA_SUPPORT_TRACE_STAMP_H
#define ORLA_SUPPORT_TRACE_STAMP_H

namespace orla {

// "MM/DD/YYYY hh:mm:ss pid " for the present moment in the local zone, the hour padded with a
// blank. Date and time are of one reading of the clock. The text is good until the next call.
//
// Each second is converted once: where TZ is not set, a change of the host's zone shows from the
// next second on. Takes no lock.
//
// Quirk: the date takes daylight saving as one hour in every zone, the time of day as what it is.
// Where it is half an hour, the last half hour of a summer day carries the date of the next.
const char *trace_stamp();

}  // namespace orla

#endif
