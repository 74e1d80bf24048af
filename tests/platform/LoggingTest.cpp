#include "LogCapture.h"

#include "Avo/Function.h"
#include "Avo/Logging.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <stdexcept>

namespace {

using AvoTest::Line;
using AvoTest::ScopedLogCapture;
using ::testing::ElementsAre;

struct Probe {
  int calls = 0;
  friend std::ostream& operator<<(std::ostream& os, Probe& probe) {
    ++probe.calls;
    return os << "probe";
  }
};

void LogAtEveryLevel() {
  AVO_LOG_TRACE("t");
  AVO_LOG_DEBUG("d " << 1);
  AVO_LOG_INFO("i");
  AVO_LOG_WARN("w");
  AVO_LOG_ERROR("e");
}

TEST(Logging, LineCarriesShortFunctionNameFileAndLineBeforeTheText) {
  ScopedLogCapture capture;
  const int line = __LINE__ + 1;
  AVO_LOG_ERROR("No Entry found for DPT = " << 9 << "." << 1);
  const auto lines = capture.Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].entry, "TestBody (LoggingTest.cpp:" + std::to_string(line) +
                                ") - No Entry found for DPT = 9.1");
  EXPECT_EQ(lines[0].function, "TestBody");
  EXPECT_EQ(lines[0].level, log4cplus::ERROR_LOG_LEVEL);
}

TEST(Logging, ThresholdDropsLowerLevelsAndSkipsTheirFormatting) {
  ScopedLogCapture capture(log4cplus::INFO_LOG_LEVEL);
  Probe probe;
  AVO_LOG_DEBUG("value " << probe);
  EXPECT_EQ(probe.calls, 0);
  LogAtEveryLevel();
  EXPECT_THAT(capture.Lines(), ElementsAre(Line(log4cplus::INFO_LOG_LEVEL, "i", "LogAtEveryLevel"),
                                           Line(log4cplus::WARN_LOG_LEVEL, "w"),
                                           Line(log4cplus::ERROR_LOG_LEVEL, "e")));
}

// A value whose output operator logs a line of its own while its own line
// is being streamed.
struct Chatty {
  friend std::ostream& operator<<(std::ostream& os, const Chatty&) {
    AVO_LOG_INFO("inner " << std::hex << 255);
    return os << "chatty";
  }
};

struct Throwing {
  friend std::ostream& operator<<(std::ostream& os, const Throwing&) {
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

TEST(Logging, ContextAndRecursionPaddingFrameTheText) {
  ScopedLogCapture capture;
  Avo::SetLoggingContext("apphost");
  {
    Avo::LoggingRecursionPadding nested;
    AVO_LOG_INFO("inner");
  }
  AVO_LOG_INFO("outer");
  Avo::SetLoggingContext("");
  const auto lines = capture.Lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].entry.rfind("[apphost] TestBody (", 0), 0u) << lines[0].entry;
  EXPECT_EQ(lines[0].text, "  inner");
  EXPECT_EQ(lines[1].text, "outer");
}

TEST(Logging, PrettyFunctionNamesAreShortened) {
  struct Case {
    const char* pretty;
    const char* expected;
  };
  const Case cases[] = {
      {"GetEntry", "GetEntry (x.cpp:3)"},
      {"const Avo::DptValueEntry& Avo::DptValueMap::GetEntry(const KNXDPT&) const",
       "GetEntry (x.cpp:3)"},
      {"bool Avo::function<R(Args ...)>::operator()(Args ...) const [with R = bool]",
       "operator() (x.cpp:3)"},
      {"static void Avo::Range<T>::Check(T) [with T = int]", "Check (x.cpp:3)"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Avo::PrettyFunctionNamePrinter::Format(c.pretty, "/src/dir/x.cpp", 3), c.expected)
        << c.pretty;
  }
}

TEST(Logging, FailedAssertionLogsFatalAndThrows) {
  ScopedLogCapture capture;
  const int* pointer = nullptr;
  try {
    AVO_ASSERT2(pointer != nullptr);
    FAIL() << "no exception";
  } catch (const Avo::AssertionFailed& failure) {
    EXPECT_STREQ(failure.what(), "AVO_ASSERT2(pointer != nullptr) failed");
  }
  EXPECT_THAT(capture.Lines(), ElementsAre(Line(log4cplus::FATAL_LOG_LEVEL,
                                                "AVO_ASSERT2(pointer != nullptr) failed")));
}

TEST(Function, EmptyHolderFailsTheStorageAssertionAndCopiesShareTheTarget) {
  ScopedLogCapture capture;
  Avo::BoolReader empty;
  EXPECT_THROW(empty(), Avo::AssertionFailed);
  EXPECT_THAT(capture.Texts(), ElementsAre("AVO_ASSERT2(m_storage) failed"));

  int calls = 0;
  Avo::BoolReader counting = [calls]() mutable { return ++calls == 2; };
  Avo::BoolReader copy = counting;
  EXPECT_FALSE(counting());
  EXPECT_TRUE(copy());
}

} // namespace
