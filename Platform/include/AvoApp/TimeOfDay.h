#pragma once
/// @file
/// A validated time of day with an optional day of week.

#include "Avo/PlatformExport.h"

#include <boost/optional.hpp>

#include <cstdint>

namespace AvoApp {

/// Day of week: 0 no day, 1 Monday .. 7 Sunday.
enum DayOfWeek : std::uint8_t {
  NoDay = 0,
  Monday = 1,
  Tuesday = 2,
  Wednesday = 3,
  Thursday = 4,
  Friday = 5,
  Saturday = 6,
  Sunday = 7
};

/// Hour, minute, second and day of week, valid by construction (Create).
class AVO_PLATFORM_EXPORT TimeOfDay {
public:
  /// A time of day when hour is 0..23, minute and second 0..59 and day 0..7;
  /// otherwise no value.
  static boost::optional<TimeOfDay> Create(int hour, int minute, int second, int day);

  /// 0..23.
  int GetHour() const { return m_hour; }
  /// 0..59.
  int GetMinute() const { return m_minute; }
  /// 0..59.
  int GetSecond() const { return m_second; }
  /// NoDay or Monday..Sunday.
  DayOfWeek GetWeekday() const { return m_day; }

  /// All four fields equal.
  bool operator==(const TimeOfDay& other) const {
    return m_hour == other.m_hour && m_minute == other.m_minute && m_second == other.m_second &&
           m_day == other.m_day;
  }

private:
  TimeOfDay(int hour, int minute, int second, DayOfWeek day)
      : m_hour(hour), m_minute(minute), m_second(second), m_day(day) {}

  int m_hour;
  int m_minute;
  int m_second;
  DayOfWeek m_day;
};

} // namespace AvoApp
