#include "AnswerStream.h"

#include <cstring> // std::memcpy

namespace Polt {
namespace Detail {

namespace Protocol = DeviceStackProtocol;

void AnswerStream::Append(const char* data, std::size_t size) {
  Compact();
  const std::size_t end = m_bytes.size();
  m_bytes.resize(end + size);
  std::memcpy(m_bytes.data() + end, data, size);
}

std::optional<AnswerStream::Decoded> AnswerStream::Next() {
  if (Available() < Protocol::LengthPrefixSize) {
    return std::nullopt;
  }
  const std::uint8_t* prefix = m_bytes.data() + m_start;
  const Protocol::Decoded<std::uint32_t> length = Protocol::DecodeFrameLength(prefix);
  if (!length) {
    return Decoded(length.Error());
  }
  const std::size_t frameSize = length.Value();
  if (Available() < Protocol::LengthPrefixSize + frameSize) {
    return std::nullopt;
  }
  const std::uint8_t* frame = prefix + Protocol::LengthPrefixSize;
  m_start += Protocol::LengthPrefixSize + frameSize;
  return Protocol::DecodeAnswer(frame, frameSize);
}

// Consumed bytes are dropped before new ones are appended; the copy is at
// most one partial frame, as answers are read as soon as they are complete.
void AnswerStream::Compact() {
  if (m_start == 0) {
    return;
  }
  m_bytes.erase(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(m_start));
  m_start = 0;
}

} // namespace Detail
} // namespace Polt
