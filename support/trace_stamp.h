// The stamp at the head of a trace line.

#ifndef ORLA_SUPPORT_TRACE_STAMP_H
#define ORLA_SUPPORT_TRACE_STAMP_H

namespace orla {

// "MM/DD/YYYY hh:mm:ss pid " of this moment, in the local zone, the hour padded with a blank. Date and time
// are of one reading of the clock and one conversion, so that no line carries the date of one day and the
// time of the next. Good until the next call; like the trace writer it takes no lock.
const char *trace_stamp();

}  // namespace orla

#endif
