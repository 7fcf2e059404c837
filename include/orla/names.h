/** @file
 *  Names: the user and the group that this process runs as, and the node it runs on.
 *
 *  User and group are those of the real ids, not of the effective ones. A program may set names of
 *  its own in their place, with ::orla_ls_user and ::orla_ls_group.
 *
 *  The node's name comes from a provider, the function
 *
 *      int orla_node_name(char *out);    // fills out, at most ORLA_NODE_NAME_SIZE bytes, and
 *                                        // returns non-zero; or returns 0
 *
 *  of the companion library `liborlanode.so`. The one that comes with orla gives the host's own
 *  name, as `uname -n` does. It is opened with the functions of orla/loader.h by its bare name, and
 *  so looked for in the directories of LD_LIBRARY_PATH, then in that of orla itself, then in those
 *  of the system, and last in /opt/tav/ls/dll/. To get another node name, install another library
 *  under this file name.
 *
 *  What a caller must know:
 *  - Names of users and groups are cut at 31 characters. A longer one is cut in the entry of
 *    getpwuid() or getgrgid() itself, which the whole process shares.
 *  - When the companion lacks the provider, the loader prints a line about it on standard output.
 *
 *  `errno` is left alone by every function here.
 */
#ifndef ORLA_NAMES_H
#define ORLA_NAMES_H

#include <orla/base.h>

/** Bytes of a user or group name, the terminator counted. */
#define ORLA_NAME_SIZE 32

/** Bytes of a node name, the terminator counted. */
#define ORLA_NODE_NAME_SIZE 65

ORLA_BEGIN_DECLS

/** User name that replaces the system's; null, as when the library is loaded, for the system's. */
ORLA_EXPORT extern const char *orla_ls_user;

/** Group name that replaces the system's; null, as when the library is loaded, for the system's. */
ORLA_EXPORT extern const char *orla_ls_group;

/** Gives the name of the real user.
 *
 *  @param[out] out  char[32], always terminated; after a name from ::orla_ls_user the rest is
 *                   zeros.
 *  Errors: a user id without an entry is "unknown".
 *  Threads: shares the entry of getpwuid() (serialise).
 */
ORLA_EXPORT void orla_get_user_name(char *out) ORLA_NOEXCEPT;

/** Gives the name of the real group.
 *
 *  @param[out] out  char[32], always terminated; after a name from ::orla_ls_group the rest is
 *                   zeros.
 *  Errors: a group id without an entry is "unknown".
 *  Threads: shares the entry of getgrgid() (serialise).
 */
ORLA_EXPORT void orla_get_group_name(char *out) ORLA_NOEXCEPT;

/** Gives the name of this node.
 *
 *  The companion is opened at the first call and kept open. Until it can be opened, every call
 *  tries again, so that a companion installed later is found.
 *
 *  @param[out] out  char[65], always terminated.
 *  Errors: the empty string when there is no provider or when it has no name. The loader traces a
 *  companion that does not open, and prints a line on standard output about one without the
 *  provider.
 *  Threads: safe once a call has found the provider; until then calls share the pointer to it
 *  (serialise).
 */
ORLA_EXPORT void orla_get_node_name(char *out) ORLA_NOEXCEPT;

ORLA_END_DECLS

#endif
