/** @file
 *  Calendar and time: stamps, date numbers, calendar fields, and date and time text.
 *
 *  A *stamp* counts seconds since 1970-01-01 00:00:00 UTC in 32 bits. The clock returns it signed;
 *  the 28-year fold (wek_gmtime(), wek_localtime()) and every division of a stamp into days read it
 *  as unsigned, and so reach 2106. A *date number* counts days in 16 bits, from 0 for Sunday
 *  1986-12-28; all arithmetic on it wraps: 1970-01-01 is 59331, 1986-12-27 is 65535. It has no time
 *  of day and no zone.
 *
 *  What a caller must know:
 *  - A year is a leap year exactly when it is divisible by 4. There is no century rule: 1900 and
 *    2100 count as leap years, in every function except the four pass-throughs to the C library:
 *    tav_mktime(), tav_gmtime(), tav_ctime() and tav_localtime().
 *  - time_to_string() does not fold: a stamp of 2^31 or more prints as a date from 1901 to 1970.
 *  - string_to_time() gives 0 for a failure, and for some dates: 01/01/1970 and 12/28/1986 (date
 *    number 0) are two of them.
 *  - A daylight saving shift always counts as one hour.
 *
 *  Threads: broken-down times are in the C library's static record, which the whole process shares.
 *  Threads that use it must serialise their calls of the functions that say so.
 *
 *  `errno` is left alone, with two exceptions: the four pass-throughs leave the value that the C
 *  library set, and so do the print functions when they fail.
 *
 *  On 32-bit x86 a program compiled with -D_TIME_BITS=64 has another `time_t` than the library; the
 *  four pass-throughs that take one are not declared there.
 */
#ifndef ORLA_TIME_H
#define ORLA_TIME_H

#include <orla/base.h>
#include <stddef.h>
#include <stdio.h>
#include <time.h>

/** Bytes that the buffers of date_to_string() and time_to_string() need, the terminator counted. */
#define ORLA_DATE_TEXT_SIZE 30

ORLA_BEGIN_DECLS

/** Reads the clock.
 *
 *  @return  seconds since 1970-01-01 00:00:00 UTC, the low 32 bits of the clock: negative from
 *           2038-01-19 03:14:08 on, and then to be read as unsigned. 0 when there is no clock.
 *  Errors: none. Threads: safe.
 */
ORLA_EXPORT int32_t wek_time_stamp(void) ORLA_NOEXCEPT;

/** Gives the offset of local time from UTC at the present moment.
 *
 *  The zone is read again at each call, so a change of `TZ` takes effect at once. The figure is the
 *  C library's `timezone`, less 3600 while daylight saving is in effect, whatever shift the zone's
 *  rules name. It describes the present; a stamp of another day may have another offset.
 *
 *  @return  seconds west of UTC: positive in the Americas, negative east of Greenwich.
 *  Errors: where the moment cannot be converted, the plain `timezone`.
 *  Threads: rewrites the shared record (serialise).
 */
ORLA_EXPORT int32_t wek_localtime_offset(void) ORLA_NOEXCEPT;

/** Reads the clock as local wall-clock time, counted as if it were UTC.
 *
 *  @return  wek_time_stamp() minus wek_localtime_offset(), seconds, modulo 2^32.
 *  Errors: none. Threads: rewrites the shared record (serialise).
 */
ORLA_EXPORT uint32_t wek_time_stamp_local(void) ORLA_NOEXCEPT;

/** Gives today's local date.
 *
 *  @return  date number of the local day.
 *  Errors: none. Threads: rewrites the shared record (serialise).
 */
ORLA_EXPORT uint16_t wek_date_stamp(void) ORLA_NOEXCEPT;

/** Gives the length of a year.
 *
 *  @param[in] year  in full, such as 2007.
 *  @return    365, or 366 for a year divisible by 4.
 *  Errors: none. Threads: safe.
 */
ORLA_EXPORT int32_t days_in_year(int32_t year) ORLA_NOEXCEPT;

/** Gives the length of a month.
 *
 *  @param[in] year   in full, such as 2007.
 *  @param[in] month  1 to 12; not checked. The length of any other month has no meaning.
 *  @return    28 to 31.
 *  Errors: none. Threads: safe.
 */
