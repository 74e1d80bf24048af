// The typed text form of a value record, written by Serialize and read by
// Deserialize. The grammar is in docs/value-text-form.md; every value reads
// back to a record that compares equal, in both the default and the internal
// form.

#include "VelValue.h"

#include "VelValueKinds.h"

#include <utf8cpp/utf8.h>

#include <charconv> // std::to_chars, std::from_chars
#include <limits>   // std::numeric_limits
#include <string_view>
#include <system_error> // std::errc

namespace VelValueInternal {
namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

void AppendDouble(std::string& out, double value) {
  // Shortest text that reads back to the very same double.
  char buffer[32];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  out.append(buffer, result.ptr);
}

void AppendEscapedByte(std::string& out, unsigned char byte) {
  out += "\\x";
  out += kHexDigits[byte >> 4];
  out += kHexDigits[byte & 0x0F];
}

// Printable ASCII and valid UTF-8 sequences stay as they are, so that text
// reads as text; every other byte is escaped, so any byte string survives.
void AppendValidRun(std::string& out, std::string_view run) {
  for (const char c : run) {
    const auto byte = static_cast<unsigned char>(c);
    switch (c) {
    case '"':
      out += "\\\"";
      break;
    case '\\':
      out += "\\\\";
      break;
    case '\n':
      out += "\\n";
      break;
    case '\r':
      out += "\\r";
      break;
    case '\t':
      out += "\\t";
      break;
    default:
      if (byte < 0x20 || byte == 0x7F) {
        AppendEscapedByte(out, byte);
      } else {
        out += c;
      }
    }
  }
}

void AppendQuoted(std::string& out, const std::string& text) {
  out += '"';
  auto position = text.begin();
  while (position != text.end()) {
    const auto invalid = utf8::find_invalid(position, text.end());
    AppendValidRun(out, std::string_view(&*position, static_cast<std::size_t>(invalid - position)));
    if (invalid == text.end()) {
      break;
    }
    AppendEscapedByte(out, static_cast<unsigned char>(*invalid));
    position = invalid + 1;
  }
  out += '"';
}

void AppendHex(std::string& out, const std::string& bytes) {
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    out += kHexDigits[byte >> 4];
    out += kHexDigits[byte & 0x0F];
  }
}

void AppendPadded(std::string& out, unsigned int number, std::size_t width) {
  char buffer[16];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, number);
  const auto length = static_cast<std::size_t>(result.ptr - buffer);
  if (length < width) {
    out.append(width - length, '0');
  }
  out.append(buffer, result.ptr);
}

// "2024-05-06T10:20:30.00;weekday=1;timeOfDayOnly=0;local;valid"
void AppendTime(std::string& out, const VELTIME& time) {
  AppendPadded(out, time.year, 4);
  out += '-';
  AppendPadded(out, time.month, 2);
  out += '-';
  AppendPadded(out, time.day, 2);
  out += 'T';
  AppendPadded(out, time.hour, 2);
  out += ':';
  AppendPadded(out, time.minute, 2);
  out += ':';
  AppendPadded(out, time.second, 2);
  out += '.';
  AppendPadded(out, time.hundredths, 2);
  out += ";weekday=";
  AppendDecimal(out, time.weekday);
  out += ";timeOfDayOnly=";
  AppendDecimal(out, time.timeOfDayOnly);
  out += time.isLocalTime ? ";local" : ";utc";
  out += time.isValid ? ";valid" : ";invalid";
}

/// Reads the text form from left to right; every Read/Skip consumes its
/// piece only on success, and nothing reads past the end.
class TextReader {
public:
  explicit TextReader(std::string_view text)
      : m_position(text.data()), m_end(text.data() + text.size()) {}

  bool AtEnd() const { return m_position == m_end; }

  bool Skip(std::string_view expected) {
    if (static_cast<std::size_t>(m_end - m_position) < expected.size() ||
        std::string_view(m_position, expected.size()) != expected) {
      return false;
    }
    m_position += expected.size();
    return true;
  }

