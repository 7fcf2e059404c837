// Both profile readers, compared with the plain version, whose file is a string.
//
//     section / key / default / buffer size / padding / its width / file
//
// Each but the last is a line.

#include <orla/profile.h>

#include <string>
#include <vector>

#include "helpers/agree.h"
#include "helpers/block.h"
#include "helpers/input.h"
#include "helpers/memory_file.h"
#include "helpers/padding.h"
#include "helpers/target.h"
#include "plain/profile.h"

namespace {

constexpr int kLargestBuffer = 600;
constexpr int kFallback = -7;

MemoryFile profile;

struct Question {
  Text section;
  Text key;
  std::string fallback;
  int size;
};

void check_int(Question &question, const std::string &file) {
  agree("integer",
        orla_cfg_get_private_profile_int(question.section, question.key, kFallback, profile.path()),
        plain::read_int(file, question.section, question.key, kFallback));
}

// `fallback` may be null.
void check_string(Question &question, const char *fallback, const std::string &file) {
  Block text(static_cast<std::size_t>(question.size));
  const unsigned length =
      orla_cfg_get_private_profile_string(question.section, question.key, fallback, text.data(),
                                          static_cast<unsigned>(question.size), profile.path());
  std::vector<char> expected(static_cast<std::size_t>(question.size));
  const unsigned expected_length =
      question.size < 2
          ? 0
          : plain::read_string(file, question.section, question.key, fallback, expected);
  agree("length", length, expected_length);
  agree("buffer", text.bytes(), std::string(expected.begin(), expected.end()));
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  Input input(data, size);
  Text section(input.line());
  Text key(input.line());
  const std::string fallback = input.line();
  Question question = {std::move(section), std::move(key), fallback,
                       input.number(0, kLargestBuffer)};
  const std::string file = take_padding(input) + input.bytes();
  profile.put(file);
  check_int(question, file);
  check_string(question, Text(fallback), file);
  check_string(question, nullptr, file);
  return 0;
}
