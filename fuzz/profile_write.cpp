// The profile writer, compared with the plain version, whose file is a string.
//
//     section / key / value / padding / its width / file
//
// Each but the last is a line.

#include <orla/profile.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "helpers/agree.h"
#include "helpers/block.h"
#include "helpers/input.h"
#include "helpers/memory_file.h"
#include "helpers/padding.h"
#include "helpers/target.h"
#include "plain/profile.h"

namespace {

MemoryFile profile;
MemoryFile temporary;

}  // namespace

// Each real one would leave a descriptor open.
extern "C" int mkstemp(char *name) {
  temporary.put("");
  std::strcpy(name, temporary.path());
  return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  Input input(data, size);
  Text section(input.line());
  Text key(input.line());
  Text value(input.line());
  const std::string file = take_padding(input) + input.bytes();
  profile.put(file);
  agree("result", orla_cfg_write_private_profile_string(section, key, value, profile.path()), 1);
  agree("file", profile.get(), plain::write(file, section, key, value));
  return 0;
}
