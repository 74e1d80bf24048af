#pragma once
// A raw client of the service for tests: writes any bytes, reads frames.

#include "Polt/DeviceStackProtocol.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace DeviceStackTest {

/// Owns a connected socket (from ServiceProcess::Connect). Every read is
/// bounded, so that a service that never answers fails the test instead of
/// hanging it.
class TestClient {
public:
  explicit TestClient(int fd);
  ~TestClient() { Close(); }
  TestClient(const TestClient&) = delete;
  TestClient& operator=(const TestClient&) = delete;

  /// Writes the bytes as they are.
  void Send(const std::vector<std::uint8_t>& bytes);
  /// Reads one answer frame; nothing when the service closed the connection.
  /// Throws std::runtime_error on a timeout or an answer that does not decode.
  std::optional<Polt::DeviceStackProtocol::Answer> Read();
  /// Sends the request and reads its answer (which must come).
  Polt::DeviceStackProtocol::Answer Ask(const Polt::DeviceStackProtocol::Request& request);
  /// True when the service has closed the connection (after any answers).
  bool IsClosedByService();
  /// Closes the socket now.
  void Close();

private:
  bool ReadExactly(std::uint8_t* data, std::size_t size);

  int m_fd;
};

/// Shorthands for requests.
Polt::DeviceStackProtocol::Request GetValue(std::uint64_t requestId, std::uint32_t objectId);
Polt::DeviceStackProtocol::Request SetValue(std::uint64_t requestId, std::uint32_t objectId,
                                            std::string value);

} // namespace DeviceStackTest
