#include "Avo/Text.h"

#include <utf8.h>

#include <cstdint>
#include <iterator> // std::back_inserter
#include <string>
#include <utility> // std::move

namespace Avo {

boost::optional<UTF8String> UTF8String::Create(std::string text) {
  if (!IsValid(text)) {
    return boost::none;
  }
  return UTF8String(std::move(text));
}

bool UTF8String::IsValid(const std::string& text) {
  return utf8::is_valid(text.begin(), text.end());
}

KnxStyleString getLatin1FromUTF8Lossy(const UTF8String& text) {
  const std::string& utf8 = text.Str();
  std::string latin1;
  latin1.reserve(utf8.size());
  auto it = utf8.begin();
  while (it != utf8.end()) {
    // The text is known to be valid, so sequences need no checking here.
    const std::uint32_t codePoint = utf8::unchecked::next(it);
    latin1 += codePoint <= 0xFF ? static_cast<char>(codePoint) : '?';
  }
  return KnxStyleString(std::move(latin1));
}

std::string getUTF8FromLatin1(const std::string& latin1) {
  std::string utf8;
  utf8.reserve(latin1.size());
  auto out = std::back_inserter(utf8);
  for (const char c : latin1) {
    utf8::unchecked::append(static_cast<unsigned char>(c), out);
  }
  return utf8;
}

} // namespace Avo
