// Calendar and time: the clock, date numbers, month and year lengths, and stamps past 2038.
//
// Dates and times as text are in date_output.cpp and date_input.cpp.

#include <orla/time.h>

#include "base/kept_errno.h"
#include "time/calendar.h"
#include "time/clock.h"
#include "time/local_time.h"

#ifdef __i386__
static_assert(sizeof(std::time_t) == 4, "programs compiled years ago pass 32 bits");
#endif

std::int32_t wek_time_stamp() noexcept {
  return static_cast<std::int32_t>(orla::clock_moment().stamp);
}

std::int32_t wek_localtime_offset() noexcept {
  const orla::KeptErrno kept;
  tzset();
  const long zone = timezone;
  return orla::offset_west_of_utc(zone, orla::local_fields(orla::clock_moment()));
}

std::uint32_t wek_time_stamp_local() noexcept {
  const auto stamp = static_cast<std::uint32_t>(wek_time_stamp());
  return stamp - static_cast<std::uint32_t>(wek_localtime_offset());
}

std::uint16_t wek_date_stamp() noexcept {
  return orla::date_number_from_stamp(wek_time_stamp_local());
}

std::int32_t days_in_year(std::int32_t year) noexcept { return 365 + orla::is_leap_year(year); }

std::int32_t days_in_month(std::int32_t year, std::int32_t month) noexcept {
  return orla::month_length(year, month);
}

int data_to_date(std::int32_t years_since_1900, std::int32_t month, std::int32_t day,
                 std::uint16_t *date) noexcept {
  // A sum beyond 32 bits wraps, and so gives a year before 1970.
  const auto year = static_cast<std::int32_t>(static_cast<std::uint32_t>(years_since_1900) + 1900U);
  if (month < 1 || month > 12) return 0;
  // Every month has 28 days, so for most days its length is not needed.
  if (day < 1 || (day > 28 && day > orla::month_length(year, month))) return 0;
  *date = orla::date_number_from_civil({year, month, day});
  return 1;
}

std::tm *wek_gmtime(const std::int32_t *stamp) noexcept {
  const orla::KeptErrno kept;
  const orla::FoldedStamp folded = orla::fold(static_cast<std::uint32_t>(*stamp));
  const std::time_t when = folded.seconds;
  std::tm *fields = tav_gmtime(&when);
  fields->tm_year += folded.years;
  return fields;
}

std::tm *wek_localtime(const std::int32_t *stamp) noexcept {
  const orla::KeptErrno kept;
  // Quirk: a stamp past 2038 gets the zone rules of 28, 56 or 84 years earlier.
  const orla::FoldedStamp folded = orla::fold(static_cast<std::uint32_t>(*stamp));
  const std::time_t when = folded.seconds;
  std::tm *fields = tav_localtime(&when);
  fields->tm_year += folded.years;
  return fields;
}

std::time_t tav_mktime(std::tm *fields) noexcept { return std::mktime(fields); }

std::tm *tav_gmtime(const std::time_t *when) noexcept { return std::gmtime(when); }

char *tav_ctime(const std::time_t *when) noexcept { return std::ctime(when); }

std::tm *tav_localtime(const std::time_t *when) noexcept { return std::localtime(when); }

void RestoreTZ() noexcept {}
