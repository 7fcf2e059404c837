#include "time/local_time.h"

#include "time/calendar.h"

namespace orla {
namespace {

// Quirk: always one hour, whatever shift the zone's rules name.
constexpr std::int32_t kDaylightSaving = 3600;

}  // namespace

std::tm *local_fields(const Moment &moment) {
  if (moment.time) return std::localtime(&*moment.time);
  const FoldedStamp folded = fold(moment.stamp);
  const std::time_t when = folded.seconds;
  std::tm *fields = std::localtime(&when);
  if (fields != nullptr) fields->tm_year += folded.years;
  return fields;
}

std::int32_t offset_west_of_utc(long zone, std::tm *fields) {
  const auto standard = static_cast<std::int32_t>(zone);
  if (fields == nullptr) return standard;
  // Quirk: set in the caller's record.
  if (fields->tm_isdst < 0) fields->tm_isdst = 0;
  return fields->tm_isdst != 0 ? standard - kDaylightSaving : standard;
}

}  // namespace orla
