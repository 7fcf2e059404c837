/** @file
 *  Profile files: values read by section and key, and one key rewritten at a time.
 *
 *  A profile file is a text of bracketed sections that hold key=value lines. Every call opens the
 *  file and reads it from the start; nothing of its content is kept. It is not an INI file of the
 *  usual kind: nothing is trimmed, there is no comment and no escape, and a section ends at an
 *  empty line, not at the next header.
 *
 *      file    = { line LF } [ rest ]          rest: a last line without LF; it is never seen
 *      line    = { any byte but LF }           every CR is dropped, wherever it stands
 *      header  = "[" name "]"                  the whole line, white space included
 *      section = header { line } empty-line    a header does not end it; the end of the file does
 *      entry   = a line that begins with the key
 *      value   = what follows the last "=" of the line, spaces included
 *
 *  - A byte 0xFF ends the file like its real end: what follows it is invisible and the unfinished
 *    line before it is lost. A rewrite drops both, as it drops a last line without a line feed.
 *    While it shortens a file, the writer itself puts this byte after the new text for a moment.
 *    Only orla_i_cfg_read_line() goes on after the byte, at its next call.
 *  - Lines, sections, keys and values may have any length. A zero byte in a line is kept when the
 *    line is copied; when the line is read it ends the text, as in any C string.
 *  - Letter case is ignored in section names and keys, for the letters A to Z only. All other bytes
 *    are compared unchanged.
 *
 *  What a caller must know:
 *  - The first line that *begins* with the key wins: key "Port" is found in "PortNumber=77".
 *  - A header does not end a section, so the search for a key runs on into the sections below until
 *    an empty line stops it.
 *  - The string reader compares only as many characters of a header as the section name has: "Main"
 *    is found in "[Main]", "[Maintenance]" and "[Mai". The integer reader and the writer compare
 *    the whole line.
 *  - The string reader and the writer look at the environment variable `ORLA_CONFIG` when they are
 *    given exactly ORLA_DEFAULT_PROFILE_PATH; the integer reader never does.
 *  - Success is 1 for the writer, 0 for create_temporary_name() and copy_file().
 *  - Each rewrite leaves one descriptor open in the process; see create_temporary_name().
 *
 *  While other processes use the file:
 *  - A rewrite overwrites the old text with the new one and then cuts off what is left of the old
 *    one. The file is never empty meanwhile, and a byte 0xFF hides that rest from readers.
 *  - A reader mostly finds the old text or the new one. In a file of more than a page (4 KiB) it
 *    can find the new text up to some point and the old one after it. In a smaller file a mixture
 *    is rare: a few of a million reads find the two mixed, or the new text cut at the length of the
 *    old one. A key may then be missing, or a value wrong. A caller for whom that matters reads
 *    again.
 *  - A process that is killed during a rewrite leaves the old text or the new one; in a file of
 *    more than a page it may also leave the new one up to some point and the old one after it. The
 *    whole new text is then in /tmp/K7......, and can be copied over the file.
 *  - Nothing is locked. Each of two writers writes the text that it read with its own key changed,
 *    so the other's change is lost; where both copy at the same time the file may be a mixture. Let
 *    only one write at a time.
 *
 *  Threads: the functions share no state but the path that orla_cfg_file() keeps. They need at most
 *  8 KiB of stack, and heap memory for files of more than 2 KiB.
 *
 *  errno: left alone, except when a function fails to write a file; see its description.
 *
 *  Privileged programs: in a process that runs with another user's rights, such as a set-user-ID
 *  program, `ORLA_CONFIG` counts as not set.
 */
#ifndef ORLA_PROFILE_H
#define ORLA_PROFILE_H

#include <orla/base.h>
#include <stdio.h>

/** The default profile: in force unless the environment names another. */
#define ORLA_DEFAULT_PROFILE_PATH "/opt/tav/ls/conf/k7ls.ini"

/** Bytes of the path that orla_cfg_file() stores, the terminator counted. */
#define ORLA_PROFILE_PATH_SIZE 256

