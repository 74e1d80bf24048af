#include "UnixStreamConnection.h"

#include <sys/socket.h>
#include <sys/time.h> // timeval
#include <sys/un.h>   // sockaddr_un
#include <unistd.h>   // close

#include <cerrno>
#include <cstring> // std::strerror, std::memcpy

namespace Polt {
namespace Detail {
namespace {

timeval ToTimeval(std::chrono::milliseconds duration) {
  timeval value{};
  value.tv_sec = static_cast<decltype(value.tv_sec)>(duration.count() / 1000);
  value.tv_usec = static_cast<decltype(value.tv_usec)>((duration.count() % 1000) * 1000);
  return value;
}

} // namespace

std::size_t UnixStreamConnection::MaxPathLength() { return sizeof(sockaddr_un::sun_path) - 1; }

std::unique_ptr<UnixStreamConnection>
UnixStreamConnection::Connect(const std::string& path, std::chrono::milliseconds sendTimeout,
                              std::string& failure) {
  if (path.empty() || path.size() > MaxPathLength()) {
    failure = "socket path must have 1 to " + std::to_string(MaxPathLength()) + " characters";
    return nullptr;
  }
  const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) {
    failure = std::strerror(errno);
    return nullptr;
  }
  std::unique_ptr<UnixStreamConnection> connection(new UnixStreamConnection(descriptor));
  const timeval timeout = ToTimeval(sendTimeout);
  if (sendTimeout.count() > 0 &&
      ::setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout) != 0) {
    failure = std::strerror(errno);
    return nullptr;
  }
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.data(), path.size());
  int result = 0;
  do {
    result = ::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  } while (result != 0 && errno == EINTR);
  if (result != 0) {
    failure = std::strerror(errno);
    return nullptr;
  }
  return connection;
}

UnixStreamConnection::UnixStreamConnection(int descriptor) : m_descriptor(descriptor) {}

UnixStreamConnection::~UnixStreamConnection() { ::close(m_descriptor); }

bool UnixStreamConnection::SendAll(const void* data, std::size_t size) {
  const std::lock_guard<std::mutex> lock(m_writeMutex);
  if (IsShutDown()) {
    return false;
  }
  const char* bytes = static_cast<const char*>(data);
  std::size_t sent = 0;
  while (sent < size) {
    // MSG_NOSIGNAL: a service that went away must not end this process with SIGPIPE.
    const ssize_t written = ::send(m_descriptor, bytes + sent, size - sent, MSG_NOSIGNAL);
    if (written < 0 && errno == EINTR) {
      continue;
    }
    if (written <= 0) {
      Shutdown();
      return false;
    }
    sent += static_cast<std::size_t>(written);
  }
  return true;
}

long UnixStreamConnection::Receive(char* buffer, std::size_t size) {
  for (;;) {
    const ssize_t received = ::recv(m_descriptor, buffer, size, 0);
    if (received < 0 && errno == EINTR) {
      continue;
    }
    return static_cast<long>(received);
  }
}

void UnixStreamConnection::Shutdown() {
  if (!m_shutDown.exchange(true)) {
    ::shutdown(m_descriptor, SHUT_RDWR);
  }
}

bool UnixStreamConnection::IsShutDown() const { return m_shutDown; }

} // namespace Detail
} // namespace Polt
