// Messages that are read as a format without arguments: a trace line, and a printed date line.
//
//     error number / date number / message: each but the last is a line

#include <orla/time.h>
#include <orla/trace.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "fakes/clock.h"
#include "helpers/agree.h"
#include "helpers/block.h"
#include "helpers/input.h"
#include "helpers/memory_file.h"
#include "helpers/target.h"
#include "plain/percent_text.h"

namespace {

constexpr int kErrors = 200;

MemoryFile trace;

// At 2007-02-03 14:05:07.
const ClockAt clock_at(1170511507);

bool switch_on() {
  orlalib_verbose = 255;
  return setenv("TZ", "UTC0", 1) == 0 && setenv("K7LOG_PATH", trace.path(), 1) == 0;
}
[[maybe_unused]] const bool is_on = switch_on();

std::string stamp() { return "02/03/2007 14:05:07 " + std::to_string(getpid()) + " "; }

void check_trace(const std::string &message, int error) {
  trace.put("");
  Text text(message);
  errno = error;
  TavTrace(text.data());
  agree("trace line", trace.get(), stamp() + plain::percent_text(message, error));
}

void check_date_line(const std::string &prefix, std::uint16_t date, int error) {
  char *written = nullptr;
  std::size_t size = 0;
  std::FILE *stream = open_memstream(&written, &size);
  Text text(prefix);
  errno = error;
  const int result = fprint_date_line(stream, date, text);
  std::fclose(stream);
  char day[ORLA_DATE_TEXT_SIZE];
  date_to_string(day, date);
  const std::string expected = plain::percent_text(prefix, error) + day + "\n";
  agree("date line", std::string(written, size), expected);
  agree("result", result, static_cast<int>(expected.size()));
  std::free(written);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  Input input(data, size);
  const int error = input.number(0, kErrors);
  const auto date = static_cast<std::uint16_t>(input.number(0, UINT16_MAX));
  check_trace(input.text(), error);
  check_date_line(input.text(), date, error);
  return 0;
}