/** Bytes that the line buffer of orla_i_cfg_read_line() needs, the terminator counted. */
#define ORLA_PROFILE_LINE_SIZE 512

/** Bytes of the name that create_temporary_name() stores, the terminator counted. */
#define ORLA_TEMPORARY_NAME_SIZE 14

ORLA_BEGIN_DECLS

/** Reads a number.
 *
 *  The digits 0 to 9 at the start of the value count, up to the first other character. A value that
 *  starts with anything else, such as a space or a sign, is 0, not the default.
 *
 *  @param[in] section   cstr, without brackets.
 *  @param[in] key       cstr; "" is found in the first line of the section.
 *  @param[in] fallback  the result for a file that does not open, a section or key that is not
 *                       found, a line without "=", and a value of no or of more than 5 characters.
 *  @param[in] path      cstr; always this file, whatever `ORLA_CONFIG` is.
 *  @return    0 to 99999, or `fallback`.
 *  Errors: `fallback`; a failed read counts as the end of the file. Threads: safe.
 */
ORLA_EXPORT int orla_cfg_get_private_profile_int(const char *section, const char *key, int fallback,
                                                 const char *path) ORLA_NOEXCEPT;

/** Reads a string.
 *
 *  A value that is empty or only spaces gives the default too; pass a null default to get such a
 *  value as it is. A default of `size` characters or more fills the buffer and leaves it
 *  without a terminator.
 *
 *  @param[in]  section   cstr, without brackets; for "" the first line of the file counts as the
 *                        header.
 *  @param[in]  key       cstr; "" is found in the first line of the section.
 *  @param[in]  fallback  optional cstr, shorter than `size`; null counts as an empty string.
 *  @param[out] text      char[size]: the value, cut at size - 1 characters, and zero bytes to the
 *                        end.
 *  @param[in]  size      0: nothing is written; 1: an empty string; the result is 0 in both cases.
 *  @param[in]  path      cstr; ORLA_DEFAULT_PROFILE_PATH stands for the file that `ORLA_CONFIG`
 *                        names, where it is set, even when that file does not open.
 *  @return     characters of the value in `text`, or the length of `fallback`.
 *  Errors: `fallback`, for everything that is not found; a failed read counts as the end of the
 *  file.
 *  Threads: safe, as long as the environment does not change.
 */
ORLA_EXPORT unsigned orla_cfg_get_private_profile_string(const char *section, const char *key,
                                                         const char *fallback, char *text,
                                                         unsigned size,
                                                         const char *path) ORLA_NOEXCEPT;

/** Writes one key, through a temporary copy of the file in /tmp.
 *
 *  The entry "key=value" takes the place of the first line of the section that begins with the key;
 *  without such a line it goes before the empty line that ends the section, or to the end of the
 *  file. A missing section is appended after an empty line. The file is rewritten in place, so it
 *  keeps its owner, its permissions and its links. All of it is rewritten: carriage returns, a last
 *  line without a line feed and everything from a byte 0xFF on are dropped. The arguments are not
 *  checked: a line feed in them starts a new line in the file.
 *
 *  The file is opened for writing only when the temporary copy is complete. When the new text needs
 *  more room than the file has, that room is reserved first, and stays reserved during the copy;
 *  without room the file stays as it was. File systems that cannot reserve room, and those that
 *  write each change to a new place, may become full during the copy: what does not fit is then
 *  lost.
 *
 *  @param[in] section  cstr, without brackets.
 *  @param[in] key      cstr; "" is found in the first line of the section, even in an empty one.
 *  @param[in] value    cstr.
 *  @param[in] path     cstr, of a file that is read and rewritten. When it is missing (ENOENT) or
 *                      may not be read (EACCES, EPERM), a new file with the header and the entry
 *                      alone takes its place. Any other error on opening it is a failure.
 *                      ORLA_DEFAULT_PROFILE_PATH stands for the file that `ORLA_CONFIG` names. On a
 *                      FIFO the call waits until another process has opened its other end.
 *  @return    1 on success, 0 on failure. After a failure the file is as it was, with two
 *             exceptions: it is empty when copy_file() could not open the temporary copy, and a new
 *             file that could not be written completely is left as it is.
 *             Quirk: what copy_file() cannot write to the file, or cannot read of the temporary
 *             copy, is missing from the file, but the result is 1.
 *  Errors: 0; `errno` says why. When the temporary file cannot be opened by its name, it is left in
 *  /tmp, empty. A file larger than the process may write (RLIMIT_FSIZE) ends it by SIGXFSZ, unless
 *  that signal is ignored or handled.
 *  Threads: safe, as long as the environment does not change; two writers to one file lose entries.
 */
