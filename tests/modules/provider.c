/* A node-name provider of a program's own. */

#include <string.h>

int orla_node_name(char *out);
int orla_node_name(char *out) {
  strcpy(out, "node-of-a-module");
  return -1; /* whatever is not 0 is a name */
}
