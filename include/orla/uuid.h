/** @file
 *  UUIDs: 16-byte identifiers made from the time of day and a host identifier, their text, their
 *  order and their hash.
 *
 *  The record has the layout of the Network Computing System; it is not that of RFC 4122, and
 *  neither is the text. Only the host's address is kept between calls: there is no counter, no
 *  clock sequence and no lock.
 *
 *      d0f7b2fc0064.82.0a.00.02.03.00.00.00
 *      |       |    |  |              |
 *      |       |    |  |              reserved, its low byte first;
 *      |       |    |  |              where it is 0, host bytes 5 and 6
 *      |       |    |  host bytes 0 to 4; the first four are the host identifier
 *      |       |    family: low 8 bits of the class code, with 0x80 set
 *      |       time_low, 4 digits
 *      time_high, 8 digits
 *
 *  What a caller must know:
 *  - Two calls of orla_uuid_gen() on one host within the same 4 microseconds give identical
 *    records. A loop that takes 40 nanoseconds per record makes each record a hundred times. Two
 *    calls at unrelated moments of one second give the same record with a chance of 1 in 250,000;
 *    among 100 such calls the chance that two are equal is 1 in 50, among 589 it is 1 in 2. A
 *    caller that needs distinct records in quick succession must space its calls.
 *  - Two calls 213,568 microseconds apart, before and after the start of a second, may give
 *    identical records too: `time_low` starts again at 0 there, while `time_high` may stay the
 *    same. Where a record is made in every tick of 4 microseconds, 1 in 25 is equal to an earlier
 *    one. A caller that needs distinct records must compare each with those made since `time_high`
 *    last changed.
 *  - `time_high` advances every 65535 ticks of 4 microseconds, not every 65536, and `time_low` is
 *    the tick within the second modulo 65536: the two are not one 48-bit count.
 *  - `time_high` goes back at three moments: at 2015-09-05 01:12:06.973440 and 2080-06-03
 *    05:16:08.764424 UTC to 0, as it is kept modulo 2^32; at 2048-01-19 03:14:08 UTC to 0x17B617B7,
 *    as the seconds since 1980 count as negative from then on. Near each of them, a record made
 *    before it compares greater than one made after it. Between two of these moments, records made
 *    262,140 microseconds apart or more compare in the order of time; closer ones may not, as
 *    `time_low` may start again between them.
 *  - Where there is no host identifier, the address of the record in memory takes its place.
 *  - Decoding puts the last two bytes of a text into `reserved`, never into host bytes 5 and 6.
 *
 *  Threads: every function is safe, and none changes `errno`. Set ::orla_uuid_host_provider before
 *  other threads generate.
 */
#ifndef ORLA_UUID_H
#define ORLA_UUID_H

#include <orla/base.h>

/** Bytes that the buffer of orla_uuid_encode() needs, the terminator counted. */
#define ORLA_UUID_TEXT_SIZE 37

/** Status of orla_uuid_decode() for a text that is not a UUID. */
#define ORLA_UUID_MALFORMED 0xFFFFFFFFu

/** `family` of every record of the reserved space. */
#define ORLA_UUID_RESERVED_FAMILY 0x99u

/** Host bytes 0 to 3 of every record of the reserved space, byte 0 in bits 31 to 24. */
#define ORLA_UUID_RESERVED_HOST 0x6F726C61u

/** Class code of the built-in host-identifier provider: the identifier is an IPv4 address. */
#define ORLA_UUID_CLASS_IPV4 2u

ORLA_BEGIN_DECLS

/** A UUID: 16 bytes without padding, the numbers in the byte order of the host. */
typedef struct k7_uuid__t {
  uint32_t time_high; /**< ticks of 4 microseconds since 1980-01-01, over 65535, modulo 2^32 */
  uint16_t time_low;  /**< tick within the second, 0 to 249999, modulo 65536 */
  uint16_t reserved;  /**< 0 when generated; the caller's number in the reserved space */
  uint8_t family;     /**< class code of the host identifier, low 8 bits, with 0x80 set */
  uint8_t host[7];    /**< 0 to 3: host identifier, most significant byte first; 4 to 6: 0 */
} k7_uuid__t;

/** The nil UUID: 16 zero bytes. */
ORLA_EXPORT extern const k7_uuid__t k7_uuid__nil;

/** The host-identifier provider that orla_uuid_gen() calls, once per record; null when the library
 *  is loaded.
 *
 *  A program may point it at a function of its own, which stores the identifier of this host, and a
 *  class code that says what kind of identifier it is. Identifier 0 means that there is none. What
 *  the function does not store counts as 0. It must not let an exception escape.
 *
 *  While the pointer is null the library uses the first IPv4 address of an interface that is up and
 *  not a loopback, so 10.0.2.3 is 0x0A000203, with class code 2 (#ORLA_UUID_CLASS_IPV4); identifier
 *  0 where there is no such address. The system is asked for it once per process, at the first
 *  record.
 */
