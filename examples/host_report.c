/* Three families from C: host inventory, calendar and names.
 *
 *     cc host_report.c -lorla
 */

#include <orla/inventory.h>
#include <orla/names.h>
#include <orla/time.h>
#include <stdio.h>

int main(void) {
  char date[ORLA_DATE_TEXT_SIZE];
  char node[ORLA_NODE_NAME_SIZE];
  int processors = 0;
  int mebibytes = 0;

  if (tavGetOnlineProcs(&processors) != 0 || tavGetMemorySize(&mebibytes) != 0) {
    fprintf(stderr, "The kernel does not report the processors or the memory size.\n");
    return 1;
  }
  date_to_string(date, wek_date_stamp());
  orla_get_node_name(node);
  printf("%s: %s has %d processors and %d MiB\n", date, node, processors, mebibytes);
  return 0;
}
