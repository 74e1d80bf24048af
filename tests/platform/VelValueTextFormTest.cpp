#include "VelValueSamples.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

namespace {

using namespace VelTest;
using Limits = std::numeric_limits<double>;
const double kNaN = Limits::quiet_NaN();

// Every field at a value no calendar allows.
VELTIME OddTime() {
  VELTIME t{65535, 255, 0, 99, 7, 255, 99, 0x7F, 65535, false, true};
  return t;
}

std::vector<VELVALUE> NastyValues() {
  std::vector<VELVALUE> values;
  for (const VelValueType type : {ivtNone, ivtEmpty, ivtBool, ivtFloat, ivtInteger, ivtShort,
                                  ivtByte, ivtWord, ivtDWord, ivtData40, ivtString, ivtDate,
                                  ivtTime, ivtDateTime, ivtTimeLag, ivtDayTime, ivtQWord,
                                  ivtTimestamp, ivtTimeSpan, ivtDayDate, ivtUtcDateTime,
                                  ivtByteArray, ivtEnumByte, ivtPercent, ivtStepBytes, ivtAngle}) {
    values.emplace_back(type);
  }
  for (const double d : {21.5, -0.0, 0.1, 1e-300, Limits::denorm_min(), Limits::max(),
                         Limits::lowest(), Limits::infinity(), -Limits::infinity(), kNaN, -kNaN}) {
    values.push_back(Dbl(ivtFloat, d));
  }
  for (const std::int32_t i : {std::numeric_limits<std::int32_t>::min(), -1, 2147483647}) {
    for (const VelValueType type : {ivtInteger, ivtShort, ivtTimeLag}) {
      values.push_back(Lng(type, i)); // a Short outside 16 bits is kept all the same
    }
  }
  std::string everyByte;
  for (int b = 0; b < 256; ++b) {
    everyByte += static_cast<char>(b);
  }
  for (const std::string& s :
       {std::string(), std::string("\"q\" \\ end\\"), std::string("lf\ntab\tcr\r"),
        std::string("K\xC3\xBC" "che \xE2\x82\xAC \xF0\x9F\x98\x80"), std::string("\0\x01\x7F", 3),
        std::string("\xC3"), std::string("\xFF\xFE"), std::string("\xC0\xAF"), std::string("ab\xE2\x82"),
        std::string("\xED\xA0\x80"), std::string("\\x41"), everyByte}) {
    values.push_back(Str(ivtString, s));
    values.push_back(Str(ivtByteArray, s));
  }
  for (const VelValueType type : kTimeTypes) {
    values.push_back(Tm(type, OddTime()));
    values.push_back(Tm(type, DateTime(2024, 5, 6, 10, 20, 30)));
  }
  values.insert(values.end(),
                {Dbl(ivtPercent, 100.0), Dbl(ivtAngle, 359.99), U8(ivtBool, 255), U8(ivtEnumByte, 7),
                 U16(ivtWord, 65535), U32(ivtQWord, 4294967295u), Str(ivtStepBytes, "\x0B"),
                 Str(ivtData40, std::string("\0\xFF\x10\x80\x7F", 5)), WithStatus(Dbl(ivtFloat, kNaN), 7),
                 WithStatus(U8(ivtByte, 3), 0), WithStatus(VELVALUE(), 255), WithStatus(VELVALUE(ivtNone), 2)});
  return values;
}

TEST(VelValueTextForm, EveryValueReadsBackEqualInBothForms) {
  for (const bool internalFormat : {false, true}) {
    for (const VELVALUE& value : NastyValues()) {
      std::string text;
      value.Serialize(text, internalFormat);
      VELVALUE read;
      EXPECT_TRUE(read.Deserialize(text)) << text;
      EXPECT_EQ(read, value) << text << " read as " << read;
      if (value.ivt == ivtFloat) { // == does not see the sign of a zero or a NaN
        EXPECT_EQ(std::signbit(read.dblVal), std::signbit(value.dblVal)) << text;
      }
    }
  }
}

// Other programs read these texts: they must not change.
TEST(VelValueTextForm, GoldenTexts) {
  const std::string monday = "2024-05-06T10:20:30.00;weekday=1;timeOfDayOnly=0;local;valid";
  const std::string odd = "65535-255-00T99:07:255.99;weekday=127;timeOfDayOnly=65535;utc;valid";
  const std::string escaped = "\"a\\\"b\\\\\\n\\t\\x01\\xFF K\xC3\xBC\"";
  const struct {
    VELVALUE value;
    std::string defaultForm, internalForm;
  } cases[] = {
      {VELVALUE(), "1:", "1.0:"},
      {VELVALUE(ivtNone), "0:", "0.1:"},
      {Dbl(ivtFloat, 21.5), "3:21.5", "3.2:21.5"},
      {Dbl(ivtFloat, -0.0), "3:-0", "3.2:-0"},
      {Dbl(ivtFloat, -Limits::infinity()), "3:-inf", "3.2:-inf"},
      {WithStatus(Dbl(ivtFloat, kNaN), 7), "3.7:nan", "3.7:nan"},
      {WithStatus(Lng(ivtInteger, -5), 0), "4.0:-5", "4.0:-5"},
      {U8(ivtBool, 1), "2:1", "2.2:1"},
      {Str(ivtString, "a\"b\\\n\t\x01\xFF K\xC3\xBC"), "10:" + escaped, "10.2:" + escaped},
      {Str(ivtByteArray, "\x01\xAB"), "1005:01AB", "1005.2:01AB"},
      {Tm(ivtDateTime, DateTime(2024, 5, 6, 10, 20, 30)), "13:" + monday, "13.2:" + monday},
      {Tm(ivtUtcDateTime, OddTime()), "201:" + odd, "201.2:" + odd},
  };
  for (const auto& c : cases) {
    std::string text;
    c.value.Serialize(text, false);
    EXPECT_EQ(text, c.defaultForm);
    c.value.Serialize(text, true);
    EXPECT_EQ(text, c.internalForm);
  }
}

TEST(VelValueTextForm, ReadsTheDeviceStackNaNTextsAndOtherSpellings) {
  VELTIME shortFields{1, 2, 3, 0, 0, 0, 0, 0, 0, false, false};
  const struct {
    const char* text;
    VELVALUE expected;
  } cases[] = {
      {"3.7:nan", WithStatus(Dbl(ivtFloat, kNaN), 7)},
      {"nan", Dbl(ivtFloat, kNaN)},
      {"3:1e2", Dbl(ivtFloat, 100.0)},
      {"1005:abCD", Str(ivtByteArray, "\xAB\xCD")},
      {"11:1-2-3T0:0:0.0;weekday=0;timeOfDayOnly=0;utc;invalid", Tm(ivtDate, shortFields)},
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
      "13:" + time.substr(0, time.size() - 6), "13:" + time.substr(0, 19) + time.substr(22),
      "13:2024-256-06" + time.substr(10), "13:2024-05-06 " + time.substr(11),
      "13:" + time.substr(0, 49) + "LOCAL;valid", std::string("3:1\0", 4)};
  for (const std::string& text : cases) {
    VELVALUE value = U16(ivtWord, 9);
    EXPECT_FALSE(value.Deserialize(text)) << text;
    EXPECT_EQ(value, VELVALUE()) << text;
    EXPECT_TRUE(value.tmVal.isLocalTime && value.strVal.empty()) << text;
  }
}

} // namespace
