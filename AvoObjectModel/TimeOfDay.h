#pragma once
/// @file
/// Conversions between the platform's time record and a time of day.

#include "AvoApp/TimeOfDay.h"
#include "AvoObjectModel/Export.h"
#include "VelValue.h"

#include <boost/optional.hpp>

namespace AvoApp {

/// The time of day of a VELTIME: hour, minute and second as they stand, the
/// weekday mask mapped to a day (a single day bit gives that day; 0 and any
/// combination of days give no day). No value when TimeOfDay::Create refuses
/// the fields.
AVO_OBJECTMODEL_EXPORT boost::optional<TimeOfDay> FromVelTime(const VELTIME& time);

/// The weekday mask of a day of week (0 no day, 1 Monday .. 7 Sunday). Any
/// other value is a program bug: the unreachable report, then termination.
AVO_OBJECTMODEL_EXPORT VelWeekDays::WEEK_DAY_TYPES ToVelWeekday(DayOfWeek day);

} // namespace AvoApp
