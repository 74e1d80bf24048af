#include "Avo/Text.h"
#include "AvoApp/TimeOfDay.h"

#include <gtest/gtest.h>

#include <numeric> // std::iota
#include <string>
#include <tuple>

namespace {

using Avo::UTF8String;

// Validation itself is the UTF-8 library's: a text it refuses gives no
// string. Each character beyond Latin-1 becomes one question mark; every
// Latin-1 byte becomes valid UTF-8 and comes back.
TEST(Text, Utf8StringsAreValidOnlyAndConvertToAndFromLatin1) {
  for (const char* invalid : {"ab\xC3", "a\x80z", "\xC0\xAF", "caf\xE9"}) {
    EXPECT_FALSE(UTF8String::IsValid(invalid) || UTF8String::Create(invalid)) << invalid;
  }
  const struct {
    std::string utf8, latin1;
  } cases[] = {{"Gr\xC3\xBC\xC3\x9F!", "Gr\xFC\xDF!"},
               {"\xC3\xBF\xC4\x80", "\xFF?"}, // U+00FF is the last Latin-1 character
               {"5 \xE2\x82\xAC", "5 ?"},
               {"a\xF0\x9F\x98\x80z\xF4\x8F\xBF\xBF", "a?z?"}, // U+10FFFF is the last one
               {std::string("x\0y", 3), std::string("x\0y", 3)},
               {"", ""}};
  for (const auto& c : cases) {
    const auto utf8 = UTF8String::Create(c.utf8);
    ASSERT_TRUE(utf8 && utf8->Str() == c.utf8) << c.utf8;
    EXPECT_EQ(Avo::getLatin1FromUTF8Lossy(*utf8).Str(), c.latin1) << c.utf8;
  }
  std::string latin1(256, '\0');
  std::iota(latin1.begin(), latin1.end(), '\0'); // every byte from 0 to 255
  const auto utf8 = UTF8String::Create(Avo::getUTF8FromLatin1(latin1));
  ASSERT_TRUE(utf8);
  EXPECT_EQ(utf8->Str().substr(0xE9 + (0xE9 - 0x80), 2), "\xC3\xA9");
  EXPECT_EQ(Avo::getLatin1FromUTF8Lossy(*utf8).Str(), latin1);
}

TEST(TimeOfDay, CreateAcceptsOnlyFieldsWithinTheirRanges) {
  const std::tuple<int, int, int, int, bool> cases[] = {
      {0, 0, 0, 0, true},   {23, 59, 59, 7, true}, {24, 0, 0, 0, false}, {-1, 0, 0, 0, false},
      {0, 60, 0, 0, false}, {0, 0, 60, 0, false},  {0, 0, 0, 8, false}};
  for (const auto& [hour, minute, second, day, valid] : cases) {
    EXPECT_EQ(AvoApp::TimeOfDay::Create(hour, minute, second, day).has_value(), valid)
        << hour << ":" << minute << ":" << second << " day " << day;
  }
}

} // namespace
