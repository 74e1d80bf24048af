#include "QuotedText.h"

#include <algorithm> // std::min
#include <climits>
#include <cstdlib> // std::strtol, std::strtoul

namespace DeviceStackd {
namespace {

const char* const HexDigits = "0123456789ABCDEF";

int HexValue(char c) {
  if (c >= '0' && c <= '9') {
    return c - '0';
  }
  if (c >= 'A' && c <= 'F') {
    return c - 'A' + 10;
  }
  if (c >= 'a' && c <= 'f') {
    return c - 'a' + 10;
  }
  return -1;
}

} // namespace

std::string Quote(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    switch (c) {
    case '"':
      quoted += "\\\"";
      break;
    case '\\':
      quoted += "\\\\";
      break;
    case '\n':
      quoted += "\\n";
      break;
    case '\r':
      quoted += "\\r";
      break;
    case '\t':
      quoted += "\\t";
      break;
    default:
      if (byte < 0x20U || byte >= 0x7FU) {
        quoted += "\\x";
        quoted += HexDigits[byte >> 4];
        quoted += HexDigits[byte & 0x0FU];
      } else {
        quoted += c;
      }
    }
  }
  return quoted + "\"";
}

void FieldReader::Fail(const std::string& what) {
  if (m_failure.empty()) {
    m_failure = what + " at column " + std::to_string(m_position + 1);
  }
}

void FieldReader::SkipSeparator() {
  if (m_position < m_line.size()) {
    if (m_line[m_position] == ' ') {
      ++m_position;
    } else {
      Fail("a blank expected");
    }
  }
}

std::string FieldReader::Word() {
  if (!m_failure.empty()) {
    return std::string();
  }
  const std::size_t end = std::min(m_line.find(' ', m_position), m_line.size());
  std::string word = m_line.substr(m_position, end - m_position);
  m_position = end;
  SkipSeparator();
  return word;
}

std::uint32_t FieldReader::Number() {
  const std::string word = Word();
  if (!m_failure.empty()) {
    return 0;
  }
  if (word.empty() || word.size() > 10 ||
      word.find_first_not_of("0123456789") != std::string::npos ||
      std::strtoull(word.c_str(), nullptr, 10) > 0xFFFFFFFFULL) {
    Fail("'" + word + "' is not a number 0..4294967295");
    return 0;
  }
  return static_cast<std::uint32_t>(std::strtoull(word.c_str(), nullptr, 10));
}

int FieldReader::SignedNumber() {
  const std::string word = Word();
  if (!m_failure.empty()) {
    return 0;
  }
  const std::string digits = !word.empty() && word[0] == '-' ? word.substr(1) : word;
  const long long value = std::strtoll(word.c_str(), nullptr, 10);
  if (digits.empty() || digits.size() > 10 ||
      digits.find_first_not_of("0123456789") != std::string::npos || value < INT_MIN ||
      value > INT_MAX) {
    Fail("'" + word + "' is not an int");
    return 0;
  }
  return static_cast<int>(value);
}

std::string FieldReader::Quoted() {
  if (!m_failure.empty()) {
    return std::string();
  }
  if (m_position >= m_line.size() || m_line[m_position] != '"') {
    Fail("a quoted text expected");
    return std::string();
  }
  std::string text;
  for (std::size_t i = m_position + 1; i < m_line.size(); ++i) {
    const char c = m_line[i];
    if (c == '"') {
      m_position = i + 1;
      SkipSeparator();
      return text;
    }
    if (c != '\\') {
      text += c;
      continue;
    }
    if (++i >= m_line.size()) {
      break;
    }
    switch (m_line[i]) {
    case '"':
      text += '"';
      break;
    case '\\':
      text += '\\';
      break;
    case 'n':
      text += '\n';
      break;
    case 'r':
      text += '\r';
      break;
    case 't':
      text += '\t';
      break;
    case 'x': {
      const int high = i + 2 < m_line.size() ? HexValue(m_line[i + 1]) : -1;
      const int low = high >= 0 ? HexValue(m_line[i + 2]) : -1;
      if (low < 0) {
        m_position = i;
        Fail("a bad \\x escape");
        return std::string();
      }
      text += static_cast<char>(high * 16 + low);
      i += 2;
      break;
    }
    default:
      m_position = i;
      Fail("an unknown escape");
      return std::string();
    }
  }
  Fail("a quoted text without its closing quote");
  return std::string();
}

std::string FieldReader::Rest() {
  if (!m_failure.empty()) {
    return std::string();
  }
  std::string rest = m_line.substr(m_position);
  m_position = m_line.size();
  return rest;
}

} // namespace DeviceStackd
