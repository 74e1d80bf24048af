#include "VelValueSamples.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib> // setenv
#include <ctime>   // tzset, mktime
#include <limits>

namespace {

using namespace VelTest;

std::array<int, 9> Fields(const std::tm& tm) {
  return {tm.tm_year, tm.tm_mon, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, tm.tm_wday, tm.tm_yday, tm.tm_isdst};
}

TEST(VelTime, CalendarValidity) {
  const struct {
    unsigned short year;
    unsigned char month, day;
    bool valid;
  } dates[] = {{2024, 2, 29, true},  {2023, 2, 29, false}, {1900, 2, 29, false}, {2000, 2, 29, true},
               {2024, 4, 30, true},  {2024, 4, 31, false}, {2024, 12, 31, true}, {2024, 13, 1, false},
               {2024, 0, 1, false},  {2024, 1, 0, false},  {2024, 1, 32, false}, {1400, 1, 1, true},
               {1399, 12, 31, false}, {9999, 12, 31, true}, {10000, 1, 1, false}};
  for (const auto& d : dates) {
    EXPECT_EQ(VELTIME::IsValidDate(d.year, d.month, d.day), d.valid) << d.year << "-" << +d.month << "-" << +d.day;
  }
  EXPECT_TRUE(VELTIME::IsValidTime(0, 0, 0));
  EXPECT_TRUE(VELTIME::IsValidTime(23, 59, 59));
  EXPECT_FALSE(VELTIME::IsValidTime(24, 0, 0));
  EXPECT_FALSE(VELTIME::IsValidTime(0, 60, 0));
  EXPECT_FALSE(VELTIME::IsValidTime(0, 0, 60));
}

TEST(VelTime, SetDateTimeComputesTheWeekdayAndTmFollowsIt) {
  const struct {
    unsigned short year;
    unsigned char month, day;
    std::uint16_t mask;
    int tmWeekday, tmYearDay;
  } cases[] = {
      {2024, 5, 6, VelWeekDays::MONDAY, 1, 126},  {2024, 5, 5, VelWeekDays::SUNDAY, 0, 125},
      {2000, 2, 29, VelWeekDays::TUESDAY, 2, 59}, {1970, 1, 1, VelWeekDays::THURSDAY, 4, 0},
      {1400, 1, 1, VelWeekDays::WEDNESDAY, 3, 0}, {9999, 12, 31, VelWeekDays::FRIDAY, 5, 364},
      {2024, 2, 30, VelWeekDays::NONE, 0, 0}, // no such day: no weekday
  };
  for (const auto& c : cases) {
    const VELTIME time = DateTime(c.year, c.month, c.day, 10, 20, 30, false);
    EXPECT_EQ(time.weekday, c.mask) << c.year << "-" << +c.month << "-" << +c.day;
    EXPECT_TRUE(time.isValid && !time.isLocalTime);
    const std::tm tm = time;
    EXPECT_EQ(Fields(tm), (std::array<int, 9>{c.year - 1900, c.month - 1, c.day, 10, 20, 30,
                                              c.tmWeekday, c.tmYearDay, -1}));
  }
}

TEST(VelTime, SetDateDropsTheTimeAndASingleWeekdayInTheMaskWinsOverTheDate) {
  VELTIME time = DateTime(2024, 5, 6, 10, 20, 30, false); // a Monday
  time.weekday = VelWeekDays::SATURDAY;
  EXPECT_EQ(std::tm(time).tm_wday, 6);
  time.weekday = VelWeekDays::MONDAY | VelWeekDays::TUESDAY; // no single day: from the date
  EXPECT_EQ(std::tm(time).tm_wday, 1);
  time.hundredths = 50;
  time.timeOfDayOnly = 1;
  time.SetDate(2023, 1, 2, true);
  EXPECT_EQ(time, (VELTIME{2023, 1, 2, 0, 0, 0, 0, 0, 0, true, true}));
}

TEST(VelTime, SecondsSinceTheEpochGiveTheLocalCalendarTime) {
  const char* const cet = "CET-1CEST,M3.5.0,M10.5.0/3";
  const struct {
    const char* zone;
    long seconds;
    VELTIME expected;
  } cases[] = {
      {"UTC", 0, DateTime(1970, 1, 1, 0, 0, 0)},
      {"UTC", -1, DateTime(1969, 12, 31, 23, 59, 59)},
      {"UTC", 2147483647, DateTime(2038, 1, 19, 3, 14, 7)},
      {cet, 1714990830, DateTime(2024, 5, 6, 12, 20, 30)}, // summer time
      {cet, 0, DateTime(1970, 1, 1, 1, 0, 0)},
  };
  for (const auto& c : cases) {
    setenv("TZ", c.zone, 1);
    tzset();
    VELTIME time{};
    time.hundredths = 42;
    time = c.seconds;
    EXPECT_EQ(time, c.expected) << c.zone << " " << c.seconds;
    std::tm tm = time; // and back: the same instant
    EXPECT_EQ(static_cast<long>(std::mktime(&tm)), c.seconds) << c.zone << " " << c.seconds;
  }

  VELTIME time = DateTime(2024, 5, 6, 1, 2, 3, false);
  time = std::numeric_limits<long>::max(); // 2038 where long has 32 bits
  VELTIME cleared{};
  cleared.Clear(true);
  EXPECT_EQ(time == cleared, sizeof(long) > 4); // beyond any calendar year: cleared, not valid
  EXPECT_EQ(time.isValid, sizeof(long) == 4);
  setenv("TZ", "UTC", 1);
  tzset();
}

} // namespace
