#include "Json.h"

#include "Arguments.h" // UsageError

#include "Avo/Text.h"                          // Avo::UTF8String
#include "AvoObjectModel/GroupValueVelValue.h" // Avo::RepairUTF8

#include <cstdio> // std::snprintf

namespace AvoKnx {
namespace {

void AppendEscaped(std::string& out, unsigned char character) {
  switch (character) {
  case '"':
    out += "\\\"";
    return;
  case '\\':
    out += "\\\\";
    return;
  case '\n':
    out += "\\n";
    return;
  case '\r':
    out += "\\r";
    return;
  case '\t':
    out += "\\t";
    return;
  case '\b':
    out += "\\b";
    return;
  case '\f':
    out += "\\f";
    return;
  default:
    break;
  }
  if (character < 0x20 || character == 0x7F) {
    char escape[8];
    static_cast<void>(
        std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(character)));
    out += escape;
  } else {
    out += static_cast<char>(character);
  }
}

void AppendUtf8(std::string& out, std::uint32_t codePoint) {
  if (codePoint < 0x80) {
    out += static_cast<char>(codePoint);
  } else if (codePoint < 0x800) {
    out += static_cast<char>(0xC0 | (codePoint >> 6));
    out += static_cast<char>(0x80 | (codePoint & 0x3F));
  } else if (codePoint < 0x10000) {
    out += static_cast<char>(0xE0 | (codePoint >> 12));
    out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (codePoint & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (codePoint >> 18));
    out += static_cast<char>(0x80 | ((codePoint >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (codePoint & 0x3F));
  }
}

class JsonStringReader {
public:
  explicit JsonStringReader(const std::string& literal) : m_literal(literal) {}

  std::string Read() {
    if (m_literal.size() < 2 || m_literal.front() != '"') {
      Fail("a JSON string must start with '\"'");
    }
    std::string text;
    m_position = 1;
    while (true) {
      if (m_position >= m_literal.size()) {
        Fail("the closing '\"' is missing");
      }
      const auto character = static_cast<unsigned char>(m_literal[m_position++]);
      if (character == '"') {
        break;
      }
      if (character < 0x20) {
        Fail("control characters must be escaped");
      }
      if (character == '\\') {
        ReadEscape(text);
      } else {
        text += static_cast<char>(character);
      }
    }
    if (m_position != m_literal.size()) {
      Fail("text follows the closing '\"'");
    }
    if (!Avo::UTF8String::IsValid(text)) {
      Fail("the text is not valid UTF-8");
    }
    return text;
  }

private:
  [[noreturn]] void Fail(const std::string& why) const {
    throw UsageError("malformed string '" + m_literal + "': " + why);
  }

  void ReadEscape(std::string& text) {
    if (m_position >= m_literal.size()) {
      Fail("the closing '\"' is missing");
    }
    const char kind = m_literal[m_position++];
    switch (kind) {
    case '"':
      text += '"';
      return;
    case '\\':
      text += '\\';
      return;
    case '/':
      text += '/';
      return;
    case 'b':
      text += '\b';
      return;
    case 'f':
      text += '\f';
      return;
    case 'n':
      text += '\n';
      return;
    case 'r':
      text += '\r';
      return;
    case 't':
      text += '\t';
      return;
    case 'u':
      AppendUtf8(text, ReadCodePoint());
      return;
    default:
      Fail(std::string("unknown escape '\\") + kind + "'");
    }
  }

  std::uint32_t ReadHex4() {
    if (m_position + 4 > m_literal.size()) {
      Fail("\\u needs four hex digits");
    }
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) {
      const char digit = m_literal[m_position++];
      value <<= 4;
      if (digit >= '0' && digit <= '9') {
        value |= static_cast<std::uint32_t>(digit - '0');
      } else if (digit >= 'a' && digit <= 'f') {
        value |= static_cast<std::uint32_t>(digit - 'a' + 10);
      } else if (digit >= 'A' && digit <= 'F') {
        value |= static_cast<std::uint32_t>(digit - 'A' + 10);
      } else {
        Fail("\\u needs four hex digits");
      }
    }
    return value;
  }

  // A \u escape, combining a surrogate pair into one code point.
  std::uint32_t ReadCodePoint() {
    const std::uint32_t first = ReadHex4();
    if (first >= 0xDC00 && first <= 0xDFFF) {
      Fail("a low surrogate without a high one");
    }
    if (first < 0xD800 || first > 0xDBFF) {
      return first;
    }
    if (m_literal.compare(m_position, 2, "\\u") != 0) {
      Fail("a high surrogate without a low one");
    }
    m_position += 2;
    const std::uint32_t second = ReadHex4();
    if (second < 0xDC00 || second > 0xDFFF) {
      Fail("a high surrogate without a low one");
    }
    return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
  }

  const std::string& m_literal;
  std::size_t m_position = 0;
};

} // namespace

std::string FormatJsonString(const std::string& text) {
  std::string repaired;
  if (!Avo::UTF8String::IsValid(text)) {
    repaired = Avo::RepairUTF8(text).Str();
  }
  const std::string& valid = repaired.empty() ? text : repaired;
  std::string literal;
  literal.reserve(valid.size() + 2);
  literal += '"';
  for (const char character : valid) {
    AppendEscaped(literal, static_cast<unsigned char>(character));
  }
  literal += '"';
  return literal;
}

std::string ParseJsonString(const std::string& literal) { return JsonStringReader(literal).Read(); }

void JsonObject::Name(const char* name) {
  if (m_text.size() > 1) {
    m_text += ',';
  }
  m_text += '"';
  m_text += name;
  m_text += "\":";
}

JsonObject& JsonObject::String(const char* name, const std::string& value) {
  Name(name);
  m_text += FormatJsonString(value);
  return *this;
}

JsonObject& JsonObject::Number(const char* name, std::int64_t value) {
  Name(name);
  m_text += std::to_string(value);
  return *this;
}

JsonObject& JsonObject::Bool(const char* name, bool value) {
  Name(name);
  m_text += value ? "true" : "false";
  return *this;
}

JsonObject& JsonObject::Null(const char* name) {
  Name(name);
  m_text += "null";
  return *this;
}

JsonObject& JsonObject::Raw(const char* name, const std::string& value) {
  Name(name);
  m_text += value;
  return *this;
}

} // namespace AvoKnx
