/* Prints both trace switches as the library set them when it was loaded. */

#include <orla/trace.h>
#include <stdio.h>

int main(void) {
  printf("%d %d", orlalib_verbose, orlathr_verbose);
  return 0;
}