ORLA_EXPORT int orla_cfg_write_private_profile_string(const char *section, const char *key,
                                                      const char *value,
                                                      const char *path) ORLA_NOEXCEPT;

/** Tells which profile is in force: the file that `ORLA_CONFIG` names, if it opens for reading, and
 *  ORLA_DEFAULT_PROFILE_PATH otherwise.
 *
 *  Decided at the first call in the process; later changes of the variable or of the files have no
 *  effect. A name of more than 255 characters counts as a file that does not open.
 *
 *  @param[out] path              char[ORLA_PROFILE_PATH_SIZE], always terminated.
 *  @param[out] from_environment  optional char: 1 when `ORLA_CONFIG` named the file, otherwise 0.
 *  Errors: none. Threads: the first call stores the path without a lock (serialise).
 */
ORLA_EXPORT void orla_cfg_file(char *path, char *from_environment) ORLA_NOEXCEPT;

/** Reads one line of a profile file from a stream, without its line feed and carriage returns.
 *
 *  Of a longer line the first 511 characters are kept and the rest is dropped. After a byte 0xFF,
 *  reading continues with the character that follows it.
 *
 *  @param[in]  stream  open for reading.
 *  @param[out] line    char[ORLA_PROFILE_LINE_SIZE]; terminated when the result is 1. When it is 0,
 *                      it holds what has been read of the line, without a terminator.
 *  @return     1, or 0 at the end of the file or at a byte 0xFF: a line without a line feed is
 *              lost.
 *  Errors: count as the end of the file. Threads: safe, each with a stream of its own.
 */
ORLA_EXPORT int orla_i_cfg_read_line(FILE *stream, char *line) ORLA_NOEXCEPT;

/** Creates an empty file "/tmp/K7......" that only its owner may read and write.
 *
 *  Quirk: the descriptor on the file stays open, so every call, and with it every rewrite, costs
 *  the process one descriptor. Child processes inherit it. A rewrite empties the file before it
 *  removes it, so that the descriptor shows nothing and uses no room in /tmp.
 *
 *  @param[out] name  char[ORLA_TEMPORARY_NAME_SIZE], terminated.
 *  @return     0, or 1 when no file could be created: `errno` says why, and `name` holds no name.
 *  Threads: safe.
 */
ORLA_EXPORT int create_temporary_name(char *name) ORLA_NOEXCEPT;

/** Copies a file byte by byte into another one, which is created or rewritten in place.
 *
 *  The destination is not emptied first: it is overwritten from its start, with one write for less
 *  than 1 MiB, and cut to its new length at the end. Until then a byte 0xFF follows the new content
 *  of a file that becomes shorter. A file copied onto itself becomes empty.
 *
 *  Quirk: a failed write is not noticed, and neither is a failed read, which ends the copy: the
 *  result is 0, and the destination lacks what was not copied.
 *
 *  @param[in] source       cstr.
 *  @param[in] destination  cstr.
 *  @return    0, or 1 when either does not open: `errno` says why, and a destination that was
 *             opened is empty.
 *  Threads: safe.
 */
ORLA_EXPORT int copy_file(const char *source, const char *destination) ORLA_NOEXCEPT;

ORLA_END_DECLS

#endif
