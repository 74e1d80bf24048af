// The service is killed while four threads write through one messenger, and
// started again: nobody crashes or hangs, every request ends answered or with
// a default docket, and every acknowledged write is kept.

#include "AvoObjectModel/DscAsyncRequestMessenger.h"
#include "Polt/SocketDeviceStackClient.h"

#include "LogCapture.h"
#include "ServiceProcess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <fstream>
#include <future>
#include <iostream>
#include <mutex>
#include <sstream>
#include <thread>

namespace {

using namespace std::chrono_literals;

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

// Acknowledged writes of all threads, for the test to wait on.
class Progress {
public:
  void Add() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_count;
    m_changed.notify_all();
  }
  int Count() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_count;
  }
  bool WaitFor(int count) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, 60s, [&] { return m_count >= count; });
  }

private:
  std::mutex m_mutex;
  std::condition_variable m_changed;
  int m_count = 0;
};

// What one writer did: it writes 1, 2, 3 ... to its own object.
struct Writer {
  std::atomic<int> acknowledged{0}; // the last write answered without error
  int attempted = 0;
  int unanswered = 0;
  int wrongReplies = 0;
};

void Write(Avo::DscAsyncRequestMessenger& messenger, unsigned long object, Writer& writer,
           Progress& progress, const std::atomic<bool>& stop) {
  while (!stop) {
    const int number = ++writer.attempted;
    const Avo::Docket docket = messenger.SetValue(object, Integer(number), false);
    if (!docket.IsAnswered()) {
      ++writer.unanswered;
      std::this_thread::yield(); // the service is away; let it come back
    } else if (docket.IsReplyValid() && docket.ReadReply() == Text(number)) {
      writer.acknowledged = number;
      progress.Add();
    } else {
      ++writer.wrongReplies;
    }
  }
}

// The value of an object in the state file: the file must be whole.
int SavedNumber(const std::string& state, unsigned long object) {
  const std::string prefix = "\nobject " + std::to_string(object) + " \"\" \"";
  const auto start = state.find(prefix);
  if (start == std::string::npos) {
    return -1;
  }
  const auto valueStart = start + prefix.size();
  return NumberOf(state.substr(valueStart, state.find('"', valueStart) - valueStart));
}

std::string ReadFile(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

TEST(SocketClientAndService, ServiceKilledDuringWritesFromFourThreadsAndRestarted) {
  DeviceStackTest::ServiceProcess service({}, false);
  const std::string seed = service.Directory() + "/seed";
  {
    std::ofstream seedFile(seed);
    for (int t = 0; t < Writers; ++t) {
      seedFile << FirstObject + static_cast<unsigned long>(t) << ' ' << Text(0) << '\n';
    }
  }
  service.AddArguments({"--seed", seed});
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
  std::atomic<bool> stop{false};
  std::vector<std::future<void>> threads;
  threads.reserve(Writers);
  for (int t = 0; t < Writers; ++t) {
    threads.push_back(std::async(std::launch::async, [&, t] {
      Write(messenger, FirstObject + static_cast<unsigned long>(t),
            writers[static_cast<std::size_t>(t)], progress, stop);
    }));
  }

  ASSERT_TRUE(progress.WaitFor(100));
  service.Kill();
  std::array<int, Writers> acknowledgedAtKill{};
  for (int t = 0; t < Writers; ++t) {
    acknowledgedAtKill[static_cast<std::size_t>(t)] =
        writers[static_cast<std::size_t>(t)].acknowledged;
  }
  // Written whole (first and last line) and with every write acknowledged so far.
  const std::string state = ReadFile(service.StatePath());
  EXPECT_EQ(state.rfind("avo-devicestackd state 1\n", 0), 0U);
  ASSERT_GE(state.size(), 5U);
  EXPECT_EQ(state.substr(state.size() - 5), "\nend\n");
  for (int t = 0; t < Writers; ++t) {
    EXPECT_GE(SavedNumber(state, FirstObject + static_cast<unsigned long>(t)),
              acknowledgedAtKill[static_cast<std::size_t>(t)])
        << "writer " << t;
  }

  service.Start();
  ASSERT_TRUE(client.WaitUntilConnected(60s, 2));
  ASSERT_TRUE(progress.WaitFor(progress.Count() + 100));
  stop = true;
  for (auto& thread : threads) {
    ASSERT_EQ(thread.wait_for(60s), std::future_status::ready) << "a writer hangs";
  }

  int lostWrites = 0; // acknowledged but not kept
  for (int t = 0; t < Writers; ++t) {
    SCOPED_TRACE("writer " + std::to_string(t));
    const Writer& writer = writers[static_cast<std::size_t>(t)];
    const Avo::Docket docket =
        messenger.GetValue(FirstObject + static_cast<unsigned long>(t), false);
    ASSERT_TRUE(docket.IsAnswered());
    // Writes that got no answer may or may not have been made, the last one too.
    const int kept = NumberOf(docket.ReadReply());
    lostWrites += std::max(0, writer.acknowledged.load() - kept);
    EXPECT_GE(kept, writer.acknowledged.load());
    EXPECT_LE(kept, writer.attempted);
    EXPECT_GE(writer.acknowledged.load(), acknowledgedAtKill[static_cast<std::size_t>(t)]);
    EXPECT_EQ(writer.wrongReplies, 0);
  }
  // At least once more: a connection made while the killed process was
  // still closing its files is lost at once.
  EXPECT_GE(client.GetCounters().connections, 2U);
  EXPECT_EQ(client.GetCounters().handlerExceptions, 0U);
  messenger.UnsetAsResponseHandler();

  int attempted = 0;
  int acknowledged = 0;
  int unanswered = 0;
  for (const Writer& writer : writers) {
    attempted += writer.attempted;
    acknowledged += writer.acknowledged;
    unanswered += writer.unanswered;
  }
  std::cout << "[ figures  ] " << attempted << " writes from " << Writers << " threads, "
            << acknowledged << " acknowledged, " << unanswered
            << " ended with a default docket, 1 SIGKILL, " << client.GetCounters().connections
            << " connections, " << lostWrites << " acknowledged writes lost\n";
}

} // namespace
