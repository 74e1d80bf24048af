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
#include <condition_variable>
#include <functional>
#include <future>
#include <iostream>
#include <mutex>
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

constexpr int Kills = 3;

// What one writer did: it writes 1, 2, 3 ... to its own object until the
// service restarted after the last kill has acknowledged 25 of its writes.
struct Writer {
  std::atomic<int> acknowledged{0}; // the last write answered without error
  int attempted = 0;
  int unanswered = 0;
  int wrongReplies = 0;
};

// Acknowledged writes of all threads, for the test to wait on.
struct Progress {
  std::mutex mutex;
  std::condition_variable changed;
  int acknowledged = 0;
  std::atomic<int> restarts{0};

  bool WaitFor(int count) {
    std::unique_lock<std::mutex> lock(mutex);
    return changed.wait_for(lock, 60s, [&] { return acknowledged >= count; });
  }
};

void Write(Avo::DscAsyncRequestMessenger& messenger, unsigned long object, Writer& writer,
           Progress& progress) {
  for (int sinceLastRestart = 0; sinceLastRestart < 25;) {
    const bool last = progress.restarts == Kills; // read first: the answer is the last service's
    const int number = ++writer.attempted;
    const Avo::Docket docket = messenger.SetValue(object, Integer(number), false);
    if (!docket.IsAnswered()) {
      ++writer.unanswered;
      std::this_thread::yield(); // the service is away; let it come back
    } else if (docket.IsReplyValid() && docket.ReadReply() == Text(number)) {
      writer.acknowledged = number;
      sinceLastRestart += last ? 1 : 0;
      const std::lock_guard<std::mutex> lock(progress.mutex);
      ++progress.acknowledged;
      progress.changed.notify_all();
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
  Progress progress;
  std::vector<std::future<void>> threads;
  for (std::size_t t = 0; t < Writers; ++t) {
    threads.push_back(std::async(std::launch::async, Write, std::ref(messenger), FirstObject + t,
                                 std::ref(writers[t]), std::ref(progress)));
  }
  for (int kill = 1; kill <= Kills; ++kill) {
    SCOPED_TRACE("kill " + std::to_string(kill));
    ASSERT_TRUE(progress.WaitFor(100 * kill));
    service.Kill();
    // The state file holds every write acknowledged so far (and is whole:
    // the restarted service would report it corrupt otherwise).
    const std::string state = DeviceStackTest::ReadFile(service.StatePath());
    for (std::size_t t = 0; t < Writers; ++t) {
      EXPECT_GE(SavedNumber(state, FirstObject + t), writers[t].acknowledged.load()) << t;
    }
    service.Start();
    ASSERT_TRUE(client.WaitUntilConnected(60s, 1 + kill));
    progress.restarts = kill;
  }
  for (auto& thread : threads) {
    ASSERT_EQ(thread.wait_for(60s), std::future_status::ready) << "a writer hangs";
  }

  int attempted = 0;
  int unanswered = 0;
  int lostWrites = 0; // acknowledged but not kept
  for (std::size_t t = 0; t < Writers; ++t) {
    SCOPED_TRACE("writer " + std::to_string(t));
    const Writer& writer = writers[t];
    attempted += writer.attempted;
    unanswered += writer.unanswered;
    const Avo::Docket docket = messenger.GetValue(FirstObject + t, false);
    ASSERT_TRUE(docket.IsAnswered());
    // Writes that got no answer may or may not have been made, the last one too.
    const int kept = NumberOf(docket.ReadReply());
    lostWrites += std::max(0, writer.acknowledged.load() - kept);
    EXPECT_GE(kept, writer.acknowledged.load());
    EXPECT_LE(kept, writer.attempted);
    EXPECT_EQ(writer.wrongReplies, 0);
  }
  // At least once a kill: a connection made while the killed process was
  // still closing its files is lost at once.
  EXPECT_GE(client.GetCounters().connections, 1U + Kills);
  EXPECT_EQ(client.GetCounters().handlerExceptions, 0U);
  messenger.UnsetAsResponseHandler();
  EXPECT_THAT(service.ReadLog(),
              HasSubstr("Removed the stale socket file '" + service.SocketPath() + "'"));
  EXPECT_THAT(service.ReadLog(), Not(HasSubstr("corrupt")));
  std::cout << "[ figures  ] " << attempted << " writes from " << Writers << " threads, "
            << progress.acknowledged << " acknowledged, " << unanswered
            << " ended with a default docket, " << Kills << " SIGKILL, "
            << client.GetCounters().connections << " connections, " << lostWrites
            << " acknowledged writes lost\n";
}

} // namespace
