#include "Avo/Text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Avo::KnxStyleString;
using Avo::UTF8String;

TEST(Text, Utf8ValidationRefusesMalformedSequences) {
  const struct {
    const char* name;
    std::string text;
    bool valid;
  } cases[] = {
      {"empty", "", true},
      {"ASCII with NUL", std::string("a\0b", 3), true},
      {"two bytes", "\xC3\xA9", true},
      {"three bytes", "\xE2\x82\xAC", true},
      {"four bytes", "\xF0\x9F\x98\x80", true},
      {"largest code point", "\xF4\x8F\xBF\xBF", true},
      {"cut off at the end", "ab\xC3", false},
      {"lone continuation byte", "a\x80z", false},
      {"overlong slash", "\xC0\xAF", false},
      {"overlong three bytes", "\xE0\x80\xAF", false},
      {"surrogate", "\xED\xA0\x80", false},
      {"above U+10FFFF", "\xF4\x90\x80\x80", false},
      {"byte FF", "\xFF", false},
      {"Latin-1 e acute", "caf\xE9", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(UTF8String::IsValid(c.text), c.valid) << c.name;
    const auto created = UTF8String::Create(c.text);
    ASSERT_EQ(created.has_value(), c.valid) << c.name;
    if (created) {
      EXPECT_EQ(created->Str(), c.text) << c.name;
    }
  }
}

TEST(Text, Latin1FromUtf8ReplacesEachNonLatin1CharacterByOneQuestionMark) {
  const struct {
    std::string utf8;
    std::string latin1;
  } cases[] = {
      {"", ""},
      {"Gr\xC3\xBC\xC3\x9F" "e", "Gr\xFC\xDF" "e"},
      {"\xC3\xBF", "\xFF"},                      // U+00FF, the last Latin-1 character
      {"\xC4\x80", "?"},                         // U+0100, the first beyond
      {"5 \xE2\x82\xAC", "5 ?"},                 // euro sign
      {"a\xF0\x9F\x98\x80z", "a?z"},             // four-byte character
      {std::string("x\0y", 3), std::string("x\0y", 3)},
  };
  for (const auto& c : cases) {
    const auto text = UTF8String::Create(c.utf8);
    ASSERT_TRUE(text) << c.utf8;
    EXPECT_EQ(Avo::getLatin1FromUTF8Lossy(*text), KnxStyleString(c.latin1)) << c.utf8;
  }
}

TEST(Text, EveryLatin1ByteBecomesValidUtf8AndComesBack) {
  std::string latin1;
  for (int byte = 0; byte < 256; ++byte) {
    latin1 += static_cast<char>(byte);
  }
  const auto utf8 = UTF8String::Create(Avo::getUTF8FromLatin1(latin1));
  ASSERT_TRUE(utf8);
  EXPECT_EQ(utf8->Str().size(), 128u + 2 * 128u);
  EXPECT_EQ(Avo::getLatin1FromUTF8Lossy(*utf8).Str(), latin1);
  EXPECT_EQ(Avo::getUTF8FromLatin1("caf\xE9"), "caf\xC3\xA9");
}

} // namespace