ORLA_EXPORT int32_t days_in_month(int32_t year, int32_t month) ORLA_NOEXCEPT;

/** Turns calendar fields into a date number.
 *
 *  A year before 1970 counts as if it began on 1970-01-01. After 2149-06-05 date numbers start
 *  again: 2149-06-06 has that of 1970-01-01.
 *
 *  @param[in]  years_since_1900  such as 107 for 2007.
 *  @param[in]  month             1 to 12.
 *  @param[in]  day               1 to the length of the month.
 *  @param[out] date              the date number.
 *  @return     1, or 0 for a month or a day that does not exist; `*date` is then left as it was.
 *  Threads: safe.
 */
ORLA_EXPORT int data_to_date(int32_t years_since_1900, int32_t month, int32_t day,
                             uint16_t *date) ORLA_NOEXCEPT;

/** Converts a stamp to UTC calendar fields, from 1970 to 2106.
 *
 *  A stamp after 2038-01-19 03:14:07 is converted as one 28, 56 or 84 years earlier, and the years
 *  are added again. After 2100-02-28 the result is one day earlier than the Gregorian date, because
 *  2100 is a leap year here.
 *
 *  @param[in] stamp  seconds since 1970-01-01 00:00:00 UTC, read as unsigned. Never changed.
 *  @return    the C library's static record, good until the next conversion in the process.
 *  Errors: none. Threads: shares the record (serialise).
 */
ORLA_EXPORT struct tm *wek_gmtime(const int32_t *stamp) ORLA_NOEXCEPT;

/** Converts a stamp to local calendar fields, as wek_gmtime() does to UTC.
 *
 *  A stamp after 2038-01-19 03:14:07 UTC gets the zone rules, daylight saving among them, of the
 *  earlier year.
 *
 *  @param[in] stamp  seconds since 1970-01-01 00:00:00 UTC, read as unsigned. Never changed.
 *  @return    the C library's static record, good until the next conversion in the process.
 *  Errors: none. Threads: shares the record (serialise).
 */
ORLA_EXPORT struct tm *wek_localtime(const int32_t *stamp) ORLA_NOEXCEPT;

#if !defined(__USE_TIME_BITS64) || defined(__LP64__)
/** Calls mktime() of the C library; errors are those of mktime().
 *
 *  @param[in,out] fields  as for mktime().
 *  @return        as of mktime().
 *  Threads: as mktime().
 */
ORLA_EXPORT time_t tav_mktime(struct tm *fields) ORLA_NOEXCEPT;

/** Calls gmtime() of the C library, without the fold of wek_gmtime().
 *
 *  @param[in] when  as for gmtime().
 *  @return    as of gmtime(): the C library's static record.
 *  Threads: as gmtime().
 */
ORLA_EXPORT struct tm *tav_gmtime(const time_t *when) ORLA_NOEXCEPT;

/** Calls ctime() of the C library.
 *
 *  @param[in] when  as for ctime().
 *  @return    as of ctime(): the C library's static text of 26 bytes.
 *  Threads: as ctime().
 */
ORLA_EXPORT char *tav_ctime(const time_t *when) ORLA_NOEXCEPT;

/** Calls localtime() of the C library, without the fold of wek_localtime().
 *
 *  @param[in] when  as for localtime().
 *  @return    as of localtime(): the C library's static record.
 *  Threads: as localtime().
 */
ORLA_EXPORT struct tm *tav_localtime(const time_t *when) ORLA_NOEXCEPT;
#endif

/** Does nothing. The library never changes `TZ`, so there is nothing to put back. Threads: safe. */
ORLA_EXPORT void RestoreTZ(void) ORLA_NOEXCEPT;

/** Writes a date as "MM/DD/YYYY", such as "12/28/1986".
 *
 *  @param[out] text  char[ORLA_DATE_TEXT_SIZE], always terminated.
 *  @param[in]  date  date number; each of the 65,536 has a text, from 01/01/1970 to 06/05/2149.
 *  @return     characters written, always 10.
 *  Errors: none. Threads: safe.
 */
