// The stamp at the head of a trace line.

#ifndef ORLA_SUPPORT_TRACE_STAMP_H
#define ORLA_SUPPORT_TRACE_STAMP_H

#include <cstddef>

namespace orla {

// Of the longest text: a process id has at most 20 digits.
inline constexpr std::size_t kTraceStampSize = sizeof "MM/DD/YYYY hh:mm:ss 18446744073709551615 ";

// Writes "MM/DD/YYYY hh:mm:ss pid " for the present moment in the local zone into kTraceStampSize
// bytes, the hour padded with a blank. Date and time are of one reading of the clock.
//
// Each second is converted once: where TZ is not set, a change of the host's zone shows from the
// next second on. Takes no lock.
//
// Quirk: the date takes daylight saving as one hour in every zone, the time of day as what it is.
// Where it is half an hour, the last half hour of a summer day carries the date of the next.
void put_trace_stamp(char *out);

}  // namespace orla

#endif
