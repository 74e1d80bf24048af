#include "KnxStack/GroupValue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace {

using KnxStack::BinaryData;
using KnxStack::GroupValue;
using KnxStack::GroupValueException;
using Bytes = std::vector<std::uint8_t>;
using ::testing::HasSubstr;

GroupValue FromBytes(const Bytes& bytes) {
  return GroupValue(BinaryData(bytes), 8 * static_cast<unsigned int>(bytes.size()));
}

// Each row writes a value, checks the bus bytes and the defined size, and
// reads it back through the matching getter.
struct Encoding {
  const char* name;
  std::function<void(GroupValue&)> set;
  Bytes bytes;
  unsigned int definedSize;
  std::function<void(const GroupValue&)> expectReadBack;
};

TEST(GroupValue, EncodingsGiveTheirBusBytesAndDefinedSize) {
  const Encoding encodings[] = {
      {"boolean", [](GroupValue& v) { v.SetAsBoolean(true); }, {0x01}, 1,
       [](const GroupValue& v) { EXPECT_TRUE(v.GetAsBoolean()); }},
      {"2 bits keep the low bits", [](GroupValue& v) { v.SetAsUnsigned2(7); }, {0x03}, 2,
       [](const GroupValue& v) { EXPECT_EQ(v.GetAsUnsigned2(), 3); }},
      {"4 bits keep the low bits", [](GroupValue& v) { v.SetAsUnsigned4(0xFB); }, {0x0B}, 4,
       [](const GroupValue& v) { EXPECT_EQ(v.GetAsUnsigned4(), 0x0B); }},
      {"unsigned 8", [](GroupValue& v) { v.SetAsUnsigned8(0xA5); }, {0xA5}, 8,
       [](const GroupValue& v) { EXPECT_EQ(v.GetAsUnsigned8(), 0xA5); }},
      {"signed 8", [](GroupValue& v) { v.SetAsSigned8(-128); }, {0x80}, 8,
       [](const GroupValue& v) { EXPECT_EQ(v.GetAsSigned8(), -128); }},
      {"character", [](GroupValue& v) { v.SetAsChar('\xE9'); }, {0xE9}, 8,
       [](const GroupValue& v) { EXPECT_EQ(v.GetAsUnsigned8(), 0xE9); }},
      {"unsigned 16", [](GroupValue& v) { v.SetAsUnsigned16(0x1234); }, {0x12, 0x34}, 16,
       [](const GroupValue& v) { EXPECT_EQ(v.GetAsUnsigned16(), 0x1234); }},
      {"signed 16", [](GroupValue& v) { v.SetAsSigned16(-32768); }, {0x80, 0x00}, 16,
       [](const GroupValue& v) { EXPECT_EQ(v.GetAsSigned16(), -32768); }},
      {"float 16", [](GroupValue& v) { v.SetAsFloat16(21.5); }, {0x0C, 0x33}, 16,
       [](const GroupValue& v) { EXPECT_EQ(v.GetAsFloat16(), 21.5); }},
      {"unsigned 32", [](GroupValue& v) { v.SetAsUnsigned32(0x12345678); },
       {0x12, 0x34, 0x56, 0x78}, 32,
       [](const GroupValue& v) { EXPECT_EQ(v.GetAsUnsigned32(), 0x12345678u); }},
      {"signed 32", [](GroupValue& v) { v.SetAsSigned32(-2); }, {0xFF, 0xFF, 0xFF, 0xFE}, 32,
       [](const GroupValue& v) { EXPECT_EQ(v.GetAsSigned32(), -2); }},
      {"float 32", [](GroupValue& v) { v.SetAsFloat32(-2.5F); }, {0xC0, 0x20, 0x00, 0x00}, 32,
       [](const GroupValue& v) { EXPECT_EQ(v.GetAsFloat32(), -2.5F); }},
      {"date 19xx", [](GroupValue& v) { v.SetAsDate(1, 1, 1990); }, {0x01, 0x01, 0x5A}, 24,
       [](const GroupValue& v) {
         int day = 0, month = 0, year = 0;
         v.GetAsDate(&day, &month, &year);
         EXPECT_EQ(std::vector<int>({day, month, year}), std::vector<int>({1, 1, 1990}));
       }},
      {"date 20xx", [](GroupValue& v) { v.SetAsDate(31, 12, 2089); }, {0x1F, 0x0C, 0x59}, 24,
       [](const GroupValue& v) {
         int day = 0, month = 0, year = 0;
         v.GetAsDate(&day, &month, &year);
         EXPECT_EQ(std::vector<int>({day, month, year}), std::vector<int>({31, 12, 2089}));
       }},
      {"time of day", [](GroupValue& v) { v.SetAsTimeOfDay(23, 59, 58, GroupValue::Sunday); },
       {0xF7, 0x3B, 0x3A}, 24,
       [](const GroupValue& v) {
         int hour = 0, minute = 0, second = 0;
         GroupValue::DayOfWeek day = GroupValue::NoDay;
         v.GetAsTimeOfDay(&hour, &minute, &second, &day);
         EXPECT_EQ(std::vector<int>({hour, minute, second, day}),
                   std::vector<int>({23, 59, 58, 7}));
       }},
      {"short string padded", [](GroupValue& v) { v.SetAsString14("KNX"); },
       {'K', 'N', 'X', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 112,
       [](const GroupValue& v) { EXPECT_EQ(v.GetAsString14(), "KNX"); }},
      {"long string truncated", [](GroupValue& v) { v.SetAsString14("ABCDEFGHIJKLMNOPQ"); },
       {'A', 'B', 'C', 'D', 'E', 'F', 'G', 'H', 'I', 'J', 'K', 'L', 'M', 'N'}, 112,
       [](const GroupValue& v) { EXPECT_EQ(v.GetAsString14(), "ABCDEFGHIJKLMN"); }},
  };
  for (const Encoding& encoding : encodings) {
    SCOPED_TRACE(encoding.name);
    // Written over an earlier, longer value: nothing of it may remain.
    GroupValue value;
    value.SetAsString14("previous value");
    encoding.set(value);
    EXPECT_EQ(value.GetRawData().GetBytes(), encoding.bytes);
    EXPECT_EQ(value.GetDefinedSize(), encoding.definedSize);
    encoding.expectReadBack(value);
  }
}

TEST(GroupValue, GettersDecodeWhatOtherSendersPutOnTheBus) {
  EXPECT_FALSE(FromBytes({0xFE}).GetAsBoolean());
  EXPECT_EQ(FromBytes({0xFE}).GetAsUnsigned2(), 2);
  EXPECT_EQ(FromBytes({0xFE}).GetAsUnsigned3(), 6);
  EXPECT_EQ(FromBytes({0xF5}).GetAsUnsigned4(), 5);
  EXPECT_EQ(FromBytes({0xFF, 0xFE}).GetAsSigned16(), -2);
  // Longer values are read from their first bytes.
  EXPECT_EQ(FromBytes({0x12, 0x34, 0x56}).GetAsUnsigned16(), 0x1234);
}

TEST(GroupValue, DateReadsTwoDigitYearsAndIgnoresReservedBits) {
  const struct {
    Bytes bytes;
    int day, month, year;
  } cases[] = {
      {{0x06, 0x05, 0x18}, 6, 5, 2024},
      {{0x01, 0x01, 0x63}, 1, 1, 1999},
      {{0x01, 0x01, 0x00}, 1, 1, 2000},
      {{0xE1, 0xF2, 0xD9}, 1, 2, 2089},
      // Unused two-digit years stay outside the encoding's years.
      {{0x01, 0x01, 0x64}, 1, 1, 2100},
  };
  for (const auto& c : cases) {
    int day = 0, month = 0, year = 0;
    FromBytes(c.bytes).GetAsDate(&day, &month, &year);
    EXPECT_EQ(std::vector<int>({day, month, year}), std::vector<int>({c.day, c.month, c.year}))
        << BinaryData(c.bytes).ToString();
  }
}

TEST(GroupValue, TimeOfDayReadsFieldsAsTheyAre) {
  int hour = 0, minute = 0, second = 0;
  GroupValue::DayOfWeek day = GroupValue::NoDay;
  FromBytes({0xFF, 0xFF, 0xFF}).GetAsTimeOfDay(&hour, &minute, &second, &day);
  EXPECT_EQ(std::vector<int>({hour, minute, second, day}), std::vector<int>({31, 63, 63, 7}));
  FromBytes({0x2A, 0x14, 0x1E}).GetAsTimeOfDay(&hour, &minute, &second, &day);
  EXPECT_EQ(std::vector<int>({hour, minute, second, day}), std::vector<int>({10, 20, 30, 1}));
}

TEST(GroupValue, StringEndsAtTheFirstZeroByte) {
  EXPECT_EQ(FromBytes({'A', 0, 'B', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}).GetAsString14(), "A");
  const Bytes full = {'0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'A', 'B', 'C', 'D', 'E'};
  EXPECT_EQ(FromBytes(full).GetAsString14(), "0123456789ABCD");
}

TEST(GroupValue, GettersRaiseWhenTheValueHoldsTooFewBytes) {
  const struct {
    const char* getter;
    unsigned int needed;
    std::function<void(const GroupValue&)> read;
  } getters[] = {
      {"GetAsBoolean", 1, [](const GroupValue& v) { v.GetAsBoolean(); }},
      {"GetAsUnsigned2", 1, [](const GroupValue& v) { v.GetAsUnsigned2(); }},
      {"GetAsUnsigned3", 1, [](const GroupValue& v) { v.GetAsUnsigned3(); }},
      {"GetAsUnsigned4", 1, [](const GroupValue& v) { v.GetAsUnsigned4(); }},
      {"GetAsUnsigned8", 1, [](const GroupValue& v) { v.GetAsUnsigned8(); }},
      {"GetAsSigned8", 1, [](const GroupValue& v) { v.GetAsSigned8(); }},
      {"GetAsUnsigned16", 2, [](const GroupValue& v) { v.GetAsUnsigned16(); }},
      {"GetAsSigned16", 2, [](const GroupValue& v) { v.GetAsSigned16(); }},
      {"GetAsFloat16", 2, [](const GroupValue& v) { v.GetAsFloat16(); }},
      {"GetAsDate", 3, [](const GroupValue& v) { v.GetAsDate(nullptr, nullptr, nullptr); }},
      {"GetAsTimeOfDay", 3,
       [](const GroupValue& v) { v.GetAsTimeOfDay(nullptr, nullptr, nullptr, nullptr); }},
      {"GetAsUnsigned32", 4, [](const GroupValue& v) { v.GetAsUnsigned32(); }},
      {"GetAsSigned32", 4, [](const GroupValue& v) { v.GetAsSigned32(); }},
      {"GetAsFloat32", 4, [](const GroupValue& v) { v.GetAsFloat32(); }},
      {"GetAsString14", 14, [](const GroupValue& v) { v.GetAsString14(); }},
  };
  for (const auto& g : getters) {
    for (unsigned int size = 0; size < g.needed; ++size) {
      const GroupValue tooShort = FromBytes(Bytes(size, 0xFF));
      try {
        g.read(tooShort);
        ADD_FAILURE() << g.getter << " read " << size << " byte(s) without raising";
      } catch (const GroupValueException& e) {
        EXPECT_THAT(e.what(), HasSubstr(g.getter));
      }
    }
    EXPECT_NO_THROW(g.read(FromBytes(Bytes(g.needed, 0xFF)))) << g.getter;
  }
}

TEST(GroupValue, DateAndTimeSettersRaiseForFieldsOutsideTheEncoding) {
  const struct {
    std::function<void(GroupValue&)> set;
    const char* message;
  } cases[] = {
      {[](GroupValue& v) { v.SetAsDate(1, 1, 1989); }, "SetAsDate: year 1989 is outside 1990..2089"},
      {[](GroupValue& v) { v.SetAsDate(1, 1, 2090); }, "SetAsDate: year 2090 is outside 1990..2089"},
      {[](GroupValue& v) { v.SetAsDate(1, 0, 2000); }, "SetAsDate: month 0 is outside 1..12"},
      {[](GroupValue& v) { v.SetAsDate(1, 13, 2000); }, "SetAsDate: month 13 is outside 1..12"},
      {[](GroupValue& v) { v.SetAsDate(0, 1, 2000); }, "SetAsDate: day 0 is outside 1..31"},
      {[](GroupValue& v) { v.SetAsDate(32, 1, 2000); }, "SetAsDate: day 32 is outside 1..31"},
      {[](GroupValue& v) { v.SetAsTimeOfDay(-1, 0, 0, GroupValue::NoDay); },
       "SetAsTimeOfDay: hour -1 is outside 0..23"},
      {[](GroupValue& v) { v.SetAsTimeOfDay(24, 0, 0, GroupValue::NoDay); },
       "SetAsTimeOfDay: hour 24 is outside 0..23"},
      {[](GroupValue& v) { v.SetAsTimeOfDay(0, 60, 0, GroupValue::NoDay); },
       "SetAsTimeOfDay: minute 60 is outside 0..59"},
      {[](GroupValue& v) { v.SetAsTimeOfDay(0, 0, 60, GroupValue::NoDay); },
       "SetAsTimeOfDay: second 60 is outside 0..59"},
      {[](GroupValue& v) { v.SetAsTimeOfDay(0, 0, -1, GroupValue::NoDay); },
       "SetAsTimeOfDay: second -1 is outside 0..59"},
      {[](GroupValue& v) { v.SetAsTimeOfDay(0, 0, 0, static_cast<GroupValue::DayOfWeek>(8)); },
       "SetAsTimeOfDay: day of week 8 is outside 0..7"},
  };
  for (const auto& c : cases) {
    GroupValue value;
    value.SetAsUnsigned16(0x1234);
    try {
      c.set(value);
      ADD_FAILURE() << "no exception, expected: " << c.message;
    } catch (const GroupValueException& e) {
      EXPECT_STREQ(e.what(), c.message);
    }
    EXPECT_EQ(value.GetAsUnsigned16(), 0x1234) << "a refused value must leave the old one";
  }
}

TEST(GroupValue, DefinedSizeOfRawDataAndTheShortForm) {
  GroupValue value;
  EXPECT_EQ(value.GetDefinedSize(), 0u);
  value.SetRawData(BinaryData(Bytes{0xFF, 0x80, 0x00}));
  EXPECT_EQ(value.GetDefinedSize(), 24u);

  // A 4-bit value received in the short form, rebuilt with its true size.
  GroupValue sent;
  sent.SetAsUnsigned4(0x0B);
  const GroupValue shortForm(sent.GetRawData(), 6);
  EXPECT_EQ(shortForm.GetDefinedSize(), 6u);
  const GroupValue rebuilt(shortForm.GetRawData(), 4);
  EXPECT_EQ(rebuilt, sent);
  EXPECT_EQ(rebuilt.GetAsUnsigned4(), 0x0B);
}

} // namespace