ORLA_EXPORT size_t date_to_string(char *text, uint16_t date) ORLA_NOEXCEPT;

/** Writes a stamp as UTC text in the process's time locale, such as "Sun Dec 28 00:00:00 1986".
 *
 *  @param[out] text   char[ORLA_DATE_TEXT_SIZE].
 *  @param[in]  stamp  seconds since 1970-01-01 00:00:00 UTC, read as signed: 1901 to 2038.
 *  @return     characters written, 24 in the "C" locale; 0 when the locale's names do not fit in 30
 *              bytes, and the buffer's contents are then undefined.
 *  Threads: shares the record (serialise).
 */
ORLA_EXPORT size_t time_to_string(char *text, int32_t stamp) ORLA_NOEXCEPT;

/** Writes a prefix, a date as "MM/DD/YYYY" and a line feed.
 *
 *  @param[in]  date    date number.
 *  @param[out] line    room for the prefix and 12 bytes more; always terminated.
 *  @param[in]  prefix  optional cstr, copied unchanged, with nothing between it and the date.
 *  @return     characters written.
 *  Errors: none. Threads: safe.
 */
ORLA_EXPORT int date_to_line(uint16_t date, char *line, const char *prefix) ORLA_NOEXCEPT;

/** Writes a prefix, the UTC day of a stamp as "MM/DD/YYYY" and a line feed; never the time of day.
 *
 *  @param[in]  stamp   seconds since 1970-01-01 00:00:00 UTC, read as unsigned.
 *  @param[out] line    room for the prefix and 12 bytes more; always terminated.
 *  @param[in]  prefix  optional cstr, copied unchanged, with nothing between it and the date.
 *  @return     characters written.
 *  Errors: none. Threads: safe.
 */
ORLA_EXPORT int time_to_line(int32_t stamp, char *line, const char *prefix) ORLA_NOEXCEPT;

/** Prints the line of date_to_line() on standard output, the prefix read as a printf() format.
 *
 *  In the prefix "%%" prints a percent sign and "%m" the text of `errno`. There are no arguments,
 *  so any other conversion is printed unchanged. A prefix may have any length up to 2 GiB. When the
 *  heap is exhausted, a line over 2,048 characters is cut.
 *
 *  The result is that of printf(): a line that stays in the stream's buffer counts as written, one
 *  whose flush fails does not.
 *
 *  @param[in] date    date number.
 *  @param[in] prefix  optional cstr.
 *  @return    characters printed, or a negative value when the line cannot be written.
 *  Threads: safe.
 */
ORLA_EXPORT int print_date_line(uint16_t date, const char *prefix) ORLA_NOEXCEPT;

/** Prints the line of time_to_line() on standard output, the prefix read as by print_date_line().
 *
 *  @param[in] stamp   seconds since 1970-01-01 00:00:00 UTC, read as unsigned.
 *  @param[in] prefix  optional cstr.
 *  @return    characters printed, or a negative value when the line cannot be written.
 *  Threads: safe.
 */
ORLA_EXPORT int print_time_line(int32_t stamp, const char *prefix) ORLA_NOEXCEPT;

/** Prints the line of date_to_line() on a stream, the prefix read as by print_date_line().
 *
 *  @param[in] stream  open for writing.
 *  @param[in] date    date number.
 *  @param[in] prefix  optional cstr.
 *  @return    characters printed, or a negative value when the line cannot be written.
 *  Threads: safe.
 */
ORLA_EXPORT int fprint_date_line(FILE *stream, uint16_t date, const char *prefix) ORLA_NOEXCEPT;

/** Prints the line of time_to_line() on a stream, the prefix read as by print_date_line().
 *
 *  @param[in] stream  open for writing.
 *  @param[in] stamp   seconds since 1970-01-01 00:00:00 UTC, read as unsigned.
 *  @param[in] prefix  optional cstr.
 *  @return    characters printed, or a negative value when the line cannot be written.
 *  Threads: safe.
 */
ORLA_EXPORT int fprint_time_line(FILE *stream, int32_t stamp, const char *prefix) ORLA_NOEXCEPT;

