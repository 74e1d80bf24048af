#pragma once
/// @file
/// Text types of the platform: validated UTF-8 text and KNX-style text (one
/// byte per character, ISO 8859-1), and the conversions between them.

#include "Avo/PlatformExport.h"

#include <boost/optional.hpp>

#include <string>
#include <utility> // std::move

namespace Avo {

/// Text that is known to be valid UTF-8.
class AVO_PLATFORM_EXPORT UTF8String {
public:
  /// The text wrapped when it is valid UTF-8, otherwise no value.
  static boost::optional<UTF8String> Create(std::string text);
  /// True when the text is valid UTF-8 (no overlong forms, no surrogates,
  /// nothing above U+10FFFF).
  static bool IsValid(const std::string& text);

  /// The text.
  const std::string& Str() const { return m_text; }
  /// Byte for byte.
  bool operator==(const UTF8String& other) const { return m_text == other.m_text; }

private:
  explicit UTF8String(std::string text) : m_text(std::move(text)) {}
  std::string m_text;
};

/// KNX-style text: one byte per character, ISO 8859-1 (Latin-1).
class AVO_PLATFORM_EXPORT KnxStyleString {
public:
  /// The empty text.
  KnxStyleString() = default;
  /// Wraps Latin-1 bytes as they are; nothing is checked.
  explicit KnxStyleString(std::string latin1) : m_text(std::move(latin1)) {}
  /// The Latin-1 bytes.
  const std::string& Str() const { return m_text; }
  /// Byte for byte.
  bool operator==(const KnxStyleString& other) const { return m_text == other.m_text; }

private:
  std::string m_text;
};

/// Latin-1 form of a UTF-8 text; every character outside U+0000..U+00FF
/// becomes "?".
AVO_PLATFORM_EXPORT KnxStyleString getLatin1FromUTF8Lossy(const UTF8String& text);

/// UTF-8 form of a Latin-1 text (always valid UTF-8).
AVO_PLATFORM_EXPORT std::string getUTF8FromLatin1(const std::string& latin1);

} // namespace Avo
