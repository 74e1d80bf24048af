#include "KnxStack/GroupValue.h"

#include <algorithm> // std::min
#include <string>

namespace KnxStack {
namespace {

[[noreturn]] void ThrowShortRead(unsigned int index, unsigned int needed, unsigned int size) {
  throw GroupValueException("BinaryData: " + std::to_string(needed) + " byte(s) needed at index " +
                            std::to_string(index) + ", but the data holds " + std::to_string(size) +
                            " byte(s)");
}

// True when count bytes are there from index on; written so that a huge index
// cannot wrap around.
bool HasBytes(unsigned int size, unsigned int index, unsigned int count) {
  return index <= size && size - index >= count;
}

} // namespace

BinaryData::BinaryData(const unsigned char* data, unsigned int size) {
  if (data == nullptr && size != 0) {
    throw GroupValueException("BinaryData: no data for " + std::to_string(size) + " byte(s)");
  }
  Assign(data, size);
}

BinaryData::BinaryData(std::vector<std::uint8_t> bytes) : m_bytes(bytes.begin(), bytes.end()) {}

std::uint8_t BinaryData::GetUInt8Value(unsigned int index) const {
  if (!HasBytes(GetSize(), index, 1)) {
    ThrowShortRead(index, 1, GetSize());
  }
  return m_bytes[index];
}

std::uint16_t BinaryData::GetUInt16Value(unsigned int index) const {
  if (!HasBytes(GetSize(), index, 2)) {
    ThrowShortRead(index, 2, GetSize());
  }
  return static_cast<std::uint16_t>(m_bytes[index] << 8 | m_bytes[index + 1]);
}

std::uint32_t BinaryData::GetUInt24Value(unsigned int index) const {
  if (!HasBytes(GetSize(), index, 3)) {
    ThrowShortRead(index, 3, GetSize());
  }
  return std::uint32_t{m_bytes[index]} << 16 | std::uint32_t{m_bytes[index + 1]} << 8 |
         m_bytes[index + 2];
}

std::uint32_t BinaryData::GetUInt32Value(unsigned int index) const {
  if (!HasBytes(GetSize(), index, 1)) {
    ThrowShortRead(index, 1, GetSize());
  }
  // Fewer than four bytes are read as a shorter big-endian number, so that
  // 3-byte values (colours, 24-bit counters) come back unchanged.
  const unsigned int end = index + std::min(4u, GetSize() - index);
  std::uint32_t value = 0;
  for (unsigned int i = index; i < end; ++i) {
    value = value << 8 | m_bytes[i];
  }
  return value;
}

void BinaryData::SetUInt8Value(unsigned int index, std::uint8_t value) {
  if (index >= GetSize()) {
    m_bytes.resize(std::size_t{index} + 1, 0);
  }
  m_bytes[index] = value;
}

std::string BinaryData::ToString() const {
  static constexpr char kHexDigits[] = "0123456789ABCDEF";
  std::string text;
  if (m_bytes.empty()) {
    return text;
  }
  text.reserve(m_bytes.size() * 3 - 1);
  for (const std::uint8_t byte : m_bytes) {
    if (!text.empty()) {
      text += ' ';
    }
    text += kHexDigits[byte >> 4];
    text += kHexDigits[byte & 0x0F];
  }
  return text;
}

} // namespace KnxStack
