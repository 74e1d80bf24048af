#pragma once
// Cuts the byte stream that the device stack service sends into answers.

#include "Polt/DeviceStackProtocol.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace Polt {
namespace Detail {

/// Collects received bytes and hands out the answers whose frames are complete.
class AnswerStream {
public:
  using Decoded = DeviceStackProtocol::Decoded<DeviceStackProtocol::Answer>;

  /// Appends bytes as they came from the socket.
  void Append(const char* data, std::size_t size);

  /// The next answer when its whole frame has arrived; nothing while more
  /// bytes are needed. A decode error means the stream cannot be read on
  /// (its frame boundaries are lost): the caller drops the connection.
  std::optional<Decoded> Next();

private:
  std::size_t Available() const { return m_bytes.size() - m_start; }
  void Compact();

  std::vector<std::uint8_t> m_bytes;
  std::size_t m_start = 0; // first byte not yet consumed
};

} // namespace Detail
} // namespace Polt
