/* Prints the node's name as a program that knows nothing of the companion gets it. */

#include <orla/names.h>
#include <stdio.h>

int main(void) {
  char name[ORLA_NODE_NAME_SIZE];
  orla_get_node_name(name);
  return printf("%s\n", name) < 0;
}
