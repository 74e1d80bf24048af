// The messenger against a test double of the device stack: attempts,
// timeouts, relevance and answers nobody waits for, with their exact log lines.

#include "AvoObjectModel/DscAsyncRequestMessenger.h"

#include "LogCapture.h"
#include "Polt/DeviceStackError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <functional>

namespace {

using Avo::DscAsyncRequestMessenger;
using AvoTest::Line;
using AvoTest::LogLine;
using boost::posix_time::milliseconds;
using boost::posix_time::time_duration;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::Return;

const auto DEBUG = log4cplus::DEBUG_LOG_LEVEL;
const auto WARN = log4cplus::WARN_LOG_LEVEL;
const auto ERROR = log4cplus::ERROR_LOG_LEVEL;
const time_duration Infinite(boost::posix_time::pos_infin);

class MockDeviceStack : public Avo::RequestMessengerDeviceStack {
public:
  MOCK_METHOD(void, SetResponseHandler, (Polt::IDeviceStackClient::IResponseHandler*), (override));
  MOCK_METHOD(std::string, RegisterApplicationAsync,
              (const std::string&, const std::string&, const std::string&), (override));
  MOCK_METHOD(std::string, SetValueAsync, (unsigned long, const VELVALUE&, bool), (override));
  MOCK_METHOD(std::string, GetValueAsync, (unsigned long, bool), (override));
  MOCK_METHOD(std::string, RequestAsync, (const std::string&), (override));
  MOCK_METHOD(std::string, SetConfigurationAsync, (const std::string&), (override));
  MOCK_METHOD(bool, SetConfiguration, (unsigned long, const Properties&, bool), (override));
  MOCK_METHOD(bool, GetDeviceConfig, (std::string&, bool), (override));
  MOCK_METHOD(bool, SetDeviceConfig, ((const std::map<std::string, std::string>&)), (override));
  MOCK_METHOD(bool, EnableNativeFormat, (), (override));
  MOCK_METHOD(void, EnableInternalValueFormat, (), (override));
  MOCK_METHOD(void, EnableDefaultValueFormat, (), (override));
};

bool IsDefault(const Avo::Docket& docket) {
  return !docket.IsAnswered() && !docket.IsReplyValid() && docket.ReadReply().empty() &&
         docket.ReadDeliveryError().empty();
}

std::vector<LogLine> Unanswered(const std::string& waited, const std::string& printed) {
  return {Line(DEBUG, "Request ID is '7'", "SynchronizeRequest"),
          Line(WARN, "Timeout (" + waited + ") occured for request ID '7'", "WaitForAnswer"),
          Line(ERROR, "No response received for ID '7' with timeout " + printed + ", retrying",
               "SynchronizeRequest")};
}

TEST(Messenger, RetriesUntilTheAttemptsAreUsedUpAndReturnsADefaultDocket) {
  const std::vector<LogLine> emptyId = {
      Line(DEBUG, "Request ID is ''", "SynchronizeRequest"),
      Line(ERROR, "Request ID is empty, retrying", "SynchronizeRequest")};
  const struct {
    const char* name;
    unsigned int maxRetries;
    time_duration defaultTimeout, timeout;
    std::string requestId; // what every request returns
    int requests;
    std::vector<LogLine> attemptLines;
  } cases[] = {
      // A zero timeout waits the default one but prints the caller's zero.
      {"never answered", 2, milliseconds(1), milliseconds(0), "7", 3,
       Unanswered("00:00:00.001000", "00:00:00")},
      {"own timeout", 0, milliseconds(1), milliseconds(3), "7", 1,
       Unanswered("00:00:00.003000", "00:00:00.003000")},
      {"special timeout", 0, milliseconds(1), time_duration(boost::posix_time::neg_infin), "7", 1,
       Unanswered("-infinity", "-infinity")},
      // It would hang here if it waited for an answer.
      {"empty id, no wait", 2, Infinite, Infinite, "", 3, emptyId},
      {"attempt count wraps", UINT_MAX, milliseconds(1), milliseconds(0), "7", 0, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ::testing::StrictMock<MockDeviceStack> stack;
    DscAsyncRequestMessenger messenger(stack, c.defaultTimeout, c.maxRetries);
    ON_CALL(stack, RequestAsync("status")).WillByDefault(Return(c.requestId));
    EXPECT_CALL(stack, RequestAsync("status")).Times(c.requests);
    AvoTest::ScopedLogCapture capture;
    EXPECT_TRUE(IsDefault(messenger.Request("status", c.timeout)));
    std::vector<LogLine> expected;
    for (int i = 0; i < c.requests; ++i) {
      expected.insert(expected.end(), c.attemptLines.begin(), c.attemptLines.end());
    }
    expected.push_back(Line(ERROR, "Maximum number of retries (" + std::to_string(c.maxRetries) +
                                       ") reached.", "SynchronizeRequest"));
    EXPECT_THAT(capture.Lines(), ElementsAreArray(expected));
  }
}

TEST(Messenger, AnIrrelevantRequestIsAbortedWithoutRetry) {
  ::testing::StrictMock<MockDeviceStack> stack;
  DscAsyncRequestMessenger messenger(stack, milliseconds(1), 2);
  EXPECT_CALL(stack, SetConfigurationAsync("cfg")).WillOnce(Return("9"));
  AvoTest::ScopedLogCapture capture;
  EXPECT_TRUE(IsDefault(messenger.SetConfiguration("cfg", Infinite, [] { return false; })));
  EXPECT_THAT(
      capture.Lines(),
      ElementsAre(Line(DEBUG, "Request ID is '9'", "SynchronizeRequest"),
                  Line(log4cplus::INFO_LOG_LEVEL,
                       "Aborted a KEL request because its result is no longer relevant",
                       "WaitForAnswer"),
                  Line(WARN, "Timeout (+infinity) occured for request ID '9'", "WaitForAnswer"),
                  Line(DEBUG, "returned from waiting for response with ID '9': !isStillRelevant",
                       "SynchronizeRequest")));
}

TEST(Messenger, AnEmptyPredicateFailsTheAssertionAndLeavesNothingBehind) {
  ::testing::NiceMock<MockDeviceStack> stack;
  ON_CALL(stack, SetConfigurationAsync("cfg")).WillByDefault(Return("9"));
  DscAsyncRequestMessenger messenger(stack, milliseconds(1), 0);
  AvoTest::ScopedLogCapture capture(log4cplus::FATAL_LOG_LEVEL);
  EXPECT_THROW(messenger.SetConfiguration("cfg", milliseconds(1), Avo::BoolReader()),
               Avo::AssertionFailed);
  EXPECT_THAT(capture.Texts(), ElementsAre("AVO_ASSERT2(m_storage) failed"));
  EXPECT_EQ(messenger.GetOutstandingRequestCount(), 0u);
  // The mutex was released: the next request runs.
  EXPECT_TRUE(IsDefault(messenger.SetConfiguration("cfg", milliseconds(1), [] { return true; })));
}

TEST(Messenger, AnswersNobodyWaitsForAreLoggedAndDropped) {
  ::testing::StrictMock<MockDeviceStack> stack;
  DscAsyncRequestMessenger messenger(stack, milliseconds(1), 0);
  const Polt::DeviceStackError error(3, "Bad", "Detail", "boom");
  const struct {
    const char* handler;
    std::function<void()> call;
    const char* tail;
  } cases[] = {
      {"OnResponse", [&] { messenger.OnResponse(nullptr, "x", "r", error); }, "; response: r"},
      {"OnRegisterApplication", [&] { messenger.OnRegisterApplication(nullptr, "x", error); }, ""},
      {"OnGetConfiguration", [&] { messenger.OnGetConfiguration(nullptr, "x", "c", error); },
       "; config: c"},
      {"OnSetConfiguration", [&] { messenger.OnSetConfiguration(nullptr, "x", error); }, ""},
      {"OnGetValue", [&] { messenger.OnGetValue(nullptr, "x", 42, "u", "v", error); },
       "; id: 42; urn: u; value: v"},
      {"OnSetValue", [&] { messenger.OnSetValue(nullptr, "x", 42, "u", "v", error); },
       "; id: 42; urn: u; value: v"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.handler);
    AvoTest::ScopedLogCapture capture;
    c.call();
    EXPECT_THAT(capture.Lines(),
                ElementsAre(Line(ERROR, std::string("KEL error for request x: 3; Bad; Detail") +
                                            c.tail, c.handler),
                            Line(DEBUG, "No docket for response ID 'x'", "UpdateDocketList"),
                            Line(ERROR, "Request x: Error 'boom'", "UpdateDocketList")));
  }
  AvoTest::ScopedLogCapture capture;
  messenger.OnResponse(nullptr, "", "r", Polt::DeviceStackError());
  EXPECT_THAT(capture.Lines(), ElementsAre(Line(DEBUG, "No docket for response ID ''")));
  EXPECT_EQ(messenger.GetOutstandingRequestCount(), 0u);
}

} // namespace
