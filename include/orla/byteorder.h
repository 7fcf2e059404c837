/** @file
 *  Byte order: integers between the host's order and the network's.
 *
 *  The library also defines `htonl`, `ntohl`, `htons` and `ntohs` under the platform's names. A
 *  program that is linked with it before the C library gets these. Where the compiler optimises,
 *  <arpa/inet.h> makes it replace such calls by an instruction, and neither library is called. That
 *  header declares them, not this one, so that a program may include both in any order. orla's four
 *  differ from the platform's in three ways:
 *
 *  - They always reverse the bytes, whatever the host's order. On x86 that is the conversion to and
 *    from network order; on a big-endian host it would not be.
 *  - `htons` and `ntohs` return 32 bits, the upper 16 clear.
 *  - They exchange bytes by calling swap() under its exported name: a program that defines a swap()
 *    of its own with C linkage changes them.
 *
 *  In C++, `using namespace std` and a call `swap(p, q)` on two pointers to char choose the
 *  function of this header, which exchanges the bytes pointed to; write `std::swap` to exchange the
 *  pointers.
 */
#ifndef ORLA_BYTEORDER_H
#define ORLA_BYTEORDER_H

#include <orla/base.h>

ORLA_BEGIN_DECLS

/** Exchanges two bytes.
 *
 *  @param[in,out] a  one byte.
 *  @param[in,out] b  one byte; may be the same.
 *  Errors: none. Threads: safe.
 */
ORLA_EXPORT void swap(char *a, char *b) ORLA_NOEXCEPT;

ORLA_END_DECLS

#endif
