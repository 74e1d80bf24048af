#pragma once
/// Text types of the platform: validated UTF-8 text and KNX-style text (one
/// byte per character, ISO 8859-1), and the conversions between them.

#include <boost/optional.hpp>

#include <string>
#include <utility> // std::move

namespace Avo {

/// Text that is known to be valid UTF-8.
class UTF8String {
public:
  /// The text wrapped when it is valid UTF-8, otherwise no value.
  static boost::optional<UTF8String> Create(std::string text);
  /// True when the text is valid UTF-8 (no overlong forms, no surrogates,
  /// nothing above U+10FFFF).
  static bool IsValid(const std::string& text);

  const std::string& Str() const { return m_text; }
  bool operator==(const UTF8String& other) const { return m_text == other.m_text; }

private:
  explicit UTF8String(std::string text) : m_text(std::move(text)) {}
  std::string m_text;
};

/// KNX-style text: one byte per character, ISO 8859-1 (Latin-1).
class KnxStyleString {
public:
  KnxStyleString() = default;
  explicit KnxStyleString(std::string latin1) : m_text(std::move(latin1)) {}
  const std::string& Str() const { return m_text; }
  bool operator==(const KnxStyleString& other) const { return m_text == other.m_text; }

private:
  std::string m_text;
};

/// Latin-1 form of a UTF-8 text; every character outside U+0000..U+00FF
/// becomes "?".
KnxStyleString getLatin1FromUTF8Lossy(const UTF8String& text);

/// UTF-8 form of a Latin-1 text (always valid UTF-8).
std::string getUTF8FromLatin1(const std::string& latin1);

} // namespace Avo
