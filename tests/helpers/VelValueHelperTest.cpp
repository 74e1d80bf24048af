#include "Avo/VelValueHelper.h"

#include "LogCapture.h"

#include <gtest/gtest.h>

namespace {

TEST(VelValueHelper, EachOverloadBuildsItsOwnTypeAndChecksIt) {
  EXPECT_EQ(Avo::ToVelValue(true, ivtBool).byVal, 1);
  EXPECT_EQ(Avo::ToVelValue(std::uint16_t{65535}, ivtWord).wVal, 65535);
  EXPECT_EQ(Avo::ToVelValue(std::int32_t{-5}, ivtInteger).lVal, -5);
  EXPECT_EQ(Avo::ToVelValue("text", ivtString).strVal, "text"); // not the bool overload
  AvoTest::ScopedLogCapture capture;
  EXPECT_THROW(Avo::ToVelValue(std::uint8_t{1}, ivtBool), Avo::AssertionFailed);
  EXPECT_THROW(Avo::ToVelValue(1.0, ivtInteger), Avo::AssertionFailed);
  EXPECT_THAT(capture.Lines(),
              ::testing::Each(AvoTest::Line(log4cplus::FATAL_LOG_LEVEL,
                                            "AVO_ASSERT2(result.ivt == expectedType) failed",
                                            "ToVelValue")));
  EXPECT_EQ(capture.Lines().size(), 2u);
}

} // namespace
