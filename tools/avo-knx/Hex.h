#pragma once
// Hex text of bytes: group values, byte-array values.

#include <cstdint>
#include <string>
#include <vector>

namespace AvoKnx {

/// Reads bytes written as hex digits: "0C33", "0c 33" or "0x0C33". Blanks may
/// separate bytes, not the two digits of one byte. An empty text is no
/// bytes. Throws UsageError naming the first fault.
std::vector<std::uint8_t> ParseHex(const std::string& text);

/// Upper-case hex digits, two per byte, no separators: "0C33".
std::string FormatHex(const std::uint8_t* data, std::size_t size);
inline std::string FormatHex(const std::vector<std::uint8_t>& bytes) {
  return FormatHex(bytes.data(), bytes.size());
}
inline std::string FormatHex(const std::string& bytes) {
  return FormatHex(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

} // namespace AvoKnx
