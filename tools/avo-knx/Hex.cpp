#include "Hex.h"

#include "Arguments.h" // UsageError

namespace AvoKnx {
namespace {

int HexDigitValue(char digit) {
  if (digit >= '0' && digit <= '9') {
    return digit - '0';
  }
  if (digit >= 'a' && digit <= 'f') {
    return digit - 'a' + 10;
  }
  if (digit >= 'A' && digit <= 'F') {
    return digit - 'A' + 10;
  }
  return -1;
}

bool IsBlank(char character) { return character == ' ' || character == '\t'; }

} // namespace

std::vector<std::uint8_t> ParseHex(const std::string& text) {
  std::size_t position = 0;
  if (text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    position = 2;
  }
  std::vector<std::uint8_t> bytes;
  bytes.reserve(text.size() / 2);
  while (position < text.size()) {
    if (IsBlank(text[position])) {
      ++position;
      continue;
    }
    const int high = HexDigitValue(text[position]);
    const int low = position + 1 < text.size() ? HexDigitValue(text[position + 1]) : -1;
    if (high < 0 || (low < 0 && position + 1 < text.size() && !IsBlank(text[position + 1]))) {
      const char bad = high < 0 ? text[position] : text[position + 1];
      throw UsageError("malformed hex '" + text + "': '" + std::string(1, bad) +
                       "' is not a hex digit");
    }
    if (low < 0) {
      throw UsageError("malformed hex '" + text + "': a byte needs two hex digits");
    }
    bytes.push_back(static_cast<std::uint8_t>(high * 16 + low));
    position += 2;
  }
  return bytes;
}

std::string FormatHex(const std::uint8_t* data, std::size_t size) {
  static const char kDigits[] = "0123456789ABCDEF";
  std::string text;
  text.reserve(2 * size);
  for (std::size_t i = 0; i < size; ++i) {
    text += kDigits[data[i] >> 4];
    text += kDigits[data[i] & 0x0F];
  }
  return text;
}

} // namespace AvoKnx
