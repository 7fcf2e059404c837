/* What a program with another user's rights does with the environment of the user who starts it.

   privileged service     makes one traced call
   privileged line        switches tracing on itself and traces a line
   privileged profile     prints a value of the default profile, and whether the environment names it

   First it prints "root" where it has the rights of root, and else "user". */

#include <orla/inventory.h>
#include <orla/profile.h>
#include <orla/trace.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

static void print_value(void) {
  char path[ORLA_PROFILE_PATH_SIZE];
  char from_environment;
  char value[32];
  orla_cfg_get_private_profile_string("Main", "Secret", "none", value, sizeof value,
                                      ORLA_DEFAULT_PROFILE_PATH);
  orla_cfg_file(path, &from_environment);
  printf("%s %d\n", value, from_environment);
}

int main(int count, char **arguments) {
  int size;
  char line[] = "line";
  const char *what = count > 1 ? arguments[1] : "";

  printf("%s\n", geteuid() == 0 ? "root" : "user");
  if (strcmp(what, "service") == 0) tavGetMemorySize(&size);
  if (strcmp(what, "profile") == 0) print_value();
  if (strcmp(what, "line") == 0) {
    orlalib_verbose = 255;
    TavTrace(line);
  }
  return 0;
}
