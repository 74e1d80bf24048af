// Many callers, a faulty device stack: every request ends with its own reply
// or with a default docket, and nothing is left behind.

#include "AvoObjectModel/DscAsyncRequestMessenger.h"

#include "LogCapture.h"
#include "Polt/SimulatedDeviceStackClient.h"
#include "VelValueSamples.h"

#include <gtest/gtest.h>

#include <algorithm> // std::count
#include <atomic>
#include <cstdlib> // std::abort
#include <future>
#include <iostream>

namespace {

using namespace std::chrono_literals;
using boost::posix_time::milliseconds;

constexpr int CallerThreads = 8;
constexpr int RequestsPerThread = 2000;

// Request i of thread t, over the five kinds; expectedReply is what its answer
// must carry. Thread t reads object 100 + t and writes object 200 + t.
Avo::Docket Send(Avo::DscAsyncRequestMessenger& messenger, int t, int i,
                 std::string& expectedReply) {
  const std::string payload = std::to_string(t) + "-" + std::to_string(i);
  const auto object = static_cast<unsigned long>(t);
  const VELVALUE written = AvoTest::Lng(ivtInteger, t * RequestsPerThread + i);
  switch (i % 5) {
  case 0:
    return messenger.RegisterApplication(payload, "1.0", "/opt/apps");
  case 1:
    expectedReply = Avo::RemoteRequestMessengerDeviceStack::ValueText(written, false);
    return messenger.SetValue(200 + object, written, false);
  case 2:
    expectedReply = "read " + std::to_string(t);
    return messenger.GetValue(100 + object, false);
  case 3:
    expectedReply = payload;
    return messenger.Request(payload, milliseconds(0));
  default:
    return messenger.SetConfiguration(payload, milliseconds(10), [] { return true; });
  }
}

TEST(MessengerStress, EveryRequestGetsItsOwnReplyOrADefaultDocket) {
  Polt::SimulatedDeviceStackOptions options;
  options.dropRate = options.duplicateRate = options.errorRate = 0.05;
  options.maxDelay = 2ms;
  Polt::SimulatedDeviceStackClient simulation(options);
  for (unsigned long t = 0; t < CallerThreads; ++t) {
    simulation.SetObject(100 + t, "read " + std::to_string(t));
    simulation.SetObject(200 + t, "");
  }
  Avo::RemoteRequestMessengerDeviceStack adapter(simulation);
  Avo::DscAsyncRequestMessenger messenger(adapter, milliseconds(10), 2);
  messenger.SetAsResponseHandler();
  AvoTest::ScopedLogCapture capture(log4cplus::ERROR_LOG_LEVEL);

  // Lost: a docket that carries neither its own reply nor nothing at all.
  std::atomic<int> unanswered{0}, errors{0}, lost{0};
  std::vector<std::future<void>> callers;
  callers.reserve(CallerThreads);
  for (int t = 0; t < CallerThreads; ++t) {
    callers.push_back(std::async(std::launch::async, [&, t] {
      for (int i = 0; i < RequestsPerThread; ++i) {
        std::string expectedReply;
        const Avo::Docket docket = Send(messenger, t, i, expectedReply);
        const bool isError = docket.IsAnswered() && !docket.IsReplyValid();
        unanswered += docket.IsAnswered() ? 0 : 1;
        errors += isError ? 1 : 0;
        // A default docket carries nothing.
        const std::string ownReply = docket.IsAnswered() ? expectedReply : "";
        lost += docket.ReadReply() == ownReply ? 0 : 1;
        EXPECT_EQ(docket.ReadDeliveryError(), isError ? "Simulated error" : "");
      }
    }));
  }
  const auto deadline = std::chrono::steady_clock::now() + 240s;
  for (auto& caller : callers) {
    if (caller.wait_until(deadline) != std::future_status::ready) {
      ADD_FAILURE() << "a caller thread hung";
      std::abort(); // it still uses the objects of this scope
    }
  }
  messenger.UnsetAsResponseHandler();

  EXPECT_EQ(messenger.GetOutstandingRequestCount(), 0u);
  EXPECT_EQ(lost, 0);
  EXPECT_GT(errors, 0);
  // Every unanswered request used up its attempts.
  const auto lines = capture.Texts();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "Maximum number of retries (2) reached."),
            unanswered.load());
  const auto counters = simulation.GetCounters();
  EXPECT_TRUE(counters.droppedAnswers > 0 && counters.duplicatedAnswers > 0);
  EXPECT_EQ(counters.handlerExceptions, 0u);
  std::cout << "[ figures  ] " << CallerThreads * RequestsPerThread << " requests, "
            << counters.requests
            << " sent (retries included); faults injected: " << counters.droppedAnswers
            << " answers dropped, " << counters.duplicatedAnswers << " duplicated, "
            << counters.errorAnswers << " error answers; " << errors << " error dockets, "
            << unanswered << " unanswered after the last retry, " << lost << " lost\n";
}

} // namespace
