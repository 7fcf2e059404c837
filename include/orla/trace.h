/** @file
 *  Trace writer: the library's one diagnostic channel.
 *
 *  A program formats one message and passes it to TavTrace(), which appends it to the file that the
 *  environment variable `K7LOG_PATH` names, with the local date, the time of day and the process id
 *  before it. It is a diagnostic aid, not a log that is guaranteed to be complete: no line waits
 *  for a lock, and no failure is reported to the caller.
 *
 *  A line of the trace file:
 *
 *      11/21/2026  9:05:07 4711 KVRCA0001I tavGetDisks: entering.
 *      date        time    pid  message
 *
 *  Once the file has grown past ORLA_TRACE_ROTATION_SIZE bytes it is renamed to its path with ".1"
 *  after it, in place of an earlier one, and the next line starts a new file. Processes may share a
 *  trace file: one of them renames it, and the others continue in the new file with their next
 *  lines. While somebody holds a lock on the file (flock()) it is not renamed until it is more
 *  than twice that size.
 *
 *  | variable     | read                       | effect                                       |
 *  | ------------ | -------------------------- | -------------------------------------------- |
 *  | `K7LIB_VERB` | when the library is loaded | "y" or "Y" first: ::orlalib_verbose is 255   |
 *  | `K7THR_VERB` | when the library is loaded | "y" or "Y" first: ::orlathr_verbose is 255   |
 *  | `K7LOG_PATH` | at every call              | path of the trace file; where it is not set, |
 *  |              |                            | the bare message goes to standard output     |
 *
 *  Any other value, or none, leaves a switch as it is. In a process that runs with another user's
 *  rights (set-user-ID and the like) all three count as not set.
 *
 *  What a caller must know:
 *  - A trace file is created with the process's file-creation mask at 0, so anybody may read and
 *    write it; when it cannot be opened, the mask stays 0.
 *  - After a change of `K7LOG_PATH`, lines keep going to the open file until a close request or a
 *    rotation, and a rotation renames the file at the new path.
 *  - On standard output a message that ends in a line feed is followed by an empty line.
 *  - Where daylight saving shifts by half an hour (Lord Howe Island), lines of the last half hour
 *    of a day with daylight saving carry the next day's date.
 *  - A process that traces nothing while others rotate the file twice writes its next line to a
 *    file that has been removed.
 *  - A library that is closed with dlclose() while the trace file is open leaves its descriptor
 *    open: send the close request first.
 *  - A 32-bit program cannot open a trace file over 2 GiB.
 *
 *  Threads: switches, buffer, stream and last stamp are plain globals; two threads that trace at
 *  the same time can mix their lines. Signal handlers must not trace.
 */
#ifndef ORLA_TRACE_H
#define ORLA_TRACE_H

#include <orla/base.h>

/** Bytes of ::statuslog, the terminator counted. */
#define ORLA_STATUSLOG_SIZE 1024

/** Bytes that a trace file may have after a line without being rotated. */
#define ORLA_TRACE_ROTATION_SIZE 4000000

ORLA_BEGIN_DECLS

/** Library trace switch: 0 is off; switching on stores 255. The library's services test it. */
ORLA_EXPORT extern int32_t orlalib_verbose;

/** Thread trace switch, same values. TavTrace() writes when either switch is on. */
ORLA_EXPORT extern int32_t orlathr_verbose;

/** Message buffer of the traced services: a line is formatted here and passed to TavTrace(). */
ORLA_EXPORT extern char statuslog[ORLA_STATUSLOG_SIZE];

/** Writes one trace line, or closes the trace file.
 *
 *  Does nothing while both switches are 0. In the trace file "%%" in the message becomes one
 *  percent sign and "%m" the text of `errno`; any other "%" is left as it is. On standard output
 *  the message is not changed, and a line feed follows it. In the file no line feed is added: a
 *  message has to contain its own. A line reaches the file in one write, whatever its length; when
 *  the heap is exhausted, one over 2,048 characters is cut, its line feed included.
 *
 *  @param[in] message  optional cstr; null is the close request: the trace file is closed.
 *  Errors: a file that cannot be opened is reported on standard error, at every call, and the line
 *  is lost. Every other failure is silent. `errno` stays as it was. A line past the process's limit
 *  of file sizes raises SIGXFSZ. With a FIFO as the trace file, opening waits for a reader, and a
 *  line written after the reader has gone raises SIGPIPE.
 *  Threads: shares the trace stream (serialise); not for signal handlers.
 */
ORLA_EXPORT void TavTrace(char *message) ORLA_NOEXCEPT;

ORLA_END_DECLS

#endif
