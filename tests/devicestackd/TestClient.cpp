#include "TestClient.h"

#include <cerrno>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace DeviceStackTest {

namespace Protocol = Polt::DeviceStackProtocol;

TestClient::TestClient(int fd) : m_fd(fd) {
  const timeval timeout{30, 0}; // an emulated service is slow
  ::setsockopt(m_fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
}

void TestClient::Close() {
  if (m_fd >= 0) {
    ::close(m_fd);
    m_fd = -1;
  }
}

// NOLINTNEXTLINE(readability-make-member-function-const): writes to the client's socket
void TestClient::Send(const std::vector<std::uint8_t>& bytes) {
  for (std::size_t sent = 0; sent < bytes.size();) {
    const ssize_t n = ::send(m_fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (n < 0 && errno != EINTR) {
      throw std::runtime_error("send failed");
    }
    sent += n > 0 ? static_cast<std::size_t>(n) : 0U;
  }
}

// False when the service closed the connection before the first byte.
// NOLINTNEXTLINE(readability-make-member-function-const): reads from the client's socket
bool TestClient::ReadExactly(std::uint8_t* data, std::size_t size) {
  for (std::size_t got = 0; got < size;) {
    const ssize_t n = ::recv(m_fd, data + got, size - got, 0);
    if (n == 0 || (n < 0 && errno == ECONNRESET)) {
      if (got == 0) {
        return false;
      }
      throw std::runtime_error("the connection ended inside a frame");
    }
    if (n < 0 && errno != EINTR) {
      throw std::runtime_error(errno == EAGAIN ? "no answer within the timeout" : "recv failed");
    }
    got += n > 0 ? static_cast<std::size_t>(n) : 0U;
  }
  return true;
}

std::optional<Protocol::Answer> TestClient::Read() {
  std::uint8_t prefix[Protocol::LengthPrefixSize];
  if (!ReadExactly(prefix, sizeof prefix)) {
    return std::nullopt;
  }
  const Protocol::Decoded<std::uint32_t> length = Protocol::DecodeFrameLength(prefix);
  std::vector<std::uint8_t> frame(length ? length.Value() : 0U);
  if (!length || !ReadExactly(frame.data(), frame.size())) {
    throw std::runtime_error("bad answer length or the connection ended inside a frame");
  }
  Protocol::Decoded<Protocol::Answer> answer = Protocol::DecodeAnswer(frame.data(), frame.size());
  if (!answer) {
    throw std::runtime_error("bad answer: " + answer.Error().message);
  }
  return answer.Value();
}

Protocol::Answer TestClient::Ask(const Protocol::Request& request) {
  Send(Protocol::EncodeRequest(request));
  std::optional<Protocol::Answer> answer = Read();
  if (!answer) {
    throw std::runtime_error("the service closed the connection instead of answering");
  }
  return *answer;
}

bool TestClient::IsClosedByService() {
  std::uint8_t byte = 0;
  return !ReadExactly(&byte, 1);
}

Protocol::Request GetValue(std::uint64_t requestId, std::uint32_t objectId) {
  return {requestId, Protocol::GetValueRequest{objectId, false}};
}

Protocol::Request SetValue(std::uint64_t requestId, std::uint32_t objectId, std::string value) {
  return {requestId, Protocol::SetValueRequest{objectId, false, std::move(value)}};
}

} // namespace DeviceStackTest
