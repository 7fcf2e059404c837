/* Prints the profile in force, whether the environment names it, and what the string reader finds in the
 * default profile. */
#include <orla/profile.h>
#include <stdio.h>

int main(void) {
  char path[ORLA_PROFILE_PATH_SIZE];
  char text[64];
  char from_environment;

  orla_cfg_file(path, &from_environment);
  orla_cfg_get_private_profile_string("Main", "Name", "none", text, sizeof text,
                                      ORLA_DEFAULT_PROFILE_PATH);
  printf("%s %d %s\n", path, from_environment, text);
  return 0;
}
