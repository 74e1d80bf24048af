#include "VelValue.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

namespace {

using Limits = std::numeric_limits<double>;

const VelValueType kEveryType[] = {
    ivtNone,      ivtEmpty,     ivtBool,      ivtFloat,       ivtInteger,   ivtShort,
    ivtByte,      ivtWord,      ivtDWord,     ivtData40,      ivtString,    ivtDate,
    ivtTime,      ivtDateTime,  ivtTimeLag,   ivtDayTime,     ivtQWord,     ivtTimestamp,
    ivtTimeSpan,  ivtDayDate,   ivtUtcDateTime, ivtByteArray, ivtEnumByte,  ivtPercent,
    ivtStepBytes, ivtAngle};

VELVALUE Number(VelValueType type, double value) {
  VELVALUE v(type);
  v.dblVal = value;
  return v;
}
VELVALUE Signed(VelValueType type, std::int32_t value) {
  VELVALUE v(type);
  v.lVal = value;
  return v;
}
VELVALUE Unsigned(VelValueType type, std::uint32_t value) {
  VELVALUE v(type);
  switch (type) {
  case ivtWord:
    v.wVal = static_cast<std::uint16_t>(value);
    break;
  case ivtDWord:
  case ivtQWord:
    v.dwVal = value;
    break;
  default:
    v.byVal = static_cast<std::uint8_t>(value);
  }
  return v;
}
VELVALUE Text(VelValueType type, std::string text) {
  VELVALUE v(type);
  v.strVal = std::move(text);
  return v;
}
VELVALUE WithStatus(VELVALUE v, std::uint8_t status) {
  v.status = status;
  return v;
}
VELVALUE Time(VelValueType type, const VELTIME& time) {
  VELVALUE v(type);
  v.tmVal = time;
  return v;
}

VELTIME OddTime() {
  VELTIME t{};
  t.year = 65535;
  t.month = 255;
  t.day = 0;
  t.hour = 99;
  t.minute = 7;
  t.second = 255;
  t.hundredths = 99;
  t.weekday = 0x7F;
  t.timeOfDayOnly = 65535;
  t.isLocalTime = false;
  t.isValid = true;
  return t;
}

VELTIME Monday() {
  VELTIME t{};
  t.SetDateTime(2024, 5, 6, 10, 20, 30, true);
  return t;
}

std::vector<VELVALUE> NastyValues() {
  std::vector<VELVALUE> values;
  for (const VelValueType type : kEveryType) {
    values.emplace_back(type); // every type's zero record
  }
  for (const double d : {21.5, -0.0, 0.1, 1e-300, Limits::denorm_min(), Limits::max(),
                         Limits::lowest(), Limits::infinity(), -Limits::infinity(),
                         Limits::quiet_NaN(), -Limits::quiet_NaN()}) {
    values.push_back(Number(ivtFloat, d));
  }
  values.push_back(Number(ivtPercent, 100.0));
  values.push_back(Number(ivtAngle, 359.99));
  for (const std::int32_t i : {std::numeric_limits<std::int32_t>::min(), -1, 2147483647}) {
    values.push_back(Signed(ivtInteger, i));
    values.push_back(Signed(ivtTimeLag, i));
    values.push_back(Signed(ivtShort, i)); // outside 16 bits, kept all the same
  }
  values.push_back(Unsigned(ivtBool, 1));
  values.push_back(Unsigned(ivtBool, 255));
  values.push_back(Unsigned(ivtByte, 255));
  values.push_back(Unsigned(ivtEnumByte, 7));
  values.push_back(Unsigned(ivtWord, 65535));
  values.push_back(Unsigned(ivtDWord, 4294967295u));
  values.push_back(Unsigned(ivtQWord, 4294967295u));
  std::string everyByte;
  for (int b = 0; b < 256; ++b) {
    everyByte += static_cast<char>(b);
  }
  for (const std::string& s :
       {std::string(), std::string("\"quoted\" \\ back\\"), std::string("line\nfeed\ttab\rend"),
        std::string("K\xC3\xBC" "che \xE2\x82\xAC \xF0\x9F\x98\x80"), std::string("\0\x01\x7F", 3),
        std::string("\xC3"), std::string("\xFF\xFE"), std::string("\xC0\xAF"),
        std::string("ab\xE2\x82"), std::string("\xED\xA0\x80"), std::string("\\x41"), everyByte}) {
    values.push_back(Text(ivtString, s));
    values.push_back(Text(ivtByteArray, s));
  }
  values.push_back(Text(ivtData40, std::string("\0\xFF\x10\x80\x7F", 5)));
  values.push_back(Text(ivtStepBytes, "\x0B"));
  for (const VelValueType type : {ivtDate, ivtTime, ivtDateTime, ivtDayTime, ivtTimestamp,
                                  ivtTimeSpan, ivtDayDate, ivtUtcDateTime}) {
    values.push_back(Time(type, OddTime()));
    values.push_back(Time(type, Monday()));
  }
  values.push_back(WithStatus(Number(ivtFloat, Limits::quiet_NaN()), 7));
  values.push_back(WithStatus(Unsigned(ivtByte, 3), 0));
  values.push_back(WithStatus(VELVALUE(), 255));
  values.push_back(WithStatus(VELVALUE(ivtNone), 2));
  return values;
}

bool SameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

TEST(VelValueTextForm, EveryValueReadsBackEqualInBothForms) {
  for (const bool internalFormat : {false, true}) {
    for (const VELVALUE& value : NastyValues()) {
      std::string text;
      value.Serialize(text, internalFormat);
      VELVALUE read;
      EXPECT_TRUE(read.Deserialize(text)) << text;
      EXPECT_EQ(read, value) << text << " read as " << read;
      if (value.ivt == ivtFloat && !std::isnan(value.dblVal)) {
        EXPECT_TRUE(SameBits(read.dblVal, value.dblVal)) << text; // -0.0 stays negative
      }
      if (value.ivt == ivtFloat && std::isnan(value.dblVal)) {
        EXPECT_EQ(std::signbit(read.dblVal), std::signbit(value.dblVal)) << text;
      }
    }
  }
}

// Other programs read these texts: they must not change.
TEST(VelValueTextForm, GoldenTexts) {
  VELVALUE retagged; // a record retagged after default construction keeps status 0
  retagged.ivt = ivtInteger;
  retagged.lVal = -5;
  const struct {
    VELVALUE value;
    const char* defaultForm;
    const char* internalForm;
  } cases[] = {
      {VELVALUE(), "1:", "1.0:"},
      {VELVALUE(ivtNone), "0:", "0.1:"},
      {Number(ivtFloat, 21.5), "3:21.5", "3.2:21.5"},
      {Number(ivtFloat, -0.0), "3:-0", "3.2:-0"},
      {Number(ivtAngle, 0.1), "1039:0.1", "1039.2:0.1"},
      {WithStatus(Number(ivtFloat, Limits::quiet_NaN()), 7), "3.7:nan", "3.7:nan"},
      {Number(ivtFloat, -Limits::infinity()), "3:-inf", "3.2:-inf"},
      {retagged, "4.0:-5", "4.0:-5"},
      {Unsigned(ivtBool, 1), "2:1", "2.2:1"},
      {Unsigned(ivtDWord, 4294967295u), "8:4294967295", "8.2:4294967295"},
      {Text(ivtString, "a\"b\\\n\t\x01\xFF K\xC3\xBC"), "10:\"a\\\"b\\\\\\n\\t\\x01\\xFF K\xC3\xBC\"",
       "10.2:\"a\\\"b\\\\\\n\\t\\x01\\xFF K\xC3\xBC\""},
      {Text(ivtByteArray, "\x01\xAB"), "1005:01AB", "1005.2:01AB"},
      {Text(ivtByteArray, ""), "1005:", "1005.2:"},
      {Time(ivtDateTime, Monday()), "13:2024-05-06T10:20:30.00;weekday=1;timeOfDayOnly=0;local;valid",
       "13.2:2024-05-06T10:20:30.00;weekday=1;timeOfDayOnly=0;local;valid"},
      {Time(ivtUtcDateTime, OddTime()),
       "201:65535-255-00T99:07:255.99;weekday=127;timeOfDayOnly=65535;utc;valid",
       "201.2:65535-255-00T99:07:255.99;weekday=127;timeOfDayOnly=65535;utc;valid"},
  };
  for (const auto& c : cases) {
    std::string text;
    c.value.Serialize(text, false);
    EXPECT_EQ(text, c.defaultForm);
    c.value.Serialize(text, true);
    EXPECT_EQ(text, c.internalForm);
  }
}

TEST(VelValueTextForm, DeviceStackTextsForAFloatWithoutValueReadAsNaN) {
  const struct {
    const char* text;
    std::uint8_t status;
  } cases[] = {{"3.7:nan", 7}, {"nan", 2}};
  for (const auto& c : cases) {
    VELVALUE value;
    ASSERT_TRUE(value.Deserialize(c.text)) << c.text;
    EXPECT_EQ(value.ivt, ivtFloat);
    EXPECT_TRUE(std::isnan(value.dblVal));
    EXPECT_EQ(value.status, c.status);
  }
}

TEST(VelValueTextForm, OtherSpellingsOfTheGrammarAreRead) {
  VELTIME date{};
  date.year = 1;
  date.month = 2;
  date.day = 3;
  date.weekday = 0;
  const struct {
    const char* text;
    VELVALUE expected;
  } cases[] = {
      {"3:1e2", Number(ivtFloat, 100.0)},
      {"003.02:.5", Number(ivtFloat, 0.5)},
      {"1005:abCD", Text(ivtByteArray, "\xAB\xCD")},
      {"10:\"\\x4a\\x4B\"", Text(ivtString, "JK")},
      {"11:1-2-3T0:0:0.0;weekday=0;timeOfDayOnly=0;utc;invalid", Time(ivtDate, date)},
  };
  for (const auto& c : cases) {
    VELVALUE value;
    EXPECT_TRUE(value.Deserialize(c.text)) << c.text;
    EXPECT_EQ(value, c.expected) << c.text;
  }
}

TEST(VelValueTextForm, MalformedTextLeavesTheEmptyValue) {
  const std::string time = "2024-05-06T10:20:30.00;weekday=1;timeOfDayOnly=0;local;valid";
  const std::string cases[] = {
      "", "nan ", "NaN", "3", "3:", "3:abc", "3:1.5x", " 3:1", "3 :1", "3: 1", "+3:1", "x:1",
      "3.:1", "3.256:1", "3.-1:1", "3.2.2:1", "99:1", "-1:", "2147483648:", "3:1e400", "3:0x10",
      "6:256", "6:-1", "7:65536", "8:4294967296", "4:2147483648", "4:-2147483649", "2:", "1:x",
      "0:1", "10:abc", "10:\"abc", "10:\"abc\"x", "10:\"\\q\"", "10:\"\\x4\"", "10:\"\\xZZ\"",
      "10:\"a\nb\"", "10:\"\\", "1005:ABC", "1005:GG", "1005:\"AB\"", "13:" + time + ";",
      "13:" + time.substr(0, time.size() - 6), "13:2024-05-06T10:20:30;weekday=1;timeOfDayOnly=0;local;valid",
      "13:2024-256-06T10:20:30.00;weekday=1;timeOfDayOnly=0;local;valid",
      "13:2024-05-06 10:20:30.00;weekday=1;timeOfDayOnly=0;local;valid",
      "13:2024-05-06T10:20:30.00;weekday=1;timeOfDayOnly=0;LOCAL;valid",
      std::string("3:1\0", 4)};
  for (const std::string& text : cases) {
    VELVALUE value(ivtWord);
    value.wVal = 9;
    EXPECT_FALSE(value.Deserialize(text)) << text;
    EXPECT_EQ(value, VELVALUE()) << text;
    EXPECT_TRUE(value.tmVal.isLocalTime) << text;
    EXPECT_TRUE(value.strVal.empty()) << text;
  }
}

} // namespace
