#include "TestClient.h"

#include <cerrno>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace DeviceStackTest {

namespace Protocol = Polt::DeviceStackProtocol;

namespace {
// Bounds every read, so that a service that never answers fails the test
// instead of hanging it (an emulated service is slow).
constexpr int ReadTimeoutMs = 30000;
} // namespace

TestClient::~TestClient() { Close(); }

void TestClient::Close() {
  if (m_fd >= 0) {
    ::close(m_fd);
    m_fd = -1;
  }
}

void TestClient::Send(const std::vector<std::uint8_t>& bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t n = ::send(m_fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (n < 0 && errno != EINTR) {
      throw std::runtime_error("send failed");
    }
    sent += n > 0 ? static_cast<std::size_t>(n) : 0U;
  }
}

bool TestClient::ReadExactly(std::uint8_t* data, std::size_t size) {
  std::size_t got = 0;
  while (got < size) {
    pollfd ready{m_fd, POLLIN, 0};
    const int polled = ::poll(&ready, 1, ReadTimeoutMs);
    if (polled == 0) {
      throw std::runtime_error("no answer within the timeout");
    }
    const ssize_t n = polled < 0 ? -1 : ::recv(m_fd, data + got, size - got, 0);
    if (n == 0 || (n < 0 && errno == ECONNRESET)) {
      if (got != 0) {
        throw std::runtime_error("the connection ended inside a frame");
      }
      return false;
    }
    if (n < 0) {
      if (errno == EINTR) {
        continue;
      }
      throw std::runtime_error("recv failed");
    }
    got += static_cast<std::size_t>(n);
  }
  return true;
}

std::optional<Protocol::Answer> TestClient::Read() {
  std::uint8_t prefix[Protocol::LengthPrefixSize];
  if (!ReadExactly(prefix, sizeof prefix)) {
    return std::nullopt;
  }
  const Protocol::Decoded<std::uint32_t> length = Protocol::DecodeFrameLength(prefix);
  if (!length) {
    throw std::runtime_error("bad answer length: " + length.Error().message);
  }
  std::vector<std::uint8_t> frame(length.Value());
  if (!ReadExactly(frame.data(), frame.size())) {
    throw std::runtime_error("the connection ended inside a frame");
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
