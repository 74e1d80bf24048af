#pragma once
// Test support: avo-devicestackd as a child process on a socket and a state
// file in a temporary directory of its own.
//
//   DeviceStackTest::ServiceProcess service;        // started, accepting
//   int fd = service.Connect();                       // a raw client socket
//   service.Kill();                                   // SIGKILL, as a crash
//   service.Start();                                  // again, same state file
//   EXPECT_EQ(service.Stop(), 0);                     // SIGTERM, exit status
//
// Link the target avo_devicestackd_test_support (it depends on the service,
// so the service is built first). Under a cross build the service runs
// through the same emulator as the tests.

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
  /// arguments (e.g. {"--seed", path}). Throws std::runtime_error when the
  /// service does not accept within the deadline.
  explicit ServiceProcess(std::vector<std::string> extraArguments = {}, bool start = true);
  ~ServiceProcess();
  ServiceProcess(const ServiceProcess&) = delete;
  ServiceProcess& operator=(const ServiceProcess&) = delete;

  /// Adds arguments for every later start.
  void AddArguments(const std::vector<std::string>& arguments);
  /// Starts the service (again, on the same files) and waits until its socket
  /// accepts; throws std::runtime_error, with the log, when it exits first or
  /// does not accept within 30 seconds.
  void Start();
  /// Sends SIGTERM and waits: the exit status, or 128 + signal number when a
  /// signal ended it.
  int Stop();
  /// Sends SIGKILL and waits.
  void Kill();
  /// Waits for the service to end by itself (e.g. when it cannot start): the
  /// status as Stop returns it.
  int Wait();
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

  /// The path of the service executable.
  static std::string Executable();

private:
  bool TryConnect() const;

  std::vector<std::string> m_extraArguments;
  std::string m_directory;
  std::string m_socketPath;
  std::string m_statePath;
  std::string m_logPath;
  pid_t m_pid = -1;
};

} // namespace DeviceStackTest
