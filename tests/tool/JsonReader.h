#pragma once
// A small reader of the one-line JSON objects that avo-knx writes: enough to
// check them (objects, arrays, strings with escapes, numbers, literals), with
// each value's own text kept.

#include <cstddef>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace ToolTest {

struct JsonValue {
  enum Kind { Null, Bool, Number, String, Array, Object } kind = Null;
  std::string text;   ///< the value as written (a number's digits, a literal)
  std::string string; ///< a string's content, escapes resolved
  std::vector<JsonValue> items;
  std::map<std::string, JsonValue> members;

  const JsonValue& operator[](const std::string& name) const {
    const auto member = members.find(name);
    if (member == members.end()) {
      throw std::runtime_error("no member \"" + name + "\"");
    }
    return member->second;
  }
  bool Has(const std::string& name) const { return members.count(name) != 0; }
};

class JsonReader {
public:
  /// The one value that the text holds; throws std::runtime_error otherwise.
  static JsonValue Read(const std::string& text) {
    JsonReader reader(text);
    JsonValue value = reader.Value();
    reader.Blanks();
    if (reader.m_position != text.size()) {
      reader.Fail("text after the value");
    }
    return value;
  }

private:
  explicit JsonReader(const std::string& text) : m_text(text) {}

  [[noreturn]] void Fail(const std::string& why) const {
    throw std::runtime_error(why + " at offset " + std::to_string(m_position) + " of " + m_text);
  }
  void Blanks() {
    while (m_position < m_text.size() &&
           std::string(" \t\r\n").find(m_text[m_position]) != std::string::npos) {
      ++m_position;
    }
  }
  char Peek() {
    Blanks();
    return m_position < m_text.size() ? m_text[m_position] : '\0';
  }
  void Expect(char character) {
    if (Peek() != character) {
      Fail(std::string("expected '") + character + "'");
    }
    ++m_position;
  }

  JsonValue Value() {
    const char first = Peek();
    if (first == '{') {
      return ObjectValue();
    }
    if (first == '[') {
      return ArrayValue();
    }
    JsonValue value;
    if (first == '"') {
      value.kind = JsonValue::String;
      const std::size_t start = m_position;
      value.string = StringContent();
      value.text = m_text.substr(start, m_position - start);
      return value;
    }
    const std::size_t start = m_position;
    while (m_position < m_text.size() &&
           std::string(",]} \t").find(m_text[m_position]) == std::string::npos) {
      ++m_position;
    }
    value.text = m_text.substr(start, m_position - start);
    if (value.text == "null") {
      value.kind = JsonValue::Null;
    } else if (value.text == "true" || value.text == "false") {
      value.kind = JsonValue::Bool;
    } else if (!value.text.empty() &&
               value.text.find_first_not_of("-+.eE0123456789") == std::string::npos) {
      value.kind = JsonValue::Number;
    } else {
      Fail("not a JSON value: " + value.text);
    }
    return value;
  }

  JsonValue ObjectValue() {
    JsonValue object;
    object.kind = JsonValue::Object;
    Expect('{');
    if (Peek() == '}') {
      ++m_position;
      return object;
    }
    do {
      if (Peek() != '"') {
        Fail("expected a member name");
      }
      const std::string name = StringContent();
      Expect(':');
      object.members[name] = Value();
    } while (Peek() == ',' && ++m_position);
    Expect('}');
    return object;
  }

  JsonValue ArrayValue() {
    JsonValue array;
    array.kind = JsonValue::Array;
    Expect('[');
    if (Peek() == ']') {
      ++m_position;
      return array;
    }
    do {
      array.items.push_back(Value());
    } while (Peek() == ',' && ++m_position);
    Expect(']');
    return array;
  }

  // The content of the string at the position; \u escapes of the BMP only
  // (avo-knx writes \u for control characters alone).
  std::string StringContent() {
    Expect('"');
    std::string content;
    while (m_position < m_text.size() && m_text[m_position] != '"') {
      char character = m_text[m_position++];
      if (static_cast<unsigned char>(character) < 0x20) {
        Fail("raw control character in a string");
      }
      if (character == '\\') {
        if (m_position >= m_text.size()) {
          Fail("unfinished escape");
        }
        const char kind = m_text[m_position++];
        const std::string simple = "\"\\/bfnrt", meaning = "\"\\/\b\f\n\r\t";
        if (kind == 'u') {
          const unsigned long code = std::stoul(m_text.substr(m_position, 4), nullptr, 16);
          m_position += 4;
          if (code >= 0x80) {
            Fail("\\u escape beyond ASCII");
          }
          character = static_cast<char>(code);
        } else if (simple.find(kind) != std::string::npos) {
          character = meaning[simple.find(kind)];
        } else {
          Fail("unknown escape");
        }
      }
      content += character;
    }
    Expect('"');
    return content;
  }

  const std::string& m_text;
  std::size_t m_position = 0;
};

} // namespace ToolTest
