// The state file: everything acknowledged is kept across a stop, a corrupt
// file is reported and moved aside, a clean stop removes the socket, and a
// second service cannot take a socket that is served. (Acknowledged writes
// surviving SIGKILL: devicestackclient's ServiceKilledTest.)

#include "ServiceProcess.h"
#include "TestClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

namespace Protocol = Polt::DeviceStackProtocol;
using namespace DeviceStackTest;
using Client = Polt::IDeviceStackClient;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;

constexpr std::uint32_t Lamp = 100101;

TEST(DeviceStackPersistence, EverythingAcknowledgedIsKeptAcrossAStop) {
  ServiceProcess service({}, false);
  service.Seed(std::to_string(Lamp) + " 7:0\n");
  service.Start();
  {
    TestClient client(service.Connect());
    using namespace Protocol;
    for (const Request& request :
         {Request{1, SetDeviceConfigRequest{{{"key", "line\nbreak \"quoted\""}}}},
          Request{2, SetConfigurationRequest{Lamp, false, {{Client::ptUnit, {"°C"}}}}},
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
    service.Seed(std::to_string(Lamp) + " 7:0\n");
    std::ofstream(service.StatePath(), std::ios::binary) << c.content;
    service.Start();
    EXPECT_EQ(TestClient(service.Connect()).Ask(GetValue(1, Lamp)).text, "7:0"); // the seed's
    EXPECT_EQ(service.Stop(), 0);

    std::vector<std::string> aside;
    for (const auto& entry : std::filesystem::directory_iterator(service.Directory())) {
      if (entry.path().filename().string().rfind("state.corrupt-", 0) == 0) {
        aside.push_back(entry.path().string());
      }
    }
    ASSERT_EQ(aside.size(), 1U);
    EXPECT_EQ(ReadFile(aside[0]), c.content);
    EXPECT_THAT(service.ReadLog(),
                ContainsRegex("ERROR \\[avo-devicestackd\\] InitialModel \\(main.cpp:[0-9]+\\) - "
                              "The state file '.*/state' is corrupt \\("));
    EXPECT_THAT(service.ReadLog(),
                HasSubstr("The state file '" + service.StatePath() + "' is corrupt (" + c.problem +
                          "); moved it to '" + aside[0] + "'\n"));
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
