#include "Avo/MeasureDuration.h"

#include "LogCapture.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

// The timer's standard text, six decimals, without leading blank or line end.
const char* const kReport =
    "Took [0-9]+\\.[0-9]{6}s wall, [0-9]+\\.[0-9]{6}s user \\+ [0-9]+\\.[0-9]{6}s system = "
    "[0-9]+\\.[0-9]{6}s CPU \\(([0-9]+\\.[0-9]+|n/a)%\\)";

TEST(MeasureDuration, ReportsAtInfoFromTheLimitOnAndAtTraceWithoutLimit) {
  AvoTest::ScopedLogCapture capture;
  { Avo::MeasureDuration below("Took ", std::chrono::hours(1)); }
  EXPECT_TRUE(capture.Lines().empty());
  { Avo::MeasureDuration reached("Took ", std::chrono::nanoseconds(0)); }
  { Avo::MeasureDuration unlimited("Took "); }
  const auto lines = capture.Lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].level, log4cplus::INFO_LOG_LEVEL);
  EXPECT_EQ(lines[1].level, log4cplus::TRACE_LOG_LEVEL);
  for (const auto& line : lines) {
    EXPECT_EQ(line.function, "~MeasureDuration");
    EXPECT_THAT(line.text, ::testing::MatchesRegex(kReport));
  }
}

} // namespace
