// The service is killed while four threads write through one messenger, and
// started again: nobody crashes or hangs, every request ends answered or with
// a default docket, the state file is whole at the kill and every
// acknowledged write is kept.

#include "AvoObjectModel/DscAsyncRequestMessenger.h"
#include "Polt/SocketDeviceStackClient.h"

#include "LogCapture.h"
#include "ServiceProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <functional>
#include <future>
#include <iostream>
#include <thread>

namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr int Writers = 4;
constexpr unsigned long FirstObject = 300000;

VELVALUE Integer(int number) {
  VELVALUE value(ivtInteger);
  value.lVal = number;
  return value;
}

std::string Text(int number) {
  return Avo::RemoteRequestMessengerDeviceStack::ValueText(Integer(number), false);
}

// The number a value text holds; -1 when it is not an integer's.
int NumberOf(const std::string& text) {
  VELVALUE value;
  return value.Deserialize(text) && value.ivt == ivtInteger ? static_cast<int>(value.lVal) : -1;
}

// The value of an object in the state file; -1 when it is not there.
int SavedNumber(const std::string& state, unsigned long object) {
  const std::string prefix = "\nobject " + std::to_string(object) + " \"\" \"";
  const auto start = state.find(prefix);
  if (start == std::string::npos) {
    return -1;
  }
  const auto valueStart = start + prefix.size();
  return NumberOf(state.substr(valueStart, state.find('"', valueStart) - valueStart));
}

// What one writer did: it writes 1, 2, 3 ... to its own object until the
// restarted service has acknowledged 25 of its writes.
struct Writer {
  std::atomic<int> acknowledged{0}; // the last write answered without error
  int attempted = 0;
  int unanswered = 0;
  int wrongReplies = 0;
};

struct Shared {
  std::atomic<int> acknowledged{0}; // by all writers
  std::promise<void> hundredAcknowledged;
  std::atomic<bool> restarted{false};
};

void Write(Avo::DscAsyncRequestMessenger& messenger, unsigned long object, Writer& writer,
           Shared& shared) {
  for (int sinceRestart = 0; sinceRestart < 25;) {
    const bool restarted =
        shared.restarted; // before the request, so the answer is the new service's
    const int number = ++writer.attempted;
    const Avo::Docket docket = messenger.SetValue(object, Integer(number), false);
    if (!docket.IsAnswered()) {
      ++writer.unanswered;
      std::this_thread::yield(); // the service is away; let it come back
    } else if (docket.IsReplyValid() && docket.ReadReply() == Text(number)) {
      writer.acknowledged = number;
      sinceRestart += restarted ? 1 : 0;
      if (++shared.acknowledged == 100) {
        shared.hundredAcknowledged.set_value();
      }
    } else {
      ++writer.wrongReplies;
    }
  }
}

TEST(SocketClientAndService, ServiceKilledDuringWritesFromFourThreadsAndRestarted) {
  DeviceStackTest::ServiceProcess service({}, false);
  std::string seed;
  for (unsigned long t = 0; t < Writers; ++t) {
    seed += std::to_string(FirstObject + t) + ' ' + Text(0) + '\n';
  }
  service.Seed(seed);
  service.Start();

  Polt::SocketDeviceStackClientOptions options;
  options.socketPath = service.SocketPath();
  options.minReconnectDelay = 1ms;
  options.maxReconnectDelay = 20ms;
  Polt::SocketDeviceStackClient client(options);
  Avo::RemoteRequestMessengerDeviceStack adapter(client);
  Avo::DscAsyncRequestMessenger messenger(adapter, boost::posix_time::milliseconds(500), 2);
  messenger.SetAsResponseHandler();
  const AvoTest::ScopedLogCapture quiet(log4cplus::FATAL_LOG_LEVEL); // retries log by the thousand

  std::array<Writer, Writers> writers;
  Shared shared;
  std::future<void> hundredAcknowledged = shared.hundredAcknowledged.get_future();
  std::vector<std::future<void>> threads;
  for (std::size_t t = 0; t < Writers; ++t) {
    threads.push_back(std::async(std::launch::async, Write, std::ref(messenger), FirstObject + t,
                                 std::ref(writers[t]), std::ref(shared)));
  }

  ASSERT_EQ(hundredAcknowledged.wait_for(60s), std::future_status::ready);
  service.Kill();
  std::array<int, Writers> acknowledgedAtKill{};
  for (std::size_t t = 0; t < Writers; ++t) {
    acknowledgedAtKill[t] = writers[t].acknowledged;
  }
  // Written whole (first and last line) and with every write acknowledged so far.
  const std::string state = DeviceStackTest::ReadFile(service.StatePath());
  EXPECT_EQ(state.rfind("avo-devicestackd state 1\n", 0), 0U);
  EXPECT_EQ(state.substr(std::max<std::size_t>(state.size(), 5) - 5), "\nend\n");
  for (std::size_t t = 0; t < Writers; ++t) {
    EXPECT_GE(SavedNumber(state, FirstObject + t), acknowledgedAtKill[t]) << "writer " << t;
  }

  service.Start();
  ASSERT_TRUE(client.WaitUntilConnected(60s, 2));
  shared.restarted = true;
  for (auto& thread : threads) {
    ASSERT_EQ(thread.wait_for(60s), std::future_status::ready) << "a writer hangs";
  }

  int lostWrites = 0; // acknowledged but not kept
  for (std::size_t t = 0; t < Writers; ++t) {
    SCOPED_TRACE("writer " + std::to_string(t));
    const Writer& writer = writers[t];
    const Avo::Docket docket = messenger.GetValue(FirstObject + t, false);
    ASSERT_TRUE(docket.IsAnswered());
    // Writes that got no answer may or may not have been made, the last one too.
    const int kept = NumberOf(docket.ReadReply());
    lostWrites += std::max(0, writer.acknowledged.load() - kept);
    EXPECT_GE(kept, writer.acknowledged.load());
    EXPECT_LE(kept, writer.attempted);
    EXPECT_EQ(writer.wrongReplies, 0);
  }
  // At least once more: a connection made while the killed process was
  // still closing its files is lost at once.
  EXPECT_GE(client.GetCounters().connections, 2U);
  EXPECT_EQ(client.GetCounters().handlerExceptions, 0U);
  messenger.UnsetAsResponseHandler();
  EXPECT_THAT(service.ReadLog(),
              HasSubstr("Removed the stale socket file '" + service.SocketPath() + "'"));
  EXPECT_THAT(service.ReadLog(), Not(HasSubstr("corrupt")));

  int attempted = 0;
  int unanswered = 0;
  for (const Writer& writer : writers) {
    attempted += writer.attempted;
    unanswered += writer.unanswered;
  }
  std::cout << "[ figures  ] " << attempted << " writes from " << Writers << " threads, "
            << shared.acknowledged.load() << " acknowledged, " << unanswered
            << " ended with a default docket, 1 SIGKILL, " << client.GetCounters().connections
            << " connections, " << lostWrites << " acknowledged writes lost\n";
}

} // namespace
