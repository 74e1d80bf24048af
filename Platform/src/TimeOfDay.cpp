#include "AvoApp/TimeOfDay.h"

namespace AvoApp {

boost::optional<TimeOfDay> TimeOfDay::Create(int hour, int minute, int second, int day) {
  const bool valid = hour >= 0 && hour <= 23 && minute >= 0 && minute <= 59 && second >= 0 &&
                     second <= 59 && day >= NoDay && day <= Sunday;
  if (!valid) {
    return boost::none;
  }
  return TimeOfDay(hour, minute, second, static_cast<DayOfWeek>(day));
}

} // namespace AvoApp
