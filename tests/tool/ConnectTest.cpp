// avo-knx devicestack --connect against a running avo-devicestackd: the
// dockets of the service's answers, as a user sees them.

#include "ServiceProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace {

// Runs avo-knx (through the emulator of a cross build) with the arguments,
// which hold no blanks: its standard output and "exit <status>".
std::string RunAvoKnx(const std::string& arguments) {
  const std::string command =
      std::string(AVO_KNX_EMULATOR) + " " AVO_KNX_PATH " " + arguments + " 2>/dev/null";
  std::string out;
  FILE* const pipe = popen(command.c_str(), "r");
  char buffer[256];
  for (std::size_t size = 0;
       pipe != nullptr && (size = fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
    out.append(buffer, size);
  }
  const int status = pipe != nullptr ? pclose(pipe) : -1;
  return out + "exit " + std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : -1);
}

TEST(AvoKnxConnect, DocketsOfTheServicesAnswers) {
  DeviceStackTest::ServiceProcess service({}, false);
  const std::string seed = service.Directory() + "/seed";
  std::ofstream(seed) << "200133 3:21.5\n";
  service.AddArguments({"--seed", seed});
  service.Start();

  const std::string connect = "devicestack --connect " + service.SocketPath();
  EXPECT_EQ(RunAvoKnx(connect + " get 200133 set 200133 22.5 get 7"),
            "get 200133: answered, valid, reply \"3:21.5\" (21.5)\n"
            "set 200133 22.5: answered, valid, reply \"3:22.5\" (22.5)\n"
            "get 7: answered, invalid, reply \"\", delivery error \"Object 7 does not exist\"\n"
            "exit 1"); // get 7 is refused

  // The service kept the value for the next run.
  const std::string again = RunAvoKnx(connect + " --json get 200133");
  EXPECT_THAT(again, testing::HasSubstr("\"reply\":\"3:22.5\""));
  EXPECT_THAT(again, testing::EndsWith("exit 0"));
}

} // namespace
