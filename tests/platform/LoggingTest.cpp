#include "LogCapture.h"

#include "Avo/Logging.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <stdexcept>
#include <string>

namespace {

using AvoTest::Line;
using AvoTest::ScopedLogCapture;
using ::testing::ElementsAre;

TEST(Logging, LineIsContextFunctionFileAndLineThenPaddingAndText) {
  ScopedLogCapture capture;
  constexpr int line = __LINE__ + 1;
  AVO_LOG_ERROR("No Entry found for DPT = " << 9 << "." << 1);
  Avo::SetLoggingContext("apphost");
  {
    Avo::LoggingRecursionPadding nested;
    AVO_LOG_INFO("inner");
  }
  AVO_LOG_INFO("outer");
  Avo::SetLoggingContext("");
  const auto at = [](int offset) {
    return "TestBody (LoggingTest.cpp:" + std::to_string(line + offset) + ") - ";
  };
  const auto lines = capture.Lines();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[0].entry, at(0) + "No Entry found for DPT = 9.1");
  EXPECT_EQ(lines[1].entry, "[apphost] " + at(4) + "  inner");
  EXPECT_EQ(lines[2].entry, "[apphost] " + at(6) + "outer");
  // A compiler's pretty function name is shortened alike.
  const auto format = &Avo::PrettyFunctionNamePrinter::Format;
  EXPECT_EQ(format("static void Avo::Range<T>::Check(T) [with T = int]", "/src/x.cpp", 3),
            "Check (x.cpp:3)");
  EXPECT_EQ(format("bool Avo::function<R(Args ...)>::operator()(Args ...) const [with R = bool]",
                   "x.cpp", 3),
            "operator() (x.cpp:3)");
}

TEST(Logging, ThresholdDropsLowerLevelsAndSkipsTheirFormatting) {
  ScopedLogCapture capture(log4cplus::INFO_LOG_LEVEL);
  int formatted = 0;
  const auto probe = [&formatted] { return ++formatted, "probe"; };
  AVO_LOG_TRACE("t " << probe());
  AVO_LOG_DEBUG("d " << probe());
  AVO_LOG_INFO("i " << probe());
  AVO_LOG_WARN("w");
  EXPECT_EQ(formatted, 1);
  EXPECT_THAT(capture.Lines(), ElementsAre(Line(log4cplus::INFO_LOG_LEVEL, "i probe"),
                                           Line(log4cplus::WARN_LOG_LEVEL, "w")));
}

// A value whose output operator logs a line of its own while its own line
// is being streamed.
struct Chatty {
  friend std::ostream& operator<<(std::ostream& os, const Chatty& /*chatty*/) {
    AVO_LOG_INFO("inner " << std::hex << 255);
    return os << "chatty";
  }
};

struct Throwing {
  friend std::ostream& operator<<(std::ostream& os, const Throwing& /*throwing*/) {
    os << "half";
    throw std::runtime_error("no text");
  }
};

// Streams are reused from line to line: no line may see another line's text
// or format, also when a line is begun inside another or left by an exception.
TEST(Logging, EveryLineStartsWithAnEmptyStreamInTheDefaultFormat) {
  ScopedLogCapture capture;
  AVO_LOG_INFO("a " << std::hex << std::showbase << 255 << std::setprecision(2) << std::fixed
                    << std::setfill('*') << 1.5 << std::setw(4));
  AVO_LOG_INFO("b " << 255 << ' ' << 1.23456789 << ' ' << std::setw(3) << 7);
  AVO_LOG_INFO("outer " << Chatty() << ' ' << 10);
  EXPECT_THROW(AVO_LOG_INFO("lost " << Throwing()), std::runtime_error);
  AVO_LOG_INFO("c " << 12);
  EXPECT_THAT(capture.Texts(), ElementsAre("a 0xff1.50", "b 255 1.23457   7", "inner ff",
                                           "outer chatty 10", "c 12"));
}

void Require(const int* pointer) { AVO_ASSERT2(pointer != nullptr); }

TEST(Logging, FailedAssertionLogsFatalAndThrows) {
  ScopedLogCapture capture;
  const std::string failed = "AVO_ASSERT2(pointer != nullptr) failed";
  EXPECT_THAT([] { Require(nullptr); },
              ::testing::ThrowsMessage<Avo::AssertionFailed>(::testing::StrEq(failed)));
  EXPECT_THAT(capture.Lines(), ElementsAre(Line(log4cplus::FATAL_LOG_LEVEL, failed, "Require")));
}

} // namespace
