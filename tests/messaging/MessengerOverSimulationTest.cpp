// The messenger over the adapter and the simulated device stack, as a program
// uses them.

#include "AvoObjectModel/DscAsyncRequestMessenger.h"

#include "LogCapture.h"
#include "Polt/SimulatedDeviceStackClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <mutex>
#include <thread>

namespace {

using namespace std::chrono_literals;
using Avo::Docket;
using AvoTest::Line;
using boost::posix_time::milliseconds;
using ::testing::ElementsAre;

const auto DEBUG = log4cplus::DEBUG_LOG_LEVEL;

struct MessengerOverSimulation : ::testing::Test {
  MessengerOverSimulation() {
    simulation.SetObject(42, "4.2:21", "urn:lamp");
    messenger.SetAsResponseHandler();
  }
  ~MessengerOverSimulation() override { messenger.UnsetAsResponseHandler(); }
  void Plan(const std::function<void(Polt::SimulatedAnswerPlan&)>& change) {
    Polt::SimulatedAnswerPlan plan;
    change(plan);
    simulation.PlanNextAnswer(plan);
  }
  Polt::SimulatedDeviceStackClient simulation;
  Avo::RemoteRequestMessengerDeviceStack adapter{simulation};
  Avo::DscAsyncRequestMessenger messenger{adapter, boost::posix_time::seconds(5), 0};
};

TEST_F(MessengerOverSimulation, EveryBlockingRequestReturnsItsOwnReply) {
  VELVALUE value(ivtInteger);
  value.lVal = 5;
  const std::string valueText = Avo::RemoteRequestMessengerDeviceStack::ValueText(value, false);
  const struct {
    const char* name;
    std::function<Docket()> request;
    std::string reply;
  } cases[] = {
      {"RegisterApplication", [&] { return messenger.RegisterApplication("app", "1", "/a"); }, ""},
      {"SetValue", [&] { return messenger.SetValue(42, value, false); }, valueText},
      {"GetValue", [&] { return messenger.GetValue(42, false); }, valueText},
      {"Request", [&] { return messenger.Request("ping", milliseconds(0)); }, "ping"},
      {"SetConfiguration",
       [&] { return messenger.SetConfiguration("cfg", milliseconds(0), [] { return true; }); }, ""},
      {"late answer, infinite timeout",
       [&] {
         Plan([](auto& plan) { plan.delay = 5ms; });
         return messenger.Request("late", boost::posix_time::pos_infin);
       },
       "late"},
      {"answer before the wait", // stored once the caller sleeps
       [&] {
         EXPECT_TRUE(simulation.WaitUntilIdle(5s)); // an early answer needs a free delivery thread
         Plan([](auto& plan) { plan.early = true; });
         return messenger.GetValue(42, false);
       },
       valueText},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const Docket docket = c.request();
    EXPECT_TRUE(docket.IsAnswered() && docket.IsReplyValid());
    EXPECT_EQ(docket.ReadReply(), c.reply);
  }
  EXPECT_EQ(simulation.GetRegisteredApplications().size(), 1u);
  EXPECT_THAT(simulation.GetConfigurations(), ElementsAre("cfg"));
  EXPECT_EQ(simulation.GetCounters().earlyAnswers, 1u);
  EXPECT_EQ(messenger.GetOutstandingRequestCount(), 0u);
}

TEST_F(MessengerOverSimulation, AnErrorAnswerIsAnAnswerAndNotRetried) {
  Plan([](auto& plan) {
    plan.errorCode = 9;
    plan.errorMessage = "busy";
  });
  AvoTest::ScopedLogCapture capture;
  const Docket docket = messenger.GetValue(42, false);
  EXPECT_TRUE(docket.IsAnswered());
  EXPECT_FALSE(docket.IsReplyValid());
  EXPECT_EQ(docket.ReadDeliveryError(), "busy");
  EXPECT_EQ(docket.ReadReply(), "4.2:21");
  // The handler's error line may come before or after the caller's first line.
  EXPECT_THAT(capture.Lines(log4cplus::ERROR_LOG_LEVEL),
              ElementsAre(Line(log4cplus::ERROR_LOG_LEVEL,
                               "KEL error for request 1: 9; Simulated failure; GetValue(42); "
                               "id: 42; urn: urn:lamp; value: 4.2:21",
                               "OnGetValue")));
  EXPECT_THAT(capture.Lines(DEBUG),
              ElementsAre(Line(DEBUG, "Request ID is '1'", "SynchronizeRequest"),
                          Line(DEBUG, "Got request for ID '1'.", "UpdateDocketList"),
                          Line(DEBUG, "returned from waiting for response with ID '1': got response",
                               "SynchronizeRequest")));
}

TEST_F(MessengerOverSimulation, AnswersAfterTheWaiterHasGoneAreDropped) {
  Plan([](auto& plan) { plan.hold = true; });
  EXPECT_FALSE(messenger.Request("slow", milliseconds(1)).IsAnswered());
  AvoTest::ScopedLogCapture capture;
  simulation.ReleaseHeldAnswers();
  ASSERT_TRUE(simulation.WaitUntilIdle(5s));
  EXPECT_THAT(capture.Lines(),
              ElementsAre(Line(DEBUG, "No docket for response ID '1'", "UpdateDocketList")));
  EXPECT_EQ(messenger.GetOutstandingRequestCount(), 0u);
}

TEST_F(MessengerOverSimulation, AWaitEndsWhenAnyAnswerWakesItAfterRelevanceEnded) {
  std::atomic<bool> relevant{true};
  std::promise<void> waiting;
  std::once_flag firstCheck;
  Plan([](auto& plan) { plan.hold = true; });
  Docket aborted("not", "set", true, true);
  std::thread waiter([&] {
    aborted = messenger.SetConfiguration("cfg", boost::posix_time::pos_infin, [&] {
      std::call_once(firstCheck, [&] { waiting.set_value(); });
      return relevant.load();
    });
  });
  waiting.get_future().wait(); // its request is sent; it holds the mutex until it sleeps
  relevant = false;
  // Another request's answer wakes every waiter; the held one never comes.
  EXPECT_TRUE(messenger.Request("wake", milliseconds(0)).IsAnswered());
  waiter.join();
  EXPECT_FALSE(aborted.IsAnswered());
  EXPECT_EQ(aborted.ReadReply(), "");
}

TEST_F(MessengerOverSimulation, SetValueAndIgnoreResponseOnlySends) {
  const VELVALUE value(ivtInteger);
  AvoTest::ScopedLogCapture capture(DEBUG);
  EXPECT_TRUE(messenger.SetValueAndIgnoreResponse(42, value, false));
  ASSERT_TRUE(simulation.WaitUntilIdle(5s));
  Plan([](auto& plan) { plan.emptyRequestId = true; });
  EXPECT_FALSE(messenger.SetValueAndIgnoreResponse(42, value, false));
  EXPECT_THAT(capture.Lines(),
              ElementsAre(Line(DEBUG, "Request ID is '1'", "SetValueAndIgnoreResponse"),
                          Line(DEBUG, "No docket for response ID '1'", "UpdateDocketList"),
                          Line(DEBUG, "Request ID is ''", "SetValueAndIgnoreResponse")));
  // Once unset, the device stack has nobody to deliver to.
  messenger.UnsetAsResponseHandler();
  EXPECT_TRUE(messenger.SetValueAndIgnoreResponse(42, value, false));
  ASSERT_TRUE(simulation.WaitUntilIdle(5s));
  EXPECT_EQ(simulation.GetCounters().answersWithoutHandler, 1u);
}

TEST_F(MessengerOverSimulation, PropertiesDocketIsAnsweredEvenWhenRefused) {
  const Avo::DscAsyncRequestMessenger::Properties name{{Polt::IDeviceStackClient::ptName, {"Lamp"}}};
  const Docket accepted = messenger.SetConfiguration(42, name, false);
  const Docket refused = messenger.SetConfiguration(7, name, false); // no such object
  EXPECT_TRUE(accepted.IsAnswered() && accepted.IsReplyValid());
  EXPECT_TRUE(refused.IsAnswered());
  EXPECT_FALSE(refused.IsReplyValid());
  EXPECT_EQ(simulation.GetObjectProperties(42), name);
}

} // namespace
