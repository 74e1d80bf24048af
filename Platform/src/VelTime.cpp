// The date and time part of the value record: setting, calendar checks and
// conversion to and from the C library's broken-down and epoch times.

#include "VelValue.h"

#include <ctime> // localtime_r, std::time_t

namespace {

constexpr unsigned short kFirstValidYear = 1400;
constexpr unsigned short kLastValidYear = 9999;

bool IsLeapYear(unsigned int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

unsigned int DaysInMonth(unsigned int year, unsigned int month) {
  static constexpr unsigned char kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

/// Days from 1970-01-01 to a Gregorian date (proleptic, negative before).
long long DaysFromCivil(long long year, unsigned int month, unsigned int day) {
  year -= month <= 2 ? 1 : 0;
  const long long era = (year >= 0 ? year : year - 399) / 400;
  const long long yearOfEra = year - era * 400;
  const long long dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  const long long dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + dayOfEra - 719468;
}

/// 0 = Sunday .. 6 = Saturday, as in std::tm.
int WeekdayIndex(unsigned int year, unsigned int month, unsigned int day) {
  const long long days = DaysFromCivil(year, month, day);
  // 1970-01-01 was a Thursday (4).
  return static_cast<int>(((days + 4) % 7 + 7) % 7);
}

/// The mask bit of a std::tm weekday: Monday first, Sunday last.
std::uint16_t WeekdayMask(int tmWeekday) {
  return static_cast<std::uint16_t>(1u << ((tmWeekday + 6) % 7));
}

/// The std::tm weekday of a mask with exactly one day, or -1.
int TmWeekdayFromMask(std::uint16_t mask) {
  for (int bit = 0; bit < 7; ++bit) {
    if (mask == (1u << bit)) {
      return (bit + 1) % 7;
    }
  }
  return -1;
}

} // namespace

void VELTIME::Clear(bool localTime) {
  *this = VELTIME{};
  isLocalTime = localTime;
}

void VELTIME::SetDate(unsigned short newYear, unsigned char newMonth, unsigned char newDay,
                      bool localTime) {
  Clear(localTime);
  year = newYear;
  month = newMonth;
  day = newDay;
  isValid = true;
}

void VELTIME::SetDateTime(unsigned short newYear, unsigned char newMonth, unsigned char newDay,
                          unsigned char newHour, unsigned char newMinute, unsigned char newSecond,
                          bool localTime) {
  SetDate(newYear, newMonth, newDay, localTime);
  hour = newHour;
  minute = newMinute;
  second = newSecond;
  if (IsValidDate(newYear, newMonth, newDay)) {
    weekday = WeekdayMask(WeekdayIndex(newYear, newMonth, newDay));
  }
}

bool VELTIME::IsValidDate(unsigned short checkedYear, unsigned char checkedMonth,
                          unsigned char checkedDay) {
  return checkedYear >= kFirstValidYear && checkedYear <= kLastValidYear && checkedMonth >= 1 &&
         checkedMonth <= 12 && checkedDay >= 1 &&
         checkedDay <= DaysInMonth(checkedYear, checkedMonth);
}

bool VELTIME::IsValidTime(unsigned char checkedHour, unsigned char checkedMinute,
                          unsigned char checkedSecond) {
  return checkedHour < 24 && checkedMinute < 60 && checkedSecond < 60;
}

VELTIME::operator std::tm() const {
  std::tm result{};
  result.tm_year = year - 1900;
  result.tm_mon = month - 1;
  result.tm_mday = day;
  result.tm_hour = hour;
  result.tm_min = minute;
  result.tm_sec = second;
  result.tm_isdst = -1;
  const bool validDate = IsValidDate(year, month, day);
  const int fromMask = TmWeekdayFromMask(weekday);
  if (fromMask >= 0) {
    result.tm_wday = fromMask;
  } else if (validDate) {
    result.tm_wday = WeekdayIndex(year, month, day);
  }
  if (validDate) {
    result.tm_yday = static_cast<int>(DaysFromCivil(year, month, day) - DaysFromCivil(year, 1, 1));
  }
  return result;
}

VELTIME& VELTIME::operator=(long secondsSinceEpoch) {
  Clear(true);
  const std::time_t seconds = secondsSinceEpoch;
  std::tm local{};
  if (localtime_r(&seconds, &local) == nullptr) {
    return *this;
  }
  const long long fullYear = 1900LL + local.tm_year;
  if (fullYear < 0 || fullYear > 0xFFFF) {
    return *this;
  }
  year = static_cast<std::uint16_t>(fullYear);
  month = static_cast<std::uint8_t>(local.tm_mon + 1);
  day = static_cast<std::uint8_t>(local.tm_mday);
  hour = static_cast<std::uint8_t>(local.tm_hour);
  minute = static_cast<std::uint8_t>(local.tm_min);
  second = static_cast<std::uint8_t>(local.tm_sec);
  weekday = WeekdayMask(local.tm_wday);
  isValid = true;
  return *this;
}

bool VELTIME::operator==(const VELTIME& other) const {
  return year == other.year && month == other.month && day == other.day && hour == other.hour &&
         minute == other.minute && second == other.second && hundredths == other.hundredths &&
         weekday == other.weekday && timeOfDayOnly == other.timeOfDayOnly &&
         isLocalTime == other.isLocalTime && isValid == other.isValid;
}
