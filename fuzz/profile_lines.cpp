// The line reader of profile files, byte by byte.

#include <orla/profile.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "helpers/agree.h"
#include "helpers/block.h"
#include "helpers/input.h"
#include "helpers/target.h"
#include "plain/profile.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  std::string file = Input(data, size).bytes();
  plain::Reader reader(file);
  std::FILE *stream = fmemopen(file.data(), file.size(), "r");
  Block buffer(ORLA_PROFILE_LINE_SIZE);
  bool more;
  do {
    std::string line;
    more = reader.read_line(line);
    agree("result", orla_i_cfg_read_line(stream, buffer.data()), more ? 1 : 0);
    if (!more) break;
    line.resize(std::min<std::size_t>(line.size(), ORLA_PROFILE_LINE_SIZE - 1));
    agree("line", buffer.bytes().substr(0, line.size() + 1), line + '\0');
  } while (more);
  std::fclose(stream);
  return 0;
}
