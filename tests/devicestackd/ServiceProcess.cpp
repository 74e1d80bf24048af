#include "ServiceProcess.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace DeviceStackTest {
namespace {

std::string MakeTemporaryDirectory() {
  std::string pattern =
      (std::filesystem::temp_directory_path() / "avo-devicestackd-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) {
    throw std::runtime_error("cannot create a temporary directory: " +
                             std::string(std::strerror(errno)));
  }
  return pattern;
}

// A connected socket, or -1 with errno set.
int ConnectTo(const std::string& path) {
  const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  if (fd >= 0 && ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    const int error = errno;
    ::close(fd);
    errno = error;
    return -1;
  }
  return fd;
}

int StatusOf(int status) {
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace

std::string ReadFile(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

ServiceProcess::ServiceProcess(std::vector<std::string> extraArguments, bool start)
    : m_extraArguments(std::move(extraArguments)), m_directory(MakeTemporaryDirectory()),
      m_socketPath(m_directory + "/service.sock"), m_statePath(m_directory + "/state"),
      m_logPath(m_directory + "/service.log") {
  if (start) {
    Start();
  }
}

// A kill that fails ends the test program: better than a service left running.
// NOLINTNEXTLINE(bugprone-exception-escape)
ServiceProcess::~ServiceProcess() {
  if (IsRunning()) {
    Kill();
  }
  std::error_code ignored;
  std::filesystem::remove_all(m_directory, ignored);
}

void ServiceProcess::AddArguments(const std::vector<std::string>& arguments) {
  m_extraArguments.insert(m_extraArguments.end(), arguments.begin(), arguments.end());
}

void ServiceProcess::Seed(const std::string& lines) {
  const std::string path = m_directory + "/seed";
  std::ofstream(path) << lines;
  AddArguments({"--seed", path});
}

void ServiceProcess::Start() {
  if (IsRunning()) {
    throw std::logic_error("the service is running already");
  }
  std::vector<std::string> arguments;
  // NOLINTNEXTLINE(readability-redundant-string-init): empty in native builds only
  const std::string emulator = AVO_DEVICESTACKD_EMULATOR;
  if (!emulator.empty()) {
    arguments.push_back(emulator);
  }
  arguments.insert(arguments.end(),
                   {AVO_DEVICESTACKD_PATH, "--socket", m_socketPath, "--state", m_statePath});
  arguments.insert(arguments.end(), m_extraArguments.begin(), m_extraArguments.end());
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);

  const int log = ::open(m_logPath.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  if (log < 0) {
    throw std::runtime_error("cannot open the service log " + m_logPath);
  }
  m_pid = ::fork();
  if (m_pid == 0) {
    // Only async-signal-safe calls between fork and exec.
    ::dup2(log, STDOUT_FILENO);
    ::dup2(log, STDERR_FILENO);
    ::execvp(argv[0], argv.data());
    ::_exit(127);
  }
  ::close(log);
  if (m_pid < 0) {
    throw std::runtime_error("cannot fork: " + std::string(std::strerror(errno)));
  }

  // The service tells nothing when it is ready: its socket accepting is the
  // event, polled. The bound keeps a broken service from hanging the test (an
  // emulated service starts slowly).
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  int probe = -1;
  while ((probe = ConnectTo(m_socketPath)) < 0) {
    int status = 0;
    if (::waitpid(m_pid, &status, WNOHANG) == m_pid) {
      m_pid = -1;
      throw std::runtime_error("the service ended with status " + std::to_string(StatusOf(status)) +
                               " before it accepted:\n" + ReadLog());
    }
    if (std::chrono::steady_clock::now() > deadline) {
      Kill();
      throw std::runtime_error("the service did not accept within 30 s:\n" + ReadLog());
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  ::close(probe);
}

int ServiceProcess::SignalAndWait(int signal) {
  if (!IsRunning()) {
    throw std::logic_error("the service is not running");
  }
  ::kill(m_pid, signal);
  int status = 0;
  while (::waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {}
  m_pid = -1;
  return StatusOf(status);
}

int ServiceProcess::Connect() const {
  const int fd = ConnectTo(m_socketPath);
  if (fd < 0) {
    throw std::runtime_error("cannot connect to " + m_socketPath + ": " + std::strerror(errno));
  }
  return fd;
}

std::string ServiceProcess::ReadLog() const { return ReadFile(m_logPath); }

} // namespace DeviceStackTest
