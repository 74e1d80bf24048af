#pragma once
// JSON text: strings in and out, and one-line objects for --json output.

#include <cstdint>
#include <string>

namespace AvoKnx {

/// A JSON string literal of UTF-8 text: quotes, backslashes and control
/// characters escaped, other characters as they are. Invalid UTF-8 is first
/// repaired (each invalid sequence becomes "?"), so the output is always
/// valid UTF-8.
std::string FormatJsonString(const std::string& text);

/// Reads a JSON string literal ("...", with the JSON escapes) into UTF-8
/// text. Throws UsageError for anything else (missing quotes, raw control
/// characters, bad escapes, lone surrogates, invalid UTF-8, trailing text).
std::string ParseJsonString(const std::string& literal);

/// Builds one JSON object on one line: {"name":value,...}.
class JsonObject {
public:
  JsonObject& String(const char* name, const std::string& value);
  JsonObject& Number(const char* name, std::int64_t value);
  JsonObject& Bool(const char* name, bool value);
  JsonObject& Null(const char* name);
  /// value must already be JSON text (a literal, an array or an object).
  JsonObject& Raw(const char* name, const std::string& value);

  /// The object's text.
  std::string Text() const { return m_text + "}"; }

private:
  void Name(const char* name);
  std::string m_text = "{";
};

} // namespace AvoKnx