ORLA_EXPORT extern void (*orla_uuid_host_provider)(uint32_t *identifier, uint16_t *class_code);

/** Makes a UUID from the present moment and this host's identifier.
 *
 *  @param[out] uuid  record, all 16 bytes are written.
 *  Errors: none. When the clock cannot be read the time is 1970-01-01 00:00:00 UTC. Without a host
 *  identifier host bytes 0 to 3 are the low 32 bits of the address of `*uuid`, in memory order.
 *  Threads: safe.
 */
ORLA_EXPORT void orla_uuid_gen(k7_uuid__t *uuid) ORLA_NOEXCEPT;

/** Writes a UUID as text: lower-case hexadecimal digits and dots.
 *
 *  The last two bytes are `reserved`, its low byte first, when it is not 0, else host bytes 5 and
 *  6.
 *
 *  @param[in]  uuid  record; may lie in the buffer of the text.
 *  @param[out] text  char[37], always terminated.
 *  @return     characters written, always 36.
 *  Errors: none. Threads: safe.
 */
ORLA_EXPORT int orla_uuid_encode(const k7_uuid__t *uuid, char *text) ORLA_NOEXCEPT;

/** Reads a UUID from text.
 *
 *  The text is read as `sscanf` reads "%8lx%4hx.%2hx.%2hx.%2hx.%2hx.%2hx.%2hx.%2hx.%2hx", which
 *  also accepts: either letter case, white space before a number, signs, "0x", fewer digits where a
 *  dot ends the number, and anything after the tenth number. Of each two-digit number only the low
 *  byte counts, except for the ninth, of which all 16 bits count: "-1" there makes `reserved`
 *  0xFFFF.
 *
 *  Encoding and decoding give the record back unless its host byte 5 or 6 is not 0 while `reserved`
 *  is: those bytes come back in `reserved`.
 *
 *  @param[in]  text    cstr.
 *  @param[out] uuid    record, all 16 bytes are written; may lie over the text.
 *  @param[out] status  stored before the record: 0, or 0xFFFFFFFF (#ORLA_UUID_MALFORMED) when fewer
 *                      than ten numbers can be read; `*uuid` is then left as it was.
 *  Threads: safe.
 */
ORLA_EXPORT void orla_uuid_decode(const char *text, k7_uuid__t *uuid,
                                  orla_status *status) ORLA_NOEXCEPT;

/** Makes a UUID of the reserved space from the present moment.
 *
 *  @param[out] uuid    record, all 16 bytes are written.
 *  @param[in]  number  goes into `reserved`.
 *  Errors: none; reads the clock and calls the provider as orla_uuid_gen() does. Threads: safe.
 */
ORLA_EXPORT void orla_reserved_uuid_gen(k7_uuid__t *uuid, uint16_t number) ORLA_NOEXCEPT;

/** Makes a UUID of the reserved space from its parts: family 0x99, the reserved host, host bytes 4
 *  to 6 zero.
 *
 *  @param[out] uuid       record, all 16 bytes are written.
 *  @param[in]  time_high  stored unchanged.
 *  @param[in]  time_low   stored unchanged.
 *  @param[in]  number     goes into `reserved`.
 *  Errors: none. Threads: safe.
 */
ORLA_EXPORT void orla_reserved_uuid_inflate(k7_uuid__t *uuid, uint32_t time_high, uint16_t time_low,
                                            uint16_t number) ORLA_NOEXCEPT;

/** Orders two UUIDs: by `time_high`, `time_low`, `reserved` and `family` as unsigned numbers, then
 *  by the seven host bytes.
 *
 *  The order is the same on every host. The top of this header says how far it follows time.
 *
 *  @param[in] a  record.
 *  @param[in] b  record.
 *  @return    negative, zero or positive, as a comes before b, is equal to it or comes after it.
 *             Use the sign alone.
 *  Errors: none. Threads: safe.
 */
ORLA_EXPORT int orla_uuid_cmp(const k7_uuid__t *a, const k7_uuid__t *b) ORLA_NOEXCEPT;

/** Tells whether two UUIDs are the same.
 *
 *  @param[in] a  record.
 *  @param[in] b  record.
 *  @return    1 when orla_uuid_cmp() gives 0, else 0.
 *  Errors: none. Threads: safe.
 */
ORLA_EXPORT int orla_uuid_equal(const k7_uuid__t *a, const k7_uuid__t *b) ORLA_NOEXCEPT;

/** Hashes a UUID into one of `modulus` buckets.
 *
 *  Only 16 bits are hashed, so the result is never over 65535. The words of the record are read in
 *  the byte order of the host: hosts of the other order give other hashes.
 *
 *  @param[in] uuid     record.
 *  @param[in] modulus  1 or more. Not checked: 0 is a division fault.
 *  @return    0 to modulus - 1, and at most 65535.
 *  Errors: none. Threads: safe.
 */
ORLA_EXPORT uint32_t orla_uuid_hash(const k7_uuid__t *uuid, uint32_t modulus) ORLA_NOEXCEPT;

ORLA_END_DECLS

#endif
