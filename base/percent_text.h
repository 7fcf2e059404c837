// Text that is read as a printf() format without arguments, without printf()'s risk.
//
// "%%" is one percent sign and "%m" the text of errno, as for printf(). Any other "%" would fetch
// an argument that nobody passed, so it is left as it is.

#ifndef ORLA_BASE_PERCENT_TEXT_H
#define ORLA_BASE_PERCENT_TEXT_H

#include <cstddef>

namespace orla {

// One text: `head` and `tail` unchanged, and `format` expanded between them. A text of up to
// kInPlace characters needs no heap; a longer one is cut there when the heap is exhausted.
class PercentText {
 public:
  static constexpr std::size_t kInPlace = 2048;

  PercentText(const char *head, const char *format, const char *tail);
  ~PercentText();
  PercentText(const PercentText &) = delete;
  PercentText &operator=(const PercentText &) = delete;

  const char *data() const { return data_; }
  std::size_t size() const { return size_; }

 private:
  char in_place_[kInPlace];
  char *data_ = in_place_;
  std::size_t size_ = 0;
};

}  // namespace orla

#endif
