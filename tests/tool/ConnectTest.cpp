// avo-knx devicestack --connect against a running avo-devicestackd: the
// dockets of the service's answers, as a user sees them.

#include "ServiceProcess.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct ToolRun {
  int status = -1;
  std::string out;
};

// Runs avo-knx (through the emulator of a cross build, found on the PATH) with its standard
// output in a file of the service's directory.
ToolRun RunAvoKnx(const std::string& directory, std::vector<std::string> args) {
  const std::string outPath = directory + "/avo-knx.out";
  std::vector<std::string> command;
  if (!std::string(AVO_KNX_EMULATOR).empty()) {
    command.emplace_back(AVO_KNX_EMULATOR);
  }
  command.emplace_back(AVO_KNX_PATH);
  command.insert(command.end(), args.begin(), args.end());
  std::vector<char*> argv;
  argv.reserve(command.size() + 1);
  for (std::string& word : command) {
    argv.push_back(word.data());
  }
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   0600);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  ToolRun run;
  pid_t pid = -1;
  if (posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ) == 0) {
    int status = 0;
    if (waitpid(pid, &status, 0) == pid && WIFEXITED(status)) {
      run.status = WEXITSTATUS(status);
    }
  }
  posix_spawn_file_actions_destroy(&actions);
  std::ostringstream out;
  out << std::ifstream(outPath).rdbuf();
  run.out = out.str();
  return run;
}

TEST(AvoKnxConnect, DocketsOfTheServicesAnswers) {
  DeviceStackTest::ServiceProcess service({}, false);
  const std::string seed = service.Directory() + "/seed";
  std::ofstream(seed) << "200133 3:21.5\n";
  service.AddArguments({"--seed", seed});
  service.Start();

  const ToolRun run =
      RunAvoKnx(service.Directory(), {"devicestack", "--connect", service.SocketPath(), "get",
                                      "200133", "set", "200133", "22.5", "get", "7"});
  EXPECT_EQ(run.status, 1); // get 7 is refused
  EXPECT_EQ(run.out,
            "get 200133: answered, valid, reply \"3:21.5\" (21.5)\n"
            "set 200133 22.5: answered, valid, reply \"3:22.5\" (22.5)\n"
            "get 7: answered, invalid, reply \"\", delivery error \"Object 7 does not exist\"\n");

  // The service kept the value for the next run.
  const ToolRun again = RunAvoKnx(service.Directory(), {"devicestack", "--json", "--connect",
                                                        service.SocketPath(), "get", "200133"});
  EXPECT_EQ(again.status, 0);
  EXPECT_NE(again.out.find("\"reply\":\"3:22.5\""), std::string::npos) << again.out;
}

} // namespace
