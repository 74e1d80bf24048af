#include "Avo/Text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Avo::UTF8String;

TEST(Text, Utf8ValidationRefusesMalformedSequences) {
  const struct {
    std::string text;
    bool valid;
  } cases[] = {
      {"", true},       {std::string("a\0b", 3), true}, {"\xE2\x82\xAC", true},
      {"\xF4\x8F\xBF\xBF", true},                       // U+10FFFF
      {"ab\xC3", false},                                // cut off at the end
      {"a\x80z", false},                                // lone continuation byte
      {"\xC0\xAF", false},    {"\xE0\x80\xAF", false},  // overlong
      {"\xED\xA0\x80", false},                          // surrogate
      {"\xF4\x90\x80\x80", false},                      // above U+10FFFF
      {"caf\xE9", false},                               // Latin-1
  };
  for (const auto& c : cases) {
    EXPECT_EQ(UTF8String::IsValid(c.text), c.valid) << c.text;
    const auto created = UTF8String::Create(c.text);
    EXPECT_EQ(created ? created->Str() : "<none>", c.valid ? c.text : "<none>");
  }
}

TEST(Text, Latin1FromUtf8ReplacesEachNonLatin1CharacterByOneQuestionMark) {
  const struct {
    std::string utf8;
    std::string latin1;
  } cases[] = {
      {"Gr\xC3\xBC\xC3\x9F" "e", "Gr\xFC\xDF" "e"},
      {"\xC3\xBF\xC4\x80", "\xFF?"},            // U+00FF is the last Latin-1 character
      {"5 \xE2\x82\xAC", "5 ?"},                // euro sign
      {"a\xF0\x9F\x98\x80z", "a?z"},            // four-byte character
      {std::string("x\0y", 3), std::string("x\0y", 3)},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Avo::getLatin1FromUTF8Lossy(*UTF8String::Create(c.utf8)).Str(), c.latin1) << c.utf8;
  }
}

TEST(Text, EveryLatin1ByteBecomesValidUtf8AndComesBack) {
  std::string latin1;
  for (int byte = 0; byte < 256; ++byte) {
    latin1 += static_cast<char>(byte);
  }
  const auto utf8 = UTF8String::Create(Avo::getUTF8FromLatin1(latin1));
  ASSERT_TRUE(utf8);
  EXPECT_EQ(utf8->Str().substr(0xE9 + (0xE9 - 0x80), 2), "\xC3\xA9");
  EXPECT_EQ(Avo::getLatin1FromUTF8Lossy(*utf8).Str(), latin1);
}

} // namespace
