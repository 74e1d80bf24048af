#include "Avo/MeasureDuration.h"
#include "AvoObjectModel/GroupValueVelValue.h"
#include "AvoObjectModel/TimeOfDay.h"

#include "LogCapture.h"

#include <boost/date_time/posix_time/posix_time.hpp> // ptime and its text form

#include <gtest/gtest.h>

#include <algorithm> // std::generate
#include <chrono>
#include <random>
#include <string>

namespace {

using namespace std::string_literals;
using AvoTest::LogLine;
using boost::gregorian::date;
using boost::posix_time::ptime;
using boost::posix_time::time_duration;
using ::testing::ElementsAre;

VELTIME Time(std::uint8_t hour, std::uint16_t weekdayMask) {
  return VELTIME{2024, 5, 6, hour, 59, 58, 0, weekdayMask, 0, true, true};
}

TEST(TimeOfDay, DaysAndWeekdayMasksMapBothWays) {
  for (int day = 0; day <= 7; ++day) {
    const auto mask = AvoApp::ToVelWeekday(static_cast<AvoApp::DayOfWeek>(day));
    EXPECT_EQ(mask, day == 0 ? 0 : 1 << (day - 1));
    EXPECT_TRUE(AvoApp::FromVelTime(Time(23, mask)) == AvoApp::TimeOfDay::Create(23, 59, 58, day));
  }
  for (const std::uint16_t mask : {0x0003, 0x0080, 0xFFFF}) { // no single day: no day
    EXPECT_TRUE(AvoApp::FromVelTime(Time(8, mask)) == AvoApp::TimeOfDay::Create(8, 59, 58, 0));
  }
  EXPECT_FALSE(AvoApp::FromVelTime(Time(24, 1)));
}

TEST(TimeOfDayDeathTest, DayBeyondSundayIsReportedAndTerminates) {
  EXPECT_DEATH(AvoApp::ToVelWeekday(static_cast<AvoApp::DayOfWeek>(8)),
               "This statement should not be executed\\. There is a bug somewhere around "
               ".*TimeOfDay\\.cpp:[0-9]+");
}

TEST(RepairUtf8, ValidTextIsKeptAndEachInvalidSequenceBecomesOneQuestionMark) {
  const std::string valid = "\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80";
  // Cut off at the end or inside, a lead byte without continuation, bytes that
  // start nothing, an overlong form and a surrogate; the text's own final NUL stays.
  const std::pair<std::string, std::string> cases[] = {{"", ""},
                                                       {"a\0b"s, "a\0b"s},
                                                       {valid, valid},
                                                       {"ab\xC3", "ab?"},
                                                       {"ab\xE2\x82", "ab?"},
                                                       {"a\xC3(b", "a?(b"},
                                                       {"\xFF\xFE", "??"},
                                                       {"\xC0\xAF\xED\xA0\x80", "??"},
                                                       {"\xFF\0"s, "?\0"s}};
  for (const auto& [text, repaired] : cases) {
    EXPECT_EQ(Avo::RepairUTF8(text).Str(), repaired);
  }
  std::mt19937 random(7);
  for (int i = 0; i < 20000; ++i) {
    std::string text(random() % 12, '\0');
    std::generate(text.begin(), text.end(), [&] { return static_cast<char>(random()); });
    const std::string repaired = Avo::RepairUTF8(text).Str();
    EXPECT_TRUE(Avo::UTF8String::IsValid(repaired));
    EXPECT_TRUE(Avo::UTF8String::IsValid(text) ? repaired == text : repaired.size() <= text.size());
  }
}

TEST(TimePoint, LocalTimesOfASigned32BitSecondsCountAreStored) {
  const ptime last(date(2038, 1, 19), time_duration(3, 14, 7));
  const VELVALUE value = Avo::ToVelValue(last, ivtDateTime);
  EXPECT_TRUE(value.ivt == ivtDateTime && value.status == 2);
  EXPECT_EQ(value.tmVal, (VELTIME{2038, 1, 19, 3, 14, 7, 0, VelWeekDays::TUESDAY, 0, true, true}));
  for (const ptime& outside :
       {last + boost::posix_time::seconds(1), ptime(date(1901, 12, 13), time_duration(20, 45, 51)),
        ptime(boost::posix_time::not_a_date_time), ptime(boost::posix_time::pos_infin)}) {
    EXPECT_EQ(Avo::ToVelValue(outside, ivtDate), VELVALUE()) << outside;
  }
}

TEST(VelValueHelper, EachOverloadBuildsItsOwnTypeAndChecksIt) {
  EXPECT_EQ(Avo::ToVelValue("text", ivtString).strVal, "text"); // not the bool overload
  AvoTest::ScopedLogCapture capture;
  EXPECT_THROW(Avo::ToVelValue(std::uint8_t{1}, ivtBool), Avo::AssertionFailed);
  EXPECT_THROW(Avo::ToVelValue(1.0, ivtInteger), Avo::AssertionFailed);
  const auto failed = AvoTest::Line(log4cplus::FATAL_LOG_LEVEL,
                                    "AVO_ASSERT2(result.ivt == expectedType) failed", "ToVelValue");
  EXPECT_THAT(capture.Lines(), ElementsAre(failed, failed));
}

// The timer's standard text, six decimals, without leading blank or line end.
const std::string kTimes =
    "[0-9]+\\.[0-9]{6}s wall, [0-9]+\\.[0-9]{6}s user \\+ [0-9]+\\.[0-9]{6}s system = "
    "[0-9]+\\.[0-9]{6}s CPU \\(([0-9]+\\.[0-9]+|n/a)%\\)";

TEST(MeasureDuration, ReportsAtInfoFromTheLimitOnAndAtTraceWithoutLimit) {
  AvoTest::ScopedLogCapture capture;
  { Avo::MeasureDuration below("Below ", std::chrono::hours(1)); }
  { Avo::MeasureDuration reached("Reached ", std::chrono::nanoseconds(0)); }
  { Avo::MeasureDuration unlimited("Always "); }
  using namespace ::testing;
  const auto report = [](log4cplus::LogLevel level, const std::string& message) {
    return AllOf(Field(&LogLine::level, level), Field(&LogLine::function, "~MeasureDuration"),
                 Field(&LogLine::text, MatchesRegex(message + kTimes)));
  };
  EXPECT_THAT(capture.Lines(), ElementsAre(report(log4cplus::INFO_LOG_LEVEL, "Reached "),
                                           report(log4cplus::TRACE_LOG_LEVEL, "Always ")));
}

} // namespace
