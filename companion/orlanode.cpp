// The companion library that gives the node's name: the host's own, as the kernel has it.
//
// Another library of the same name, with the same function, may be installed instead.

#include <orla/names.h>
#include <sys/utsname.h>

#include <cstring>

// Not in a header: programs call orla_get_node_name(), which looks this function up by its name.
extern "C" ORLA_EXPORT int orla_node_name(char *out) noexcept;

static_assert(sizeof(utsname::nodename) == ORLA_NODE_NAME_SIZE, "the kernel's field fits");

int orla_node_name(char *out) noexcept {
  utsname host;
  if (uname(&host) != 0) return 0;
  std::strcpy(out, host.nodename);  // the kernel terminates it
  return 1;
}
