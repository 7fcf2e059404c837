// What token reading does with a text, twice: the plain way, character by character, and 16 bytes at a
// time for processors with SSE2.
//
// The C library has no search for a delimiter that ends at the text's end or at a bound, and on 32-bit
// x86 its unbounded one is many times slower than memchr(). The plain way is what other processors run
// and what the fast one is held against in the tests.

#ifndef ORLA_SUPPORT_TOKEN_READER_H
#define ORLA_SUPPORT_TOKEN_READER_H

#include <cstdint>

#if defined(__i386__) || defined(__x86_64__)
#define ORLA_HAVE_SSE2_READER 1
#endif

namespace orla {

// The first token of `text`; as get_first_delimited_token_in_string() in orla/token.h.
const char *read_token_plain(const char *text, char delimiter, char *out, int out_size);

// The delimiters in `text`, modulo 65,536.
std::uint16_t count_delimiters_plain(const char *text, char delimiter);

#ifdef ORLA_HAVE_SSE2_READER
inline bool has_sse2() {
#ifdef __SSE2__
  return true;  // the compiler takes it for granted, as always on x86-64
#else
  return __builtin_cpu_supports("sse2") != 0;
#endif
}

const char *read_token_sse2(const char *text, char delimiter, char *out, int out_size);
std::uint16_t count_delimiters_sse2(const char *text, char delimiter);
#endif

}  // namespace orla

#endif
