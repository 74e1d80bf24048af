// The messenger over the adapter and the simulated device stack, as a program
// uses them: attempts, timeouts, relevance, answers nobody waits for, with
// their exact log lines; then the adapter's value texts and the simulation.

#include "AvoObjectModel/DscAsyncRequestMessenger.h"

#include "LogCapture.h"
#include "Polt/DeviceStackError.h"
#include "Polt/SimulatedDeviceStackClient.h"
#include "VelValueSamples.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <future>
#include <limits>
#include <memory>
#include <thread>

namespace {

using namespace std::chrono_literals;
using Avo::Docket;
using AvoTest::Line;
using boost::posix_time::time_duration;
using ::testing::ElementsAre;

const auto DEBUG = log4cplus::DEBUG_LOG_LEVEL, INFO = log4cplus::INFO_LOG_LEVEL;
const auto WARN = log4cplus::WARN_LOG_LEVEL, ERROR = log4cplus::ERROR_LOG_LEVEL;
const time_duration Infinite(boost::posix_time::pos_infin);
const std::string kSync = "SynchronizeRequest", kWait = "WaitForAnswer";

time_duration Ms(long count) { return boost::posix_time::milliseconds(count); }

bool IsDefault(const Docket& docket) {
  return !docket.IsAnswered() && !docket.IsReplyValid() && docket.ReadReply().empty() &&
         docket.ReadDeliveryError().empty();
}

struct Messenger : ::testing::Test {
  Messenger() {
    simulation.SetObject(42, "4.2:21", "urn:lamp");
    messenger.SetAsResponseHandler();
  }
  ~Messenger() override { messenger.UnsetAsResponseHandler(); }
  // Plans the answers of the next `count` requests.
  void Plan(int count, const std::function<void(Polt::SimulatedAnswerPlan&)>& change) {
    Polt::SimulatedAnswerPlan plan;
    change(plan);
    for (; count > 0; --count) {
      simulation.PlanNextAnswer(plan);
    }
  }
  Polt::SimulatedDeviceStackClient simulation;
  Avo::RemoteRequestMessengerDeviceStack adapter{simulation};
  Avo::DscAsyncRequestMessenger messenger{adapter, boost::posix_time::seconds(5), 0};
};

TEST_F(Messenger, RetriesUntilTheAttemptsAreUsedUpAndReturnsADefaultDocket) {
  const struct {
    unsigned int maxRetries;
    time_duration defaultTimeout, timeout;
    int requests;
    bool emptyIds; // else the answers are lost
    std::string waited, printed;
  } cases[] = {
      // A zero timeout waits the default one but prints the caller's zero.
      {2, Ms(1), Ms(0), 3, false, "00:00:00.001000", "00:00:00"},
      {0, Ms(1), Ms(3), 1, false, "00:00:00.003000", "00:00:00.003000"},
      {0, Ms(1), time_duration(boost::posix_time::neg_infin), 1, false, "-infinity", "-infinity"},
      {2, Infinite, Infinite, 3, true, "", ""},    // without a request ID, a wait would hang
      {UINT_MAX, Ms(1), Ms(0), 0, false, "", ""}}; // the attempt count wraps to none
  for (const auto& c : cases) {
    Avo::DscAsyncRequestMessenger retrying(adapter, c.defaultTimeout, c.maxRetries);
    Plan(c.requests, [&c](auto& plan) { (c.emptyIds ? plan.emptyRequestId : plan.drop) = true; });
    const auto sent = simulation.GetCounters().requests;
    std::vector<AvoTest::LogLine> expected;
    for (int attempt = 1; attempt <= c.requests; ++attempt) {
      const std::string id = c.emptyIds ? "" : std::to_string(sent + attempt);
      expected.push_back(Line(DEBUG, "Request ID is '" + id + "'", kSync));
      if (c.emptyIds) {
        expected.push_back(Line(ERROR, "Request ID is empty, retrying", kSync));
        continue;
      }
      const std::string lost = "No response received for ID '" + id + "' with timeout ";
      expected.push_back(
          Line(WARN, "Timeout (" + c.waited + ") occured for request ID '" + id + "'", kWait));
      expected.push_back(Line(ERROR, lost + c.printed + ", retrying", kSync));
    }
    const std::string retries = std::to_string(c.maxRetries);
    expected.push_back(Line(ERROR, "Maximum number of retries (" + retries + ") reached.", kSync));
    AvoTest::ScopedLogCapture capture;
    EXPECT_TRUE(IsDefault(retrying.Request("status", c.timeout)));
    EXPECT_THAT(capture.Lines(), ::testing::ElementsAreArray(expected));
  }
}

TEST_F(Messenger, BlockingRequestsPassTheirArgumentsOnAndGetTheirOwnAnswer) {
  const VELVALUE five = AvoTest::Lng(ivtInteger, 5);
  const std::string fiveText = Avo::RemoteRequestMessengerDeviceStack::ValueText(five, false);
  EXPECT_TRUE(messenger.RegisterApplication("app", "1", "/a").IsReplyValid());
  EXPECT_EQ(messenger.SetValue(42, five, false).ReadReply(), fiveText);
  EXPECT_TRUE(messenger.SetConfiguration("cfg", Ms(0), [] { return true; }).IsReplyValid());
  using Registration = Polt::SimulatedDeviceStackClient::ApplicationRegistration;
  EXPECT_THAT(simulation.GetRegisteredApplications(), ElementsAre(Registration{"app", "1", "/a"}));
  EXPECT_THAT(simulation.GetConfigurations(), ElementsAre("cfg"));
  // An answer begun before the request call returns is stored once its
  // caller sleeps; one that comes late still comes within an infinite wait.
  ASSERT_TRUE(simulation.WaitUntilIdle(5s)); // an early answer needs a free delivery thread
  Plan(1, [](auto& plan) { plan.early = true; });
  EXPECT_EQ(messenger.GetValue(42, false).ReadReply(), fiveText);
  EXPECT_EQ(simulation.GetCounters().earlyAnswers, 1u);
  Plan(1, [](auto& plan) { plan.delay = 5ms; });
  EXPECT_EQ(messenger.Request("late", Infinite).ReadReply(), "late");
  // An error answer is an answer, and is not retried.
  Plan(1, [](auto& plan) { plan.errorCode = 9, plan.errorMessage = "busy"; });
  const Docket refused = messenger.GetValue(42, false);
  EXPECT_TRUE(refused.IsAnswered() && !refused.IsReplyValid() && refused.ReadReply() == fiveText);
  EXPECT_EQ(refused.ReadDeliveryError(), "busy");
  EXPECT_EQ(simulation.GetCounters().requests, 6u);
  // Properties go to the device stack directly: answered even when refused.
  const Avo::DscAsyncRequestMessenger::Properties name{{Polt::IDeviceStackClient::ptName, {"L"}}};
  const Docket refusedProperties = messenger.SetConfiguration(7, name, false); // no such object
  EXPECT_TRUE(messenger.SetConfiguration(42, name, false).IsReplyValid());
  EXPECT_TRUE(refusedProperties.IsAnswered() && !refusedProperties.IsReplyValid());
  EXPECT_EQ(simulation.GetObjectProperties(42), name);
}

TEST_F(Messenger, RelevanceIsCheckedOnEveryWakeAndAnEmptyPredicateIsABug) {
  Plan(2, [](auto& plan) { plan.hold = true; });
  Avo::DscAsyncRequestMessenger retrying(adapter, Ms(1), 2);
  AvoTest::ScopedLogCapture capture;
  EXPECT_TRUE(IsDefault(retrying.SetConfiguration("cfg", Infinite, [] { return false; })));
  EXPECT_THAT(
      capture.Lines(),
      ElementsAre(
          Line(DEBUG, "Request ID is '1'", kSync),
          Line(INFO, "Aborted a KEL request because its result is no longer relevant", kWait),
          Line(WARN, "Timeout (+infinity) occured for request ID '1'", kWait),
          Line(DEBUG, "returned from waiting for response with ID '1': !isStillRelevant", kSync)));
  capture.Clear();
  EXPECT_THROW(retrying.SetConfiguration("cfg", Ms(1), Avo::BoolReader()), Avo::AssertionFailed);
  EXPECT_THAT(capture.Texts(log4cplus::FATAL_LOG_LEVEL),
              ElementsAre("AVO_ASSERT2(m_storage) failed"));
  EXPECT_EQ(retrying.GetOutstandingRequestCount(), 0u);
  // The mutex was released: the next request runs.
  EXPECT_TRUE(messenger.Request("next", Ms(0)).IsAnswered());
  // A waiter whose own answer never comes checks its relevance again
  // whenever any other answer wakes it.
  Plan(1, [](auto& plan) { plan.hold = true; });
  std::promise<void> sleeping;
  int checks = 0;
  Docket aborted("not", "set", true, true);
  std::thread waiter([&] {
    aborted = messenger.SetConfiguration("cfg", Infinite, [&] {
      if (++checks == 1) {
        sleeping.set_value(); // it holds the mutex until it sleeps
      }
      return checks == 1; // relevant until it has slept once
    });
  });
  sleeping.get_future().wait();
  EXPECT_TRUE(messenger.Request("wake", Ms(0)).IsAnswered());
  waiter.join();
  EXPECT_TRUE(IsDefault(aborted));
}

// Answers after their waiter has gone, answers to writes that ignore them,
// answers with unknown or empty identifiers, and answers with no handler.
TEST_F(Messenger, AnswersNobodyWaitsForAreLoggedAndDropped) {
  Plan(1, [](auto& plan) { plan.hold = true; });
  EXPECT_FALSE(messenger.Request("slow", Ms(1)).IsAnswered());
  AvoTest::ScopedLogCapture capture;
  simulation.ReleaseHeldAnswers(); // after its waiter has gone
  ASSERT_TRUE(simulation.WaitUntilIdle(5s));
  const VELVALUE value(ivtInteger);
  EXPECT_TRUE(messenger.SetValueAndIgnoreResponse(42, value, false));
  ASSERT_TRUE(simulation.WaitUntilIdle(5s));
  Plan(1, [](auto& plan) { plan.emptyRequestId = true; });
  EXPECT_FALSE(messenger.SetValueAndIgnoreResponse(42, value, false));
  const std::string ignore = "SetValueAndIgnoreResponse";
  EXPECT_THAT(capture.Lines(),
              ElementsAre(Line(DEBUG, "No docket for response ID '1'", "UpdateDocketList"),
                          Line(DEBUG, "Request ID is '2'", ignore),
                          Line(DEBUG, "No docket for response ID '2'", "UpdateDocketList"),
                          Line(DEBUG, "Request ID is ''", ignore)));
  const Polt::DeviceStackError error(3, "Bad", "Detail", "boom");
  const std::string valueTail = "; id: 42; urn: u; value: v";
  const std::pair<std::function<void()>, std::string> handlers[] = {
      // and the tails of their lines
      {[&] { messenger.OnResponse(nullptr, "x", "r", error); }, "; response: r"},
      {[&] { messenger.OnRegisterApplication(nullptr, "x", error); }, ""},
      {[&] { messenger.OnGetConfiguration(nullptr, "x", "c", error); }, "; config: c"},
      {[&] { messenger.OnSetConfiguration(nullptr, "x", error); }, ""},
      {[&] { messenger.OnGetValue(nullptr, "x", 42, "u", "v", error); }, valueTail},
      {[&] { messenger.OnSetValue(nullptr, "x", 42, "u", "v", error); }, valueTail}};
  for (const auto& [handle, tail] : handlers) {
    capture.Clear();
    handle();
    EXPECT_THAT(capture.Lines(),
                ElementsAre(Line(ERROR, "KEL error for request x: 3; Bad; Detail" + tail),
                            Line(DEBUG, "No docket for response ID 'x'"),
                            Line(ERROR, "Request x: Error 'boom'", "UpdateDocketList")));
  }
  capture.Clear();
  messenger.OnResponse(nullptr, "", "r", Polt::DeviceStackError());
  EXPECT_THAT(capture.Texts(), ElementsAre("No docket for response ID ''"));
  EXPECT_EQ(messenger.GetOutstandingRequestCount(), 0u);
  // Once unset, the device stack has nobody to deliver to.
  messenger.UnsetAsResponseHandler();
  EXPECT_TRUE(messenger.SetValueAndIgnoreResponse(42, value, false));
  ASSERT_TRUE(simulation.WaitUntilIdle(5s));
  EXPECT_EQ(simulation.GetCounters().answersWithoutHandler, 1u);
}

TEST_F(Messenger, TheAdapterSendsTheValueTextOfTheCurrentFormat) {
  messenger.UnsetAsResponseHandler(); // nobody waits for these answers
  const VELVALUE nan = AvoTest::Dbl(ivtFloat, std::numeric_limits<double>::quiet_NaN());
  const VELVALUE number = AvoTest::Dbl(ivtFloat, 21.5);
  // Each write's text as it reached the device stack.
  const auto expectTexts = [&](bool internalFormat, const char* nanText) {
    EXPECT_EQ(simulation.IsInternalValueFormatEnabled(), internalFormat);
    adapter.SetValueAsync(42, nan, false);
    EXPECT_EQ(*simulation.GetObjectValue(42), nanText);
    adapter.SetValueAsync(42, number, false);
    EXPECT_EQ(*simulation.GetObjectValue(42), internalFormat ? "3.2:21.5" : "3:21.5");
  };
  expectTexts(false, "nan"); // the initial format
  AvoTest::ScopedLogCapture capture;
  adapter.EnableInternalValueFormat();
  EXPECT_THAT(capture.Lines(), ElementsAre(Line(DEBUG, "Internal value format now enabled.",
                                                "EnableInternalValueFormat")));
  EXPECT_TRUE(adapter.EnableNativeFormat()); // selects a format by name, keeps the switch
  EXPECT_EQ(simulation.GetValueFormat(), "Native");
  expectTexts(true, "3.7:nan");
  capture.Clear();
  adapter.EnableDefaultValueFormat();
  EXPECT_THAT(capture.Lines(), ::testing::IsEmpty());
  expectTexts(false, "nan");
}

// Answers go out in order of due time; on destruction every queued one goes
// out at once, held ones too.
TEST(SimulatedDeviceStack, DeliversDuplicatesAndEveryQueuedAnswerBeforeItStops) {
  auto simulation = std::make_unique<Polt::SimulatedDeviceStackClient>();
  Avo::RemoteRequestMessengerDeviceStack adapter(*simulation);
  Avo::DscAsyncRequestMessenger messenger(adapter, Ms(1), 0);
  messenger.SetAsResponseHandler();
  Polt::SimulatedAnswerPlan duplicated, held, late;
  duplicated.duplicate = true;
  held.hold = true;
  late.delay = 1h;
  AvoTest::ScopedLogCapture capture;
  for (const auto& plan : {duplicated, held, late}) {
    simulation->PlanNextAnswer(plan);
    adapter.RequestAsync("r");
  }
  EXPECT_EQ(simulation->GetHeldAnswerCount(), 1u);
  simulation.reset();
  const std::string none = "No docket for response ID '";
  EXPECT_THAT(capture.Texts(), ElementsAre(none + "1'", none + "1'", none + "2'", none + "3'"));
}

} // namespace
