#include "AvoObjectModel/RequestMessengerDeviceStack.h"

#include "LogCapture.h"
#include "Polt/SimulatedDeviceStackClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace {

using AvoTest::Line;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string Serialized(const VELVALUE& value, bool internalFormat) {
  std::string text;
  value.Serialize(text, internalFormat);
  return text;
}

TEST(Adapter, SendsTheValueTextOfTheCurrentFormat) {
  Polt::SimulatedDeviceStackClient simulation;
  simulation.SetObject(1, "");
  Avo::RemoteRequestMessengerDeviceStack adapter(simulation);
  VELVALUE nan(ivtFloat), number(ivtFloat), text(ivtString);
  nan.dblVal = std::numeric_limits<double>::quiet_NaN();
  number.dblVal = 21.5;
  text.strVal = "Küche";
  ASSERT_NE(Serialized(number, true), Serialized(number, false));
  // Each write's text as it reached the device stack.
  auto sent = [&](const VELVALUE& value) {
    adapter.SetValueAsync(1, value, false);
    return *simulation.GetObjectValue(1);
  };
  auto expectTexts = [&](bool internalFormat, const char* nanText) {
    EXPECT_EQ(simulation.IsInternalValueFormatEnabled(), internalFormat);
    EXPECT_EQ(sent(nan), nanText);
    EXPECT_EQ(sent(number), Serialized(number, internalFormat));
    EXPECT_EQ(sent(text), Serialized(text, internalFormat));
  };
  expectTexts(false, "nan"); // the initial format

  AvoTest::ScopedLogCapture capture;
  adapter.EnableInternalValueFormat();
  EXPECT_THAT(capture.Lines(), ElementsAre(Line(log4cplus::DEBUG_LOG_LEVEL,
                                                "Internal value format now enabled.",
                                                "EnableInternalValueFormat")));
  EXPECT_TRUE(adapter.EnableNativeFormat()); // selects a format by name, keeps the switch
  EXPECT_EQ(simulation.GetValueFormat(), "Native");
  expectTexts(true, "3.7:nan");

  capture.Clear();
  adapter.EnableDefaultValueFormat();
  EXPECT_THAT(capture.Lines(), IsEmpty());
  expectTexts(false, "nan");
}

} // namespace
