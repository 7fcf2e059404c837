// The stamp at the head of a trace line.

#ifndef ORLA_SUPPORT_TRACE_STAMP_H
#define ORLA_SUPPORT_TRACE_STAMP_H

#include <cstddef>

namespace orla {

// With the longest process id that the field can take.
inline constexpr std::size_t kTraceStampSize = sizeof "MM/DD/YYYY hh:mm:ss 18446744073709551615 ";

// Writes "MM/DD/YYYY hh:mm:ss pid " of this moment, in the local zone, the hour padded with a blank, into
// kTraceStampSize bytes. Date and time are of one reading of the clock and one conversion, so that no line
// carries the date of one day and the time of the next.
//
// A second is converted once: where TZ is not set, a host's zone that changes shows in the second after.
// Like the trace writer it takes no lock.
void put_trace_stamp(char *out);

}  // namespace orla

#endif
