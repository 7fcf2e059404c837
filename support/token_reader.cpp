#include "support/token_reader.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#ifdef ORLA_HAVE_SSE2_READER
#include <emmintrin.h>
#endif

namespace orla {

const char *read_token_plain(const char *text, char delimiter, char *out, int out_size) {
  if (out_size > 0) *out = '\0';
  while (*text != '\0' && *text != delimiter)
    ++text;
  if (*text == '\0') return nullptr;
  ++text;
  // The delimiter is tested before the limit, so a token exactly as long as the limit is whole.
  for (int room = out_size - 1; *text != '\0' && *text != delimiter && room > 0; --room)
    *out++ = *text++;
  if (out_size > 0) *out = '\0';
  return *text == delimiter ? text + 1 : nullptr;
}

std::uint16_t count_delimiters_plain(const char *text, char delimiter) {
  std::uint16_t count = 0;
  for (; *text != '\0'; ++text) {
    if (*text == delimiter) ++count;
  }
  return count;
}

#ifdef ORLA_HAVE_SSE2_READER

// Blocks are read whole, from aligned addresses. Such a block, and such a line of four, lies in one page
// with the byte that is wanted of it, so that what it holds besides may be read although it is nobody's.
#define ORLA_SSE2_CODE gnu::target("sse2"), gnu::no_sanitize("address")

// Programs of old compilers keep the stack at multiples of 4 bytes; what is spilled here wants 16.
#ifdef __i386__
#define ORLA_SSE2_ENTRY ORLA_SSE2_CODE, gnu::force_align_arg_pointer
#else
#define ORLA_SSE2_ENTRY ORLA_SSE2_CODE
#endif

namespace {

constexpr std::size_t kBlock = sizeof(__m128i);
constexpr std::size_t kLine = 4 * kBlock;

// A byte of the result is 0 exactly where the block has a delimiter or a zero byte.
[[ORLA_SSE2_CODE, gnu::always_inline]] inline __m128i marks(const char *block, __m128i delimiter) {
  const __m128i bytes = _mm_load_si128(reinterpret_cast<const __m128i *>(block));
  return _mm_min_epu8(bytes, _mm_xor_si128(bytes, delimiter));
}

// One bit per byte of the block, set where the mark is 0.
[[ORLA_SSE2_CODE, gnu::always_inline]] inline unsigned hits(__m128i marks) {
  return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(marks, _mm_setzero_si128())));
}

[[ORLA_SSE2_CODE, gnu::always_inline]] inline bool is_line_clean(const char *line,
                                                                 __m128i delimiter) {
  const __m128i low = _mm_min_epu8(marks(line, delimiter), marks(line + kBlock, delimiter));
  const __m128i high =
      _mm_min_epu8(marks(line + 2 * kBlock, delimiter), marks(line + 3 * kBlock, delimiter));
  return hits(_mm_min_epu8(low, high)) == 0;
}

std::size_t offset_in(std::size_t unit, const char *address) {
  return reinterpret_cast<std::uintptr_t>(address) % unit;
}

// Characters before the first delimiter or the text's end, at most `limit`; from an aligned block on.
[[ORLA_SSE2_CODE, gnu::always_inline]] inline std::size_t run_length_aligned(const char *block,
                                                                             __m128i delimiter,
                                                                             std::size_t limit) {
  std::size_t length = 0;
  for (; length < limit; length += kBlock) {
    const unsigned found = hits(marks(block + length, delimiter));
    if (found != 0) return length + static_cast<std::size_t>(__builtin_ctz(found));
    if (offset_in(kLine, block + length) != kLine - kBlock) continue;
    while (length + kBlock < limit && is_line_clean(block + length + kBlock, delimiter))
      length += kLine;
  }
  return length;
}

// The same from any character on.
[[ORLA_SSE2_CODE, gnu::always_inline]] inline std::size_t run_length(const char *text,
                                                                     __m128i delimiter,
                                                                     std::size_t limit) {
  const std::size_t before = offset_in(kBlock, text);
  const unsigned found = hits(marks(text - before, delimiter)) >> before;
  if (found != 0) return std::min(limit, static_cast<std::size_t>(__builtin_ctz(found)));
  const std::size_t length = kBlock - before;
  if (limit <= length) return limit;
  return std::min(limit, length + run_length_aligned(text + length, delimiter, limit - length));
}

// Copies without a call what most tokens are: a call costs as much as finding the token. Both ends are
// copied in pieces that may overlap.
template <typename Piece>
[[ORLA_SSE2_CODE, gnu::always_inline]] inline void copy_ends(char *out, const char *text,
                                                             std::size_t length) {
  Piece head;
  Piece tail;
  std::memcpy(&head, text, sizeof head);
  std::memcpy(&tail, text + length - sizeof tail, sizeof tail);
  std::memcpy(out, &head, sizeof head);
  std::memcpy(out + length - sizeof tail, &tail, sizeof tail);
}

[[ORLA_SSE2_CODE, gnu::always_inline]] inline void copy(char *out, const char *text,
                                                        std::size_t length) {
  if (length > 2 * kBlock) {
    std::memmove(out, text, length);
  } else if (length >= kBlock) {
    copy_ends<__m128i>(out, text, length);
  } else if (length >= sizeof(std::uint64_t)) {
    copy_ends<std::uint64_t>(out, text, length);
  } else if (length >= sizeof(std::uint32_t)) {
    copy_ends<std::uint32_t>(out, text, length);
  } else {
    for (std::size_t i = 0; i < length; ++i)
      out[i] = text[i];
  }
}

}  // namespace

[[ORLA_SSE2_ENTRY]] const char *read_token_sse2(const char *text, char delimiter, char *out,
                                                int out_size) {
  const __m128i delimiters = _mm_set1_epi8(delimiter);
  if (out_size > 0) *out = '\0';
  text += run_length(text, delimiters, SIZE_MAX);
  if (*text == '\0') return nullptr;
  ++text;
  std::size_t length = 0;
  if (out_size > 0) {
    length = run_length(text, delimiters, static_cast<std::size_t>(out_size) - 1);
    copy(out, text, length);
    out[length] = '\0';
  }
  return text[length] == delimiter ? text + length + 1 : nullptr;
}

[[ORLA_SSE2_ENTRY]] std::uint16_t count_delimiters_sse2(const char *text, char delimiter) {
  const __m128i delimiters = _mm_set1_epi8(delimiter);
  std::uint16_t count = 0;
  for (;; ++count, ++text) {
    text += run_length(text, delimiters, SIZE_MAX);
    if (*text == '\0') return count;
  }
}

#endif

}  // namespace orla
