// The state file: acknowledged writes survive SIGKILL, a corrupt file is
// reported and moved aside, a clean stop removes the socket, and a second
// service cannot take a socket that is served.

#include "ServiceProcess.h"
#include "TestClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace {

namespace Protocol = Polt::DeviceStackProtocol;
using namespace DeviceStackTest;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr std::uint32_t Lamp = 100101;

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

void Seed(ServiceProcess& service) {
  const std::string seed = service.Directory() + "/seed";
  WriteFile(seed, std::to_string(Lamp) + " 7:0\n");
  service.AddArguments({"--seed", seed});
}

std::uint32_t ReadCounter(ServiceProcess& service) {
  TestClient client(service.Connect());
  const Protocol::Answer answer = client.Ask(GetValue(1, Lamp));
  EXPECT_EQ(answer.text.rfind("7:", 0), 0U) << answer.text;
  return static_cast<std::uint32_t>(std::stoul(answer.text.substr(2)));
}

TEST(DeviceStackPersistence, AcknowledgedWritesSurviveSigkillAtAnyMoment) {
  ServiceProcess service({}, false);
  Seed(service);
  service.Start();
  for (int crash = 0; crash < 3; ++crash) {
    SCOPED_TRACE("crash " + std::to_string(crash));
    const std::uint32_t start = ReadCounter(service);
    std::atomic<std::uint32_t> acknowledged{start};
    std::thread writer([&] {
      try {
        TestClient client(service.Connect());
        for (std::uint32_t n = start + 1;; ++n) {
          if (client.Ask(SetValue(n, Lamp, "7:" + std::to_string(n))).error.code != 0) {
            return;
          }
          acknowledged = n;
        }
      } catch (const std::exception&) {
        // The kill ends the connection; that is the point.
      }
    });
    while (acknowledged < start + 5) {
      std::this_thread::yield();
    }
    service.Kill(); // while the writer keeps writing
    writer.join();
    service.Start();
    const std::uint32_t kept = ReadCounter(service);
    // The write in flight at the kill may or may not have been saved.
    EXPECT_GE(kept, acknowledged.load());
    EXPECT_LE(kept, acknowledged.load() + 1);
  }
  EXPECT_THAT(service.ReadLog(),
              HasSubstr("Removed the stale socket file '" + service.SocketPath() + "'"));
  EXPECT_THAT(service.ReadLog(), Not(HasSubstr("corrupt")));
}

TEST(DeviceStackPersistence, EverythingAcknowledgedIsKeptAcrossAStop) {
  ServiceProcess service({}, false);
  Seed(service);
  service.Start();
  {
    TestClient client(service.Connect());
    using namespace Protocol;
    for (const Request& request :
         {Request{1, SetDeviceConfigRequest{{{"key", "line\nbreak \"quoted\""}}}},
          Request{
              2,
              SetConfigurationRequest{Lamp, false, {{Polt::IDeviceStackClient::ptUnit, {"°C"}}}}},
          Request{3, RegisterApplicationRequest{"a", "", "c"}},
          Request{4, SendConfigurationRequest{std::string("\x01\xFF", 2)}},
          Request{5, SetValueRequest{Lamp, false, "10:\"a b\""}}}) {
      EXPECT_EQ(client.Ask(request).error.code, 0);
    }
  }
  EXPECT_EQ(service.Stop(), 0);
  EXPECT_FALSE(std::filesystem::exists(service.SocketPath()));
  const std::string saved = ReadFile(service.StatePath());

  service.Start();
  TestClient client(service.Connect());
  EXPECT_EQ(client.Ask(GetValue(1, Lamp)).text, "10:\"a b\"");
  EXPECT_EQ(client.Ask({2, Protocol::GetDeviceConfigRequest{}}).text,
            "key=line\nbreak \"quoted\"\n");
  EXPECT_EQ(service.Stop(), 0);
  // Loading and saving again gives the same file: nothing was lost or changed.
  EXPECT_EQ(ReadFile(service.StatePath()), saved);
  EXPECT_THAT(saved, HasSubstr("registration \"a\" \"\" \"c\"\n"));
  EXPECT_THAT(saved, HasSubstr("configuration \"\\x01\\xFF\"\n"));
  EXPECT_THAT(saved, HasSubstr("property 100101 2 \"\\xC2\\xB0C\"\n"));
  EXPECT_THAT(service.ReadLog(), ContainsRegex("INFO  \\[avo-devicestackd\\] StopOnSignal "
                                               "\\(main.cpp:[0-9]+\\) - Stopping on signal 15"));
}

TEST(DeviceStackPersistence, CorruptStateFileIsReportedAndMovedAside) {
  struct Case {
    const char* name;
    std::string content;
    std::string problem;
  };
  const Case cases[] = {
      {"not a state file", "hello\n", "line 1: not a state file of this service"},
      {"end line missing", "avo-devicestackd state 1\nobject 100101 \"\" \"7.2:9\"\n",
       "line 3: the end line is missing"},
      {"cut inside a line", "avo-devicestackd state 1\nobject 100101 \"\" \"7.2:9",
       "line 2: no line end (truncated file)"},
      {"bad value", "avo-devicestackd state 1\nobject 100101 \"\" \"7.2:x\"\nend\n",
       "line 2: object 100101 has no valid value text"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ServiceProcess service({}, false);
    Seed(service);
    WriteFile(service.StatePath(), c.content);
    service.Start();
    EXPECT_EQ(ReadCounter(service), 0U); // from the seed
    EXPECT_EQ(service.Stop(), 0);

    std::vector<std::string> aside;
    for (const auto& entry : std::filesystem::directory_iterator(service.Directory())) {
      if (entry.path().filename().string().rfind("state.corrupt-", 0) == 0) {
        aside.push_back(entry.path().string());
      }
    }
    ASSERT_EQ(aside.size(), 1U);
    EXPECT_EQ(ReadFile(aside[0]), c.content);
    const std::string line = "ERROR [avo-devicestackd] InitialModel (main.cpp:";
    EXPECT_THAT(service.ReadLog(),
                HasSubstr(") - The state file '" + service.StatePath() + "' is corrupt (" +
                          c.problem + "); moved it to '" + aside[0] + "'\n"));
    EXPECT_THAT(service.ReadLog(), HasSubstr(line));
  }
}

TEST(DeviceStackPersistence, ASecondServiceCannotTakeAServedSocket) {
  ServiceProcess first;
  ServiceProcess second({}, false);
  second.AddArguments({"--socket", first.SocketPath()}); // the last --socket counts
  EXPECT_THROW(second.Start(), std::runtime_error);
  EXPECT_THAT(second.ReadLog(), HasSubstr("FATAL [avo-devicestackd] main (main.cpp:"));
  EXPECT_THAT(second.ReadLog(),
              HasSubstr("Cannot serve: another service listens on '" + first.SocketPath() + "'"));
  TestClient client(first.Connect());
  EXPECT_EQ(client.Ask({1, Protocol::FreeFormRequest{"still there"}}).text, "still there");
}

} // namespace
