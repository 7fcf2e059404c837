/* A node-name provider that writes and then has no name to give. */

#include <string.h>

int orla_node_name(char *out);
int orla_node_name(char *out) {
  strcpy(out, "written all the same");
  return 0;
}
