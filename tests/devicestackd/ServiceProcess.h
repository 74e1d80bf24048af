#pragma once
// Test support: avo-devicestackd as a child process on a socket and a state
// file in a temporary directory of its own.
//
//   DeviceStackTest::ServiceProcess service({}, false);
//   service.Seed("100101 3:21.5\n");                  // objects of a fresh state
//   service.Start();                                  // started, accepting
//   int fd = service.Connect();                       // a raw client socket
//   service.Kill();                                   // SIGKILL, as a crash
//   service.Start();                                  // again, same state file
//   EXPECT_EQ(service.Stop(), 0);                     // SIGTERM, exit status
//
// Link the target avo_devicestackd_test_support (it depends on the service,
// so the service is built first). Under a cross build the service runs
// through the same emulator as the tests.

#include <csignal> // SIGTERM, SIGKILL
#include <string>
#include <sys/types.h> // pid_t
#include <vector>

namespace DeviceStackTest {

/// One avo-devicestackd child process and its files. The destructor kills a
/// running service and removes the directory.
class ServiceProcess {
public:
  /// Creates the temporary directory and, when start is true, starts the
  /// service with `--socket DIR/service.sock --state DIR/state` and the extra
  /// arguments (e.g. {"--seed", path}).
  explicit ServiceProcess(std::vector<std::string> extraArguments = {}, bool start = true);
  ~ServiceProcess(); // NOLINT(bugprone-exception-escape): see its definition
  ServiceProcess(const ServiceProcess&) = delete;
  ServiceProcess& operator=(const ServiceProcess&) = delete;

  /// Adds arguments for every later start.
  void AddArguments(const std::vector<std::string>& arguments);
  /// Writes "ID VALUE-TEXT" lines to DIR/seed and seeds every later start from it.
  void Seed(const std::string& lines);
  /// Starts the service (again, on the same files) and waits until its socket
  /// accepts; throws std::runtime_error, with the log, when it exits first or
  /// does not accept within 30 seconds.
  void Start();
  /// Sends SIGTERM and waits: the exit status, or 128 + signal number when a
  /// signal ended it.
  int Stop() { return SignalAndWait(SIGTERM); }
  /// Sends SIGKILL and waits.
  void Kill() { SignalAndWait(SIGKILL); }
  bool IsRunning() const { return m_pid > 0; }
  pid_t Pid() const { return m_pid; }

  /// A new client socket connected to the service (blocking); the caller closes it.
  /// Throws std::runtime_error when the connection fails.
  int Connect() const;

  const std::string& Directory() const { return m_directory; }
  const std::string& SocketPath() const { return m_socketPath; }
  const std::string& StatePath() const { return m_statePath; }
  /// Everything the service wrote to stdout and stderr, over all its starts.
  std::string ReadLog() const;

private:
  int SignalAndWait(int signal);

  std::vector<std::string> m_extraArguments;
  std::string m_directory;
  std::string m_socketPath;
  std::string m_statePath;
  std::string m_logPath;
  pid_t m_pid = -1;
};

/// The whole content of a file; empty when it cannot be read.
std::string ReadFile(const std::string& path);

} // namespace DeviceStackTest
