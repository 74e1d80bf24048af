#include "AvoObjectModel/TimeOfDay.h"

#include "Avo/Unreachable.h"

#include <array>
#include <cstddef> // std::size_t

namespace AvoApp {
namespace {

// The weekday mask of each day of week, indexed by the day (0 no day,
// 1 Monday .. 7 Sunday). Read in both directions.
constexpr std::array<VelWeekDays::WEEK_DAY_TYPES, 8> kWeekdayMasks = {
    VelWeekDays::NONE,     VelWeekDays::MONDAY, VelWeekDays::TUESDAY,  VelWeekDays::WEDNESDAY,
    VelWeekDays::THURSDAY, VelWeekDays::FRIDAY, VelWeekDays::SATURDAY, VelWeekDays::SUNDAY};

// A mask naming exactly one day gives that day; 0 and combinations of days
// give no day, since a time of day carries at most one.
DayOfWeek DayFromWeekdayMask(std::uint16_t mask) {
  for (std::size_t day = 1; day < kWeekdayMasks.size(); ++day) {
    if (kWeekdayMasks[day] == mask) {
      return static_cast<DayOfWeek>(day);
    }
  }
  return NoDay;
}

} // namespace

boost::optional<TimeOfDay> FromVelTime(const VELTIME& time) {
  return TimeOfDay::Create(time.hour, time.minute, time.second, DayFromWeekdayMask(time.weekday));
}

VelWeekDays::WEEK_DAY_TYPES ToVelWeekday(DayOfWeek day) {
  if (day >= kWeekdayMasks.size()) {
    AVO_UNREACHABLE();
  }
  return kWeekdayMasks[day];
}

} // namespace AvoApp
