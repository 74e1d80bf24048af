#include "VelValueSamples.h"

#include <gtest/gtest.h>

#include <cmath>    // std::signbit
#include <cstdlib>  // setenv
#include <ctime>    // tzset, mktime
#include <iterator> // std::begin, std::end
#include <limits>
#include <numeric> // std::iota
#include <string>
#include <tuple>
#include <vector>

namespace {

using namespace AvoTest;
using namespace std::string_literals;
using Bytes = std::vector<unsigned char>;
using Limits = std::numeric_limits<double>;
using W = VelWeekDays::WEEK_DAY_TYPES;
const double kNaN = Limits::quiet_NaN();

VELTIME DateTime(unsigned short year, unsigned char month, unsigned char day, unsigned char hour,
                 unsigned char minute, unsigned char second, bool local = true) {
  VELTIME time{};
  time.SetDateTime(year, month, day, hour, minute, second, local);
  return time;
}

// Days of the calendar from 1400 to 9999 get their weekday, and their
// broken-down time the day of the week and of the year; other days get none.
TEST(VelTime, CalendarDaysGetTheirWeekdayAndSetDateDropsTheTime) {
  const std::tuple<unsigned short, unsigned char, unsigned char, W, int, int> cases[] = {
      {2024, 2, 29, W::THURSDAY, 4, 59}, {2024, 5, 5, W::SUNDAY, 0, 125},
      {2000, 2, 29, W::TUESDAY, 2, 59},  {1400, 1, 1, W::WEDNESDAY, 3, 0},
      {9999, 12, 31, W::FRIDAY, 5, 364}, {2023, 2, 29, W::NONE, 0, 0},
      {1900, 2, 29, W::NONE, 0, 0},      {2024, 4, 31, W::NONE, 0, 0},
      {2024, 13, 1, W::NONE, 0, 0},      {2024, 1, 0, W::NONE, 0, 0},
      {1399, 12, 31, W::NONE, 0, 0}};
  for (const auto& [year, month, day, weekday, tmWeekday, tmYearDay] : cases) {
    const VELTIME time = DateTime(year, month, day, 10, 20, 30, false);
    const std::tm tm = time;
    EXPECT_EQ(VELTIME::IsValidDate(year, month, day), weekday != W::NONE) << year << "-" << +month;
    EXPECT_TRUE(time.weekday == weekday && time.isValid && !time.isLocalTime) << year;
    EXPECT_EQ(std::tie(tm.tm_year, tm.tm_mon, tm.tm_mday, tm.tm_wday, tm.tm_yday, tm.tm_isdst),
              std::make_tuple(year - 1900, month - 1, int{day}, tmWeekday, tmYearDay, -1));
  }
  EXPECT_TRUE(VELTIME::IsValidTime(0, 0, 0) && VELTIME::IsValidTime(23, 59, 59));
  EXPECT_FALSE(VELTIME::IsValidTime(24, 0, 0) || VELTIME::IsValidTime(0, 60, 0) ||
               VELTIME::IsValidTime(0, 0, 60));
  VELTIME time = DateTime(2024, 5, 6, 10, 20, 30, false);
  time.hundredths = 50;
  time.timeOfDayOnly = 1;
  time.SetDate(2023, 1, 2, true); // drops the time of day and the weekday
  EXPECT_EQ(time, (VELTIME{2023, 1, 2, 0, 0, 0, 0, 0, 0, true, true}));
}

TEST(VelTime, SecondsSinceTheEpochGiveTheLocalCalendarTime) {
  // UTC last: the other tests run in it.
  const std::tuple<const char*, long, VELTIME> cases[] = {
      {"CET-1CEST,M3.5.0,M10.5.0/3", 1714990830, DateTime(2024, 5, 6, 12, 20, 30)}, // summer
      {"UTC", -1, DateTime(1969, 12, 31, 23, 59, 59)}};
  for (const auto& [zone, seconds, expected] : cases) {
    setenv("TZ", zone, 1);
    tzset();
    VELTIME time = DateTime(2024, 5, 6, 1, 2, 3, false);
    time.hundredths = 42;
    time = seconds;
    std::tm tm = time; // and back: the same instant
    EXPECT_TRUE(time == expected && std::mktime(&tm) == seconds) << zone << " " << seconds;
  }
  VELTIME time = DateTime(2024, 5, 6, 1, 2, 3, false);
  time = std::numeric_limits<long>::max(); // beyond any calendar year where long has 64 bits
  EXPECT_EQ(time, sizeof(long) == 4 ? DateTime(2038, 1, 19, 3, 14, 7)
                                    : (VELTIME{0, 0, 0, 0, 0, 0, 0, 0, 0, true, false}));
}

// The round trips of the other tests rely on == seeing the member that the
// type uses, the type and the status.
TEST(VelValue, EqualityLooksAtTheTypeTheMemberItUsesAndTheStatus) {
  VELVALUE byte = Str(ivtByte, "unused");
  byte.wVal = 0xABAB; // a byte the byte value does not use stays 0xAB
  byte.byVal = 7;
  EXPECT_TRUE(byte == U8(ivtByte, 7) && byte != U8(ivtByte, 8));
  const VELVALUE nan = Dbl(ivtFloat, kNaN);
  EXPECT_EQ(nan, VELVALUE(nan));
  EXPECT_TRUE(Str(ivtString, "a") != WithStatus(Str(ivtString, "a"), 7) &&
              Str(ivtString, "a") != Str(ivtByteArray, "a") &&
              VELVALUE(ivtDate) != Tm(ivtDate, VELTIME{0, 0, 0, 0, 0, 0, 0, 0, 0, true, true}));
  // Tags without a name are named by their number.
  EXPECT_EQ(VELVALUE::GetNameFromValueType(static_cast<VelValueType>(999)), "Type999");
  EXPECT_EQ(VelDP::GetNameFromValueSubType(static_cast<VelDP::VelValueSubType>(77)), "Subtype77");
}

TEST(VelValueBytes, EachTypeHasItsBigEndianLayoutAndNeedsItsSize) {
  // clang-format off
  const std::pair<VELVALUE, Bytes> cases[] = {
      {U8(ivtBool, 1), {0x01}},                {U8(ivtEnumByte, 0xA5), {0xA5}},
      {U32(ivtDWord, 0x89ABCDEF), {0x89, 0xAB, 0xCD, 0xEF}}, {U16(ivtWord, 0x1234), {0x12, 0x34}},
      {Lng(ivtShort, -32768), {0x80, 0x00}},   {Lng(ivtInteger, -2), {0xFF, 0xFF, 0xFF, 0xFE}},
      {U32(ivtQWord, 1), {0, 0, 0, 1}},        {Lng(ivtTimeLag, 0x01020304), {1, 2, 3, 4}},
      {Dbl(ivtFloat, 21.5), {0x40, 0x35, 0x80, 0, 0, 0, 0, 0}},
      {Dbl(ivtPercent, -0.0), {0x80, 0, 0, 0, 0, 0, 0, 0}},
      {Str(ivtData40, "\0\x01\x02\x03\xFF"s), {0x00, 0x01, 0x02, 0x03, 0xFF}},
      {Str(ivtString, "K\xC3\xBC"), {'K', 0xC3, 0xBC}},
      {Str(ivtByteArray, "\0\x80"s), {0x00, 0x80}}, {Str(ivtStepBytes, "\x0B"), {0x0B}}};
  // clang-format on
  const Bytes filler(10, 0x11);
  for (const auto& [value, bytes] : cases) {
    SCOPED_TRACE(value.ToString());
    const auto length = static_cast<unsigned int>(bytes.size());
    Bytes buffer(length + 3, 0xEE);
    unsigned int size = length - 1;
    EXPECT_FALSE(VelValueToByteArray(value, buffer.data(), size));
    EXPECT_TRUE(size == length - 1 && buffer == Bytes(length + 3, 0xEE)); // untouched
    size = length + 3;
    ASSERT_TRUE(VelValueToByteArray(value, buffer.data(), size));
    EXPECT_EQ(Bytes(buffer.begin(), buffer.begin() + length), bytes);
    EXPECT_TRUE(size == length && buffer[length] == 0xEE); // nothing beyond the layout
    VELVALUE read(value.ivt);
    ASSERT_TRUE(ByteArrayToVelValue(bytes.data(), length, read, false));
    EXPECT_EQ(read, value);
    const bool text =
        value.ivt == ivtString || value.ivt == ivtByteArray || value.ivt == ivtStepBytes;
    for (const unsigned int wrong : {length - 1, length + 1}) { // texts take any length
      EXPECT_EQ(ByteArrayToVelValue(filler.data(), wrong, read, false), text) << wrong;
      EXPECT_TRUE(text || read == value) << wrong; // untouched on failure
    }
  }
}

TEST(VelValueBytes, ValuesWithoutByteFormAndNullBuffersFail) {
  std::vector<VELVALUE> values(std::begin(kTimeTypes), std::end(kTimeTypes));
  values.insert(values.end(),
                {VELVALUE(), VELVALUE(ivtNone), Lng(ivtShort, 32768), Lng(ivtShort, -32769),
                 Str(ivtData40, "1234"), VELVALUE(static_cast<VelValueType>(999))});
  unsigned char buffer[24] = {};
  for (VELVALUE& value : values) {
    unsigned int size = sizeof buffer;
    EXPECT_FALSE(VelValueToByteArray(value, buffer, size) || size != sizeof buffer) << value;
    EXPECT_FALSE(ByteArrayToVelValue(buffer, 3, value, false)) << value;
  }
  unsigned int size = 4;
  EXPECT_FALSE(VelValueToByteArray(Str(ivtString, "x"), nullptr, size) ||
               VelValueToByteArray(U16(ivtWord, 1), nullptr, size));
  VELVALUE value = Str(ivtByteArray, "old");
  EXPECT_FALSE(ByteArrayToVelValue(nullptr, 1, value, false));
  ASSERT_TRUE(ByteArrayToVelValue(nullptr, 0, value, false)); // zero bytes need no buffer
  EXPECT_EQ(value.strVal, "");
}

// The short form puts the low bit of its byte into one-byte records only.
TEST(VelValueBytes, ShortFormTakesTheLowBitIntoOneByteTypesOnly) {
  const std::tuple<VelValueType, unsigned char, unsigned int, bool, int> cases[] = {
      // -1: refused
      {ivtBool, 0xFE, 1, true, 0},  {ivtBool, 0x81, 1, true, 1},   {ivtByte, 0x03, 1, true, 1},
      {ivtEnumByte, 2, 1, true, 0}, {ivtBool, 0x01, 2, true, -1},  {ivtWord, 0x01, 1, true, -1},
      {ivtString, 1, 1, true, -1},  {ivtFloat, 0x01, 1, true, -1}, {ivtBool, 0x02, 1, false, 1}};
  for (const auto& [type, byte, size, shortForm, result] : cases) {
    const unsigned char data[2] = {byte, 0};
    VELVALUE value = U8(type, 0x55);
    EXPECT_EQ(ByteArrayToVelValue(data, size, value, shortForm), result >= 0) << value;
    EXPECT_EQ(value.byVal, result >= 0 ? result : 0x55) << value; // untouched when refused
  }
}

// Every field at a value no calendar allows; and a valid local time.
const VELTIME kOddTime{65535, 255, 0, 99, 7, 255, 99, 0x7F, 65535, false, true};
const VELTIME kMonday{2024, 5, 6, 10, 20, 30, 0, VelWeekDays::MONDAY, 0, true, true};

std::string Serialized(const VELVALUE& value, bool internalFormat) {
  std::string text;
  value.Serialize(text, internalFormat);
  return text;
}

void ExpectReadsAs(const std::string& text, const VELVALUE& value) {
  VELVALUE read;
  EXPECT_TRUE(read.Deserialize(text)) << text;
  EXPECT_EQ(read, value) << text << " read as " << read;
  // == does not see the sign of a zero or a NaN.
  EXPECT_TRUE(value.ivt != ivtFloat || std::signbit(read.dblVal) == std::signbit(value.dblVal))
      << text;
}

// Other programs read these texts: they must not change.
TEST(VelValueTextForm, GoldenTextsInBothFormsReadBack) {
  const std::string monday = "2024-05-06T10:20:30.00;weekday=1;timeOfDayOnly=0;local;valid";
  const std::string odd = "65535-255-00T99:07:255.99;weekday=127;timeOfDayOnly=65535;utc;valid";
  const std::string escaped = "\"a\\\"b\\\\\\n\\t\\x01\\xFF K\xC3\xBC\"";
  const std::tuple<VELVALUE, std::string, std::string> cases[] = {
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
      {Tm(ivtDateTime, kMonday), "13:" + monday, "13.2:" + monday},
      {Tm(ivtUtcDateTime, kOddTime), "201:" + odd, "201.2:" + odd}};
  for (const auto& [value, defaultForm, internalForm] : cases) {
    EXPECT_EQ(Serialized(value, false), defaultForm);
    EXPECT_EQ(Serialized(value, true), internalForm);
    ExpectReadsAs(defaultForm, value);
    ExpectReadsAs(internalForm, value);
  }
}

TEST(VelValueTextForm, EveryTypeReadsBackEqualInBothForms) {
  std::vector<VELVALUE> values(std::begin(kAllTypes), std::end(kAllTypes));
  for (const double d : {0.1, 1e-300, Limits::denorm_min(), Limits::max(), Limits::lowest(),
                         Limits::infinity(), -kNaN}) {
    values.push_back(Dbl(ivtFloat, d));
  }
  for (const std::int32_t i : {std::numeric_limits<std::int32_t>::min(), 2147483647}) {
    values.insert(values.end(), {Lng(ivtInteger, i), Lng(ivtShort, i), Lng(ivtTimeLag, i)});
  }
  std::string everyByte(256, '\0');
  std::iota(everyByte.begin(), everyByte.end(), '\0'); // every byte from 0 to 255
  for (const std::string& s :
       {""s, everyByte, "\\x41 K\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80 ab\xE2\x82"s}) {
    values.insert(values.end(), {Str(ivtString, s), Str(ivtByteArray, s)});
  }
  for (const VelValueType type : kTimeTypes) {
    values.insert(values.end(), {Tm(type, kOddTime), Tm(type, kMonday)});
  }
  values.insert(values.end(), {Dbl(ivtPercent, 100.0), U8(ivtBool, 255), U16(ivtWord, 65535),
                               U32(ivtQWord, 4294967295u), Str(ivtData40, "\0\xFF\x10\x80\x7F"s),
                               WithStatus(U8(ivtByte, 3), 0), WithStatus(VELVALUE(), 255)});
  for (const VELVALUE& value : values) {
    ExpectReadsAs(Serialized(value, false), value);
    ExpectReadsAs(Serialized(value, true), value);
  }
}

TEST(VelValueTextForm, ReadsTheBareNaNAndRefusesMalformedTexts) {
  ExpectReadsAs("nan", Dbl(ivtFloat, kNaN)); // the device stack's NaN in the default format
  const std::string time = "13:2024-05-06T10:20:30.00;weekday=1;timeOfDayOnly=0;local;valid";
  const std::vector<std::string> malformed[] = {
      {"", "nan ", "NaN", "3", "3:", " 3:1", "3 :1", "3: 1", "+3:1", "x:1", "99:1",
       "-1:", "2147483648:"},
      {"3.:1", "3.256:1", "3.-1:1", "3.2.2:1", "0:1", "1:x", "2:", "3:1\0"s},
      {"3:abc", "3:1.5x", "3:1e400", "3:0x10", "6:256", "6:-1", "7:65536", "8:4294967296",
       "4:2147483648", "4:-2147483649"},
      {"10:abc", "10:\"abc", "10:\"abc\"x", "10:\"\\q\"", "10:\"\\x4\"", "10:\"\\xZZ\"",
       "10:\"a\nb\"", "10:\"\\"},
      {"1005:ABC", "1005:GG", "1005:\"AB\""},
      {time + ";", time.substr(0, time.size() - 6), time.substr(0, 22) + time.substr(25),
       "13:2024-256-06" + time.substr(13), "13:2024-05-06 " + time.substr(14),
       time.substr(0, 52) + "LOCAL;valid"}};
  for (const auto& group : malformed) {
    for (const std::string& text : group) {
      VELVALUE value = U16(ivtWord, 9);
      EXPECT_FALSE(value.Deserialize(text)) << text;
      EXPECT_TRUE(value == VELVALUE() && value.tmVal.isLocalTime && value.strVal.empty()) << text;
    }
  }
}

} // namespace