/** Turns a date format into a printf() format whose arguments are month, day and year.
 *
 *  | in   | out     |
 *  | ---- | ------- |
 *  | `%m` | `%1$2d` |
 *  | `%d` | `%2$2d` |
 *  | `%y` | `%3$2d` |
 *  | `%Y` | `%3$4d` |
 *  | `%%` | a single `%`, which begins a conversion with the character after it |
 *  | `%` and any other character | nothing |
 *
 *  Widths pad with spaces, never zeros. A lone "%" at the end is dropped.
 *
 *  @param[in]  format   cstr.
 *  @param[out] numeric  room for two and a half times the format's length and the terminator.
 *  Errors: none. Threads: safe.
 */
ORLA_EXPORT void k7_date_format(const char *format, char *numeric) ORLA_NOEXCEPT;

/** Reads day, month and year from a text, with a strptime() format.
 *
 *  It does not say whether the text matched: a field that the text does not reach becomes 0, the
 *  year -1. A year over 3800 is lowered by 1900.
 *
 *  @param[in]     text    cstr.
 *  @param[in]     format  cstr, of strptime().
 *  @param[in,out] fields  only `tm_mday`, `tm_mon` and `tm_year` are set.
 *  Threads: safe.
 */
ORLA_EXPORT void orla_strptime(const char *text, const char *format,
                               struct tm *fields) ORLA_NOEXCEPT;

/** Reads a date text.
 *
 *  The input mode is decided once per process, at the first call: the old mode when the environment
 *  variable `ORLALS_DATE_FORMAT_OLD` exists, with any value, and the standard mode otherwise.
 *
 *  | mode     | text                         | year |
 *  | -------- | ---------------------------- | ---- |
 *  | standard | `12/31/2007`, `1/2/2007`     | with its century |
 *  | old      | `2007 12 31` or `2007/12/31` | over 1900 in full; any other counts from 1900 |
 *
 *  In the standard mode "12/31/07" is rejected, a year over 3800 is lowered by 1900, and one over
 *  5700 twice. White space before a number and text after the third number are accepted. Whether
 *  the day exists in its month is not checked; data_to_date() does that.
 *
 *  In the old mode a number beyond an `int` is read as the C library does: on 32-bit hosts as the
 *  nearest `int`, on 64-bit hosts as the low 32 bits of the nearest `long`.
 *
 *  @param[in]  text   cstr.
 *  @param[out] year   years since 1900.
 *  @param[out] month  1 to 12.
 *  @param[out] day    1 to 31.
 *  @return     0 when accepted, 255 when rejected; the outputs are then undefined.
 *  Threads: safe; the environment must not change during the first call.
 */
ORLA_EXPORT int k7_parse_date(const char *text, int32_t *year, int32_t *month,
                              int32_t *day) ORLA_NOEXCEPT;

/** Turns a date text into a date number, by k7_parse_date() and data_to_date().
 *
 *  @param[in]  text  cstr.
 *  @param[out] date  date number.
 *  @return     1, or 0 for a text that is rejected or a day that does not exist; `*date` is then
 *              left as it was.
 *  Threads: as k7_parse_date().
 */
ORLA_EXPORT int string_to_date(const char *text, uint16_t *date) ORLA_NOEXCEPT;

/** Turns a date text into the stamp of 00:00:00 UTC of that date.
 *
 *  The result is the days since 1970-01-01, modulo 65,536, times 86,400, modulo 2^32. So it is true
 *  up to 02/06/2106; 02/07/2106 gives 63104, and 06/07/2149 gives 86400. It is also 0 for
 *  12/28/1986 (whose date number is 0), for January 1 of every year up to 1970, and again 65,536
 *  days after 12/28/1986 and 01/01/1970: for 06/02/2166, 06/06/2149, and so on.
 *
 *  @param[in] text  cstr.
 *  @return    seconds since 1970-01-01 00:00:00 UTC, to be read as unsigned; 0 for a text that is
 *             rejected or a day that does not exist.
 *  Threads: as k7_parse_date().
 */
ORLA_EXPORT int32_t string_to_time(const char *text) ORLA_NOEXCEPT;

ORLA_END_DECLS

#endif