  /// Decimal digits (a leading minus only for signed types) in T's range.
  template <class T>
  bool ReadInteger(T& value) {
    const auto result = std::from_chars(m_position, m_end, value);
    if (result.ec != std::errc()) {
      return false;
    }
    m_position = result.ptr;
    return true;
  }

  bool ReadDouble(double& value) {
    const auto result = std::from_chars(m_position, m_end, value);
    if (result.ec != std::errc()) {
      return false;
    }
    m_position = result.ptr;
    return true;
  }

  bool ReadQuoted(std::string& text) {
    if (!Skip("\"")) {
      return false;
    }
    while (m_position != m_end) {
      const auto byte = static_cast<unsigned char>(*m_position++);
      if (byte == '"') {
        return true;
      }
      if (byte < 0x20 || byte == 0x7F) {
        return false;
      }
      if (byte != '\\') {
        text += static_cast<char>(byte);
      } else if (!ReadEscape(text)) {
        return false;
      }
    }
    return false; // no closing quote
  }

  /// Pairs of hex digits up to the end of the text.
  bool ReadHexToEnd(std::string& bytes) {
    if ((m_end - m_position) % 2 != 0) {
      return false;
    }
    while (m_position != m_end) {
      int high = 0;
      int low = 0;
      if (!HexValue(m_position[0], high) || !HexValue(m_position[1], low)) {
        return false;
      }
      bytes += static_cast<char>(high << 4 | low);
      m_position += 2;
    }
    return true;
  }

private:
  static bool HexValue(char c, int& value) {
    if (c >= '0' && c <= '9') {
      value = c - '0';
    } else if (c >= 'A' && c <= 'F') {
      value = c - 'A' + 10;
    } else if (c >= 'a' && c <= 'f') {
      value = c - 'a' + 10;
    } else {
      return false;
    }
    return true;
  }

  bool ReadEscape(std::string& text) {
    if (m_position == m_end) {
      return false;
    }
    switch (*m_position++) {
    case '"':
      text += '"';
      return true;
    case '\\':
      text += '\\';
      return true;
    case 'n':
      text += '\n';
      return true;
    case 'r':
      text += '\r';
      return true;
    case 't':
      text += '\t';
      return true;
    case 'x': {
      int high = 0;
      int low = 0;
      if (m_end - m_position < 2 || !HexValue(m_position[0], high) ||
          !HexValue(m_position[1], low)) {
        return false;
      }
      text += static_cast<char>(high << 4 | low);
      m_position += 2;
      return true;
    }
    default:
      return false;
    }
  }

  const char* m_position;
  const char* m_end;
};

bool ReadFlag(TextReader& reader, std::string_view whenTrue, std::string_view whenFalse,
              bool& flag) {
  if (reader.Skip(whenTrue)) {
    flag = true;
    return true;
  }
  if (reader.Skip(whenFalse)) {
    flag = false;
    return true;
  }
  return false;
}

bool ReadTime(TextReader& reader, VELTIME& time) {
  return reader.ReadInteger(time.year) && reader.Skip("-") && reader.ReadInteger(time.month) &&
         reader.Skip("-") && reader.ReadInteger(time.day) && reader.Skip("T") &&
         reader.ReadInteger(time.hour) && reader.Skip(":") && reader.ReadInteger(time.minute) &&
         reader.Skip(":") && reader.ReadInteger(time.second) && reader.Skip(".") &&
         reader.ReadInteger(time.hundredths) && reader.Skip(";weekday=") &&
         reader.ReadInteger(time.weekday) && reader.Skip(";timeOfDayOnly=") &&
         reader.ReadInteger(time.timeOfDayOnly) &&
         ReadFlag(reader, ";local", ";utc", time.isLocalTime) &&
         ReadFlag(reader, ";valid", ";invalid", time.isValid);
}

