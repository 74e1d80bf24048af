#include "AvoObjectModel/GroupValueVelValue.h"
#include "AvoObjectModel/TimeOfDay.h"

#include <boost/date_time/posix_time/posix_time.hpp> // ptime and its text form

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using namespace std::string_literals;
using boost::gregorian::date;
using boost::posix_time::ptime;
using boost::posix_time::time_duration;

VELTIME Time(int hour, int minute, int second, std::uint16_t weekdayMask) {
  VELTIME time{};
  time.Clear(true);
  time.hour = static_cast<std::uint8_t>(hour);
  time.minute = static_cast<std::uint8_t>(minute);
  time.second = static_cast<std::uint8_t>(second);
  time.weekday = weekdayMask;
  return time;
}

TEST(TimeOfDay, DaysAndWeekdayMasksMapBothWays) {
  for (int day = 0; day <= 7; ++day) {
    const auto mask = AvoApp::ToVelWeekday(static_cast<AvoApp::DayOfWeek>(day));
    EXPECT_EQ(mask, day == 0 ? 0 : 1 << (day - 1));
    EXPECT_TRUE(AvoApp::FromVelTime(Time(23, 59, 58, mask)) ==
                AvoApp::TimeOfDay::Create(23, 59, 58, day));
  }
  // Masks naming no single day give no day.
  for (const std::uint16_t mask : {0x0003, 0x0080, 0xFFFF}) {
    EXPECT_TRUE(AvoApp::FromVelTime(Time(8, 0, 0, mask)) == AvoApp::TimeOfDay::Create(8, 0, 0, 0))
        << mask;
  }
  EXPECT_FALSE(AvoApp::FromVelTime(Time(24, 0, 0, 1)));
}

TEST(TimeOfDayDeathTest, DayBeyondSundayIsReportedAndTerminates) {
  EXPECT_DEATH(AvoApp::ToVelWeekday(static_cast<AvoApp::DayOfWeek>(8)),
               "This statement should not be executed\\. There is a bug somewhere around "
               ".*TimeOfDay\\.cpp:[0-9]+");
}

TEST(RepairUtf8, ValidTextIsKeptAndEachInvalidSequenceBecomesOneQuestionMark) {
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},
      {"Gr\xC3\xBC\xC3\x9F"
       "e \xE2\x82\xAC",
       "Gr\xC3\xBC\xC3\x9F"
       "e \xE2\x82\xAC"},
      {"a\0b"s, "a\0b"s},
      {"ab\xC3", "ab?"}, // cut off after the lead byte
      {"ab\xE2\x82", "ab?"}, // cut off inside a sequence
      {"a\xC3(b", "a?(b"}, // lead byte without continuation
      {"\xFF\xFE", "??"}, // bytes that start no sequence
      {"\xC0\xAF\xED\xA0\x80", "??"}, // overlong form, surrogate
      {"\xFF\0"s, "?\0"s}, // the text's own final NUL stays
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Avo::RepairUTF8(c.first).Str(), c.second);
  }
  std::mt19937 random(7);
  for (int i = 0; i < 20000; ++i) {
    std::string text(random() % 12, '\0');
    for (char& c : text) {
      c = static_cast<char>(random());
    }
    const std::string repaired = Avo::RepairUTF8(text).Str();
    EXPECT_TRUE(Avo::UTF8String::IsValid(repaired));
    EXPECT_TRUE(Avo::UTF8String::IsValid(text) ? repaired == text : repaired.size() <= text.size());
  }
}

TEST(TimePoint, LocalTimesOfASigned32BitSecondsCountAreStored) {
  const ptime last(date(2038, 1, 19), time_duration(3, 14, 7));
  const VELVALUE value = Avo::ToVelValue(last, ivtDateTime);
  EXPECT_EQ(value.ivt, ivtDateTime);
  EXPECT_EQ(value.status, VELVALUE(ivtDateTime).status);
  const VELTIME& t = value.tmVal;
  EXPECT_EQ(std::vector<int>({t.year, t.month, t.day, t.hour, t.minute, t.second}),
            std::vector<int>({2038, 1, 19, 3, 14, 7}));
  for (const ptime& outside :
       {last + boost::posix_time::seconds(1), ptime(date(1901, 12, 13), time_duration(20, 45, 51)),
        ptime(boost::posix_time::not_a_date_time), ptime(boost::posix_time::pos_infin)}) {
    EXPECT_EQ(Avo::ToVelValue(outside, ivtDate), VELVALUE()) << outside;
  }
}

} // namespace
