/** @file
 *  Delimited tokens: the text between pairs of a delimiter, as in a line of quoted fields.
 *
 *      "alpha" "" "two words"        three tokens: alpha, an empty one, two words
 *
 *  A token is the text between an opening delimiter and the next one, which closes it. Text between
 *  a closing delimiter and the next opening one belongs to no token and is skipped. The delimiter
 *  is any byte except zero. This is not a parser of quoted text: tokens are not nested and nothing
 *  escapes a delimiter.
 *
 *  To read all tokens, go on from each result:
 *
 *      const char *rest = line;
 *      while ((rest = get_first_delimited_token_in_string(rest, '"', field, sizeof field)) != NULL)
 *        ...
 *
 *  What a caller must know:
 *  - get_delimited_token_in_string() finds a token only when all tokens before it are empty.
 *  - count_delimited_tokens_in_string() counts delimiters in 16 bits, signed: from 32,768
 *    delimiters on its result is negative or starts again.
 *
 *  Results point into the caller's text. Nothing after the closing delimiter of the token is read.
 *  Threads: safe, all of them.
 */
#ifndef ORLA_TOKEN_H
#define ORLA_TOKEN_H

#include <orla/base.h>

ORLA_BEGIN_DECLS

/** Reads the first token of a text.
 *
 *  With an `out_size` of 0 or less nothing is copied and no character of the token is skipped, so
 *  the call succeeds only on an empty token.
 *
 *  @param[in]  text       cstr.
 *  @param[in]  delimiter  byte other than zero.
 *  @param[out] out        optional when `out_size` is 0 or less; else char[out_size], always
 *                         terminated.
 *  @param[in]  out_size   bytes of `out`, the terminator counted.
 *  @return     position after the closing delimiter, where the next search starts; null when the
 *              text has no token or when the token does not fit.
 *  Errors: without an opening delimiter `out` is the empty string; without a closing one, or when
 *  the token does not fit, `out` holds as many of its characters as fit.
 *  Threads: safe.
 */
ORLA_EXPORT const char *get_first_delimited_token_in_string(const char *text, char delimiter,
                                                            char *out, int out_size) ORLA_NOEXCEPT;

/** Reads a token of a text by its index. It is found only when all tokens before it are empty.
 *
 *  @param[in]  text       optional cstr; null gives null.
 *  @param[in]  index      counted from 0; a negative one counts as 0.
 *  @param[in]  delimiter  byte other than zero.
 *  @param[out] out        as for get_first_delimited_token_in_string().
 *  @param[in]  out_size   bytes of `out`, the terminator counted.
 *  @return     as of get_first_delimited_token_in_string().
 *  Errors: null when a token to be skipped is missing or not empty; `out` is left as it was.
 *  Threads: safe.
 */
ORLA_EXPORT const char *get_delimited_token_in_string(const char *text, short index, char delimiter,
                                                      char *out, int out_size) ORLA_NOEXCEPT;

/** Counts the tokens of a text. An opening delimiter that is not closed does not count.
 *
 *  @param[in] text       cstr.
 *  @param[in] delimiter  byte other than zero.
 *  @return    half the number of delimiters, that number read as 16 bits, signed: correct up to
 *             32,767 delimiters, negative from 32,768 to 65,534, and so on.
 *  Errors: none. Threads: safe.
 */
ORLA_EXPORT short count_delimited_tokens_in_string(const char *text, char delimiter) ORLA_NOEXCEPT;

ORLA_END_DECLS

#endif
