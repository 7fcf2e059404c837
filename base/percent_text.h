// Text that is read as a printf() format without arguments, without printf()'s risk.
//
// "%%" is one percent sign and "%m" the text of an error number, as printf() has them. Any other "%"
// would fetch an argument that nobody passed; it stands as it is.

#ifndef ORLA_BASE_PERCENT_TEXT_H
#define ORLA_BASE_PERCENT_TEXT_H

#include <cstddef>
#include <cstdio>

namespace orla {

// One contiguous text: `head` and `tail` as they stand, `format` expanded between them. Texts of up to
// kInPlace characters need no heap; when the heap is exhausted, a longer one is cut there.
class PercentText {
 public:
  static constexpr std::size_t kInPlace = 2048;

  PercentText(const char *head, const char *format, const char *tail);
  ~PercentText();
  PercentText(const PercentText &) = delete;
  PercentText &operator=(const PercentText &) = delete;

  const char *data() const { return data_; }
  std::size_t size() const { return size_; }

  // Hands the text to the stream in one piece. The result is that of fprintf(): the number of
  // characters, or -1 when the stream reports an error.
  int write(std::FILE *stream) const;

 private:
  char in_place_[kInPlace];
  char *data_ = in_place_;
  std::size_t size_ = 0;
};

}  // namespace orla

#endif
