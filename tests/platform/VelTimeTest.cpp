#include "VelValue.h"

#include <gtest/gtest.h>

#include <cstdlib> // setenv, unsetenv
#include <ctime>   // tzset, mktime
#include <limits>
#include <string>

namespace {

TEST(VelTime, CalendarValidity) {
  const struct {
    unsigned short year;
    unsigned char month, day;
    bool valid;
  } cases[] = {
      {2024, 2, 29, true},  {2023, 2, 29, false}, {1900, 2, 29, false}, {2000, 2, 29, true},
      {2024, 4, 30, true},  {2024, 4, 31, false}, {2024, 12, 31, true}, {2024, 13, 1, false},
      {2024, 0, 1, false},  {2024, 1, 0, false},  {2024, 1, 32, false}, {1400, 1, 1, true},
      {1399, 12, 31, false}, {9999, 12, 31, true}, {10000, 1, 1, false}, {0, 1, 1, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(VELTIME::IsValidDate(c.year, c.month, c.day), c.valid)
        << c.year << "-" << int(c.month) << "-" << int(c.day);
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
      {2024, 5, 6, VelWeekDays::MONDAY, 1, 126},     {2024, 5, 5, VelWeekDays::SUNDAY, 0, 125},
      {2000, 2, 29, VelWeekDays::TUESDAY, 2, 59},    {1970, 1, 1, VelWeekDays::THURSDAY, 4, 0},
      {1400, 1, 1, VelWeekDays::WEDNESDAY, 3, 0},    {9999, 12, 31, VelWeekDays::FRIDAY, 5, 364},
      {2024, 2, 30, VelWeekDays::NONE, 0, 0}, // no such day: no weekday
  };
  for (const auto& c : cases) {
    VELTIME time{};
    time.SetDateTime(c.year, c.month, c.day, 10, 20, 30, false);
    EXPECT_EQ(time.weekday, c.mask) << c.year << "-" << int(c.month) << "-" << int(c.day);
    EXPECT_TRUE(time.isValid);
    EXPECT_FALSE(time.isLocalTime);
    const std::tm tm = time;
    EXPECT_EQ(tm.tm_year, c.year - 1900);
    EXPECT_EQ(tm.tm_mon, c.month - 1);
    EXPECT_EQ(tm.tm_mday, c.day);
    EXPECT_EQ(tm.tm_hour, 10);
    EXPECT_EQ(tm.tm_min, 20);
    EXPECT_EQ(tm.tm_sec, 30);
    EXPECT_EQ(tm.tm_wday, c.tmWeekday);
    EXPECT_EQ(tm.tm_yday, c.tmYearDay);
    EXPECT_EQ(tm.tm_isdst, -1);
  }
}

TEST(VelTime, SetDateDropsTheTimeOfDayAndWeekday) {
  VELTIME time{};
  time.SetDateTime(2024, 5, 6, 10, 20, 30, false);
  time.hundredths = 50;
  time.timeOfDayOnly = 1;
  time.SetDate(2023, 1, 2, true);
  VELTIME expected{};
  expected.year = 2023;
  expected.month = 1;
  expected.day = 2;
  expected.isLocalTime = true;
  expected.isValid = true;
  EXPECT_EQ(time, expected);
}

TEST(VelTime, ASingleWeekdayInTheMaskWinsOverTheDate) {
  VELTIME time{};
  time.SetDateTime(2024, 5, 6, 0, 0, 0, true); // a Monday
  time.weekday = VelWeekDays::SATURDAY;
  EXPECT_EQ(std::tm(time).tm_wday, 6);
  time.weekday = VelWeekDays::MONDAY | VelWeekDays::TUESDAY; // no single day: from the date
  EXPECT_EQ(std::tm(time).tm_wday, 1);
}

class VelTimeInZone : public ::testing::Test {
protected:
  void TearDown() override { SetZone(m_saved.empty() ? nullptr : m_saved.c_str()); }
  void SetUp() override {
    const char* saved = std::getenv("TZ");
    m_saved = saved != nullptr ? saved : "";
  }
  static void SetZone(const char* zone) {
    if (zone != nullptr) {
      setenv("TZ", zone, 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }

private:
  std::string m_saved;
};

TEST_F(VelTimeInZone, SecondsSinceTheEpochGiveTheLocalCalendarTime) {
  const struct {
    const char* zone;
    long seconds;
    unsigned short year;
    unsigned char month, day, hour, minute, second;
    std::uint16_t weekday;
  } cases[] = {
      {"UTC", 0, 1970, 1, 1, 0, 0, 0, VelWeekDays::THURSDAY},
      {"UTC", -1, 1969, 12, 31, 23, 59, 59, VelWeekDays::WEDNESDAY},
      {"UTC", 2147483647, 2038, 1, 19, 3, 14, 7, VelWeekDays::TUESDAY},
      {"CET-1CEST,M3.5.0,M10.5.0/3", 1714990830, 2024, 5, 6, 12, 20, 30, VelWeekDays::MONDAY},
      {"CET-1CEST,M3.5.0,M10.5.0/3", 0, 1970, 1, 1, 1, 0, 0, VelWeekDays::THURSDAY},
  };
  for (const auto& c : cases) {
    SetZone(c.zone);
    VELTIME time{};
    time.Clear(false);
    time.hundredths = 42;
    time = c.seconds;
    VELTIME expected{};
    expected.SetDateTime(c.year, c.month, c.day, c.hour, c.minute, c.second, true);
    EXPECT_EQ(time, expected) << c.zone << " " << c.seconds;
    EXPECT_EQ(time.weekday, c.weekday);

    // Back through the broken-down time: the same instant.
    std::tm tm = time;
    EXPECT_EQ(static_cast<long>(std::mktime(&tm)), c.seconds) << c.zone << " " << c.seconds;
  }
}

TEST_F(VelTimeInZone, ACountBeyondTheCalendarLeavesAClearedInvalidTime) {
  SetZone("UTC");
  VELTIME time{};
  time.SetDateTime(2024, 5, 6, 1, 2, 3, false);
  time = std::numeric_limits<long>::max(); // 2038 where long has 32 bits
  if (sizeof(long) > 4) {
    VELTIME cleared{};
    cleared.Clear(true);
    EXPECT_EQ(time, cleared);
  } else {
    EXPECT_EQ(time.year, 2038);
    EXPECT_TRUE(time.isValid);
  }
}

} // namespace
