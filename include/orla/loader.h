/** @file
 *  Dynamic library loader: opens a shared library by name while the process runs, looks symbols up
 *  in it, and releases it.
 *
 *  It is a thin layer over dlopen(), dlsym(), dlclose() and dlerror() that adds a heap record for
 *  the handle, a second attempt in a fixed directory, and a status. It keeps no list of open
 *  libraries and does not find the library of a symbol: one record, one library.
 *
 *      orla_library_id *id = orla_slnk_allocate_library_id();
 *      orla_status status;
 *      orla_slnk_load_library("libanswer.so", id, &status);
 *      if (status == 0) {
 *        void *answer = orla_slnk_get_proc_addr(id, "answer", &status);
 *        ...
 *        orla_slnk_free_library(id);
 *      }
 *      orla_slnk_free_library_id(id);
 *
 *  After its library is freed, a record may be loaded again. No function changes `errno`.
 *
 *  What a caller must know:
 *  - A missing symbol is reported on standard output, whatever the trace switches are.
 *  - A symbol whose value is null counts as missing.
 *  - A successful look-up does not clear the status: after a failed one it is ::ORLA_LOADER_FAILED
 *    until the caller sets it to 0.
 *  - The handle in a record that was never loaded is not set. After a failed load it is null: a
 *    look-up then sees the whole program, and the library must not be freed.
 *  - Freeing the library leaves its handle in the record; the handle is no longer valid.
 *  - A name that has a slash but does not begin with one is a path from the current directory,
 *    which the user who starts the program chooses.
 *
 *  Only a failed load is traced (orla/trace.h).
 */
#ifndef ORLA_LOADER_H
#define ORLA_LOADER_H

#include <orla/base.h>

/** Where a library is looked for when its plain name does not open; with the closing slash. */
#define ORLA_LIBRARY_FALLBACK_DIRECTORY "/opt/tav/ls/dll/"

/** Longest name, in characters, that is looked for in ::ORLA_LIBRARY_FALLBACK_DIRECTORY. */
#define ORLA_LIBRARY_FALLBACK_NAME_MAX 239

/** Status of every failure of the loader. */
#define ORLA_LOADER_FAILED 0x1D01001Fu

ORLA_BEGIN_DECLS

/** Library id: the record on the heap that holds the handle of one library. */
typedef struct orla_library_id orla_library_id;

/** Allocates a library id. Its handle is not set.
 *
 *  @return  the new record, to be released with orla_slnk_free_library_id(); null when the heap is
 *           exhausted.
 *  Errors: see the result; nothing is reported. Threads: safe.
 */
ORLA_EXPORT orla_library_id *orla_slnk_allocate_library_id(void) ORLA_NOEXCEPT;

/** Opens a shared library; resolves all its symbols at once and makes none of them global.
 *
 *  The name is first given to the dynamic linker unchanged, which looks for a name without a slash
 *  in the directory of this library too. When that fails, ::ORLA_LIBRARY_FALLBACK_DIRECTORY is put
 *  before the name, even when the name has a slash. A name of more than
 *  ::ORLA_LIBRARY_FALLBACK_NAME_MAX characters gets no second attempt, and one of several megabytes
 *  makes the linker run out of stack. A handle that the id held before is lost.
 *
 *  @param[in]     name    cstr; soname, file name or path.
 *  @param[in,out] id      its handle is written; null when the library did not open.
 *  @param[out]    status  0 or ::ORLA_LOADER_FAILED.
 *  Errors: while ::orlalib_verbose is on, a library that does not open by either name is traced,
 *  with the name and the linker's text on the last attempt, together cut at 255 characters. The
 *  trace writer expands them like every message: "%%" in a name becomes one percent sign, "%m" the
 *  text of `errno`. Afterwards dlerror() returns null, also while tracing is off.
 *  Threads: safe, each on an id of its own, unless tracing is on.
 */
ORLA_EXPORT void orla_slnk_load_library(const char *name, orla_library_id *id,
                                        orla_status *status) ORLA_NOEXCEPT;

/** Looks a symbol up in the library of an id.
 *
 *  @param[in]  id      loaded. After a failed load the look-up sees the whole program.
 *  @param[in]  symbol  cstr.
 *  @param[out] status  ::ORLA_LOADER_FAILED on failure; left as it was on success.
 *  @return     address, or null for a symbol that is missing or whose value is null.
 *  Errors: a failure is printed on standard output with the linker's text:
 *  "Error looking up procedure answer\n,/usr/lib/libanswer.so: undefined symbol: answer\n". That
 *  text begins with the path at which the linker found the library.
 *  Threads: safe.
 */
ORLA_EXPORT void *orla_slnk_get_proc_addr(const orla_library_id *id, const char *symbol,
                                          orla_status *status) ORLA_NOEXCEPT;

/** Closes the library of an id. The handle stays in the id but is no longer valid.
 *
 *  @param[in] id  loaded.
 *  @return    result of dlclose(): 0, or non-zero on failure.
 *  Errors: see the result. Threads: safe, each on an id of its own.
 */
ORLA_EXPORT int orla_slnk_free_library(const orla_library_id *id) ORLA_NOEXCEPT;

/** Releases a library id. A library that is still open stays open.
 *
 *  @param[in] id  optional; made by orla_slnk_allocate_library_id().
 *  Errors: none. Threads: safe.
 */
ORLA_EXPORT void orla_slnk_free_library_id(orla_library_id *id) ORLA_NOEXCEPT;

ORLA_END_DECLS

#endif