// The body runs to the end of the text; the reader must be left at the end.
bool ReadBody(TextReader& reader, VELVALUE& value, ValueKind kind) {
  bool read = false;
  switch (kind) {
  case ValueKind::NoValue:
    read = true;
    break;
  case ValueKind::Bool:
  case ValueKind::Byte:
    read = reader.ReadInteger(value.byVal);
    break;
  case ValueKind::Word:
    read = reader.ReadInteger(value.wVal);
    break;
  case ValueKind::DWord:
    read = reader.ReadInteger(value.dwVal);
    break;
  case ValueKind::Long:
  case ValueKind::Short:
    read = reader.ReadInteger(value.lVal);
    break;
  case ValueKind::Double:
    read = reader.ReadDouble(value.dblVal);
    break;
  case ValueKind::Time:
    read = ReadTime(reader, value.tmVal);
    break;
  case ValueKind::Text:
    read = reader.ReadQuoted(value.strVal);
    break;
  case ValueKind::Bytes:
  case ValueKind::Block40:
    read = reader.ReadHexToEnd(value.strVal);
    break;
  }
  return read && reader.AtEnd();
}

// tag [ "." status ] ":" body
bool ReadValue(std::string_view text, VELVALUE& value) {
  TextReader reader(text);
  std::int32_t tag = 0;
  if (!reader.ReadInteger(tag)) {
    return false;
  }
  const ValueTypeInfo* info = FindValueType(static_cast<VelValueType>(tag));
  if (info == nullptr) {
    return false;
  }
  value = VELVALUE(info->type);
  if (reader.Skip(".") && !reader.ReadInteger(value.status)) {
    return false;
  }
  return reader.Skip(":") && ReadBody(reader, value, info->kind);
}

} // namespace

void AppendDecimal(std::string& out, std::int64_t number) {
  char buffer[24];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, number);
  out.append(buffer, result.ptr);
}

void AppendValueBody(std::string& out, const VELVALUE& value, ValueKind kind) {
  switch (kind) {
  case ValueKind::NoValue:
    break;
  case ValueKind::Bool:
  case ValueKind::Byte:
    AppendDecimal(out, value.byVal);
    break;
  case ValueKind::Word:
    AppendDecimal(out, value.wVal);
    break;
  case ValueKind::DWord:
    AppendDecimal(out, value.dwVal);
    break;
  case ValueKind::Long:
  case ValueKind::Short:
    AppendDecimal(out, value.lVal);
    break;
  case ValueKind::Double:
    AppendDouble(out, value.dblVal);
    break;
  case ValueKind::Time:
    AppendTime(out, value.tmVal);
    break;
  case ValueKind::Text:
    AppendQuoted(out, value.strVal);
    break;
  case ValueKind::Bytes:
  case ValueKind::Block40:
    AppendHex(out, value.strVal);
    break;
  }
}

} // namespace VelValueInternal

using VelValueInternal::AppendDecimal;

void VELVALUE::Serialize(std::string& out, bool internalFormat) const {
  out.clear();
  AppendDecimal(out, static_cast<std::int32_t>(ivt));
  if (internalFormat || status != VelValueInternal::InitialStatus(ivt)) {
    out += '.';
    AppendDecimal(out, status);
  }
  out += ':';
  // A tag outside VelValueType has no body; such a text does not read back.
  if (const auto* info = VelValueInternal::FindValueType(ivt)) {
    VelValueInternal::AppendValueBody(out, *this, info->kind);
  }
}

bool VELVALUE::Deserialize(const std::string& in) {
  // The device stack's own text for a float without a value.
  if (in == "nan") {
    *this = VELVALUE(ivtFloat);
    dblVal = std::numeric_limits<double>::quiet_NaN();
    return true;
  }
  VELVALUE value;
  if (!VelValueInternal::ReadValue(in, value)) {
    *this = VELVALUE();
    return false;
  }
  *this = std::move(value);
  return true;
}
