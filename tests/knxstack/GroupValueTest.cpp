#include "KnxStack/GroupValue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using KnxStack::BinaryData;
using KnxStack::GroupValue;
using KnxStack::GroupValueException;
using Bytes = std::vector<std::uint8_t>;

// Table rows carry the text of the call they make, for the failure message.
#define CALL(call) #call, [](GroupValue& v) { v.call; }
#define IS(expr) [](const GroupValue& v) { return expr; }

GroupValue FromBytes(const Bytes& bytes) {
  return GroupValue(BinaryData(bytes), 8 * static_cast<unsigned int>(bytes.size()));
}

std::string DateOf(const GroupValue& v) {
  int day = 0, month = 0, year = 0;
  v.GetAsDate(&day, &month, &year);
  return std::to_string(day) + "." + std::to_string(month) + "." + std::to_string(year);
}

std::string TimeOf(const GroupValue& v) {
  int hour = 0, minute = 0, second = 0;
  GroupValue::DayOfWeek day = GroupValue::NoDay;
  v.GetAsTimeOfDay(&hour, &minute, &second, &day);
  return std::to_string(hour) + ":" + std::to_string(minute) + ":" + std::to_string(second) +
         " day " + std::to_string(day);
}

TEST(GroupValue, EncodingsGiveTheirBusBytesAndDefinedSizeAndReadBack) {
  const struct {
    const char* call;
    void (*set)(GroupValue&);
    Bytes bytes;
    unsigned int definedSize;
    bool (*readsBack)(const GroupValue&);
  } encodings[] = {
      {CALL(SetAsBoolean(true)), {0x01}, 1, IS(v.GetAsBoolean())},
      {CALL(SetAsUnsigned2(7)), {0x03}, 2, IS(v.GetAsUnsigned2() == 3)},
      {CALL(SetAsUnsigned4(0xFB)), {0x0B}, 4, IS(v.GetAsUnsigned4() == 0x0B)},
      {CALL(SetAsUnsigned8(0xA5)), {0xA5}, 8, IS(v.GetAsUnsigned8() == 0xA5)},
      {CALL(SetAsSigned8(-128)), {0x80}, 8, IS(v.GetAsSigned8() == -128)},
      {CALL(SetAsChar('\xE9')), {0xE9}, 8, IS(v.GetAsUnsigned8() == 0xE9)},
      {CALL(SetAsUnsigned16(0x1234)), {0x12, 0x34}, 16, IS(v.GetAsUnsigned16() == 0x1234)},
      {CALL(SetAsSigned16(-32768)), {0x80, 0x00}, 16, IS(v.GetAsSigned16() == -32768)},
      {CALL(SetAsFloat16(21.5)), {0x0C, 0x33}, 16, IS(v.GetAsFloat16() == 21.5)},
      {CALL(SetAsUnsigned32(0x12345678)), {0x12, 0x34, 0x56, 0x78}, 32,
       IS(v.GetAsUnsigned32() == 0x12345678u)},
      {CALL(SetAsSigned32(-2)), {0xFF, 0xFF, 0xFF, 0xFE}, 32, IS(v.GetAsSigned32() == -2)},
      {CALL(SetAsFloat32(-2.5F)), {0xC0, 0x20, 0x00, 0x00}, 32, IS(v.GetAsFloat32() == -2.5F)},
      {CALL(SetAsDate(1, 1, 1990)), {0x01, 0x01, 0x5A}, 24, IS(DateOf(v) == "1.1.1990")},
      {CALL(SetAsDate(31, 12, 2089)), {0x1F, 0x0C, 0x59}, 24, IS(DateOf(v) == "31.12.2089")},
      {CALL(SetAsTimeOfDay(23, 59, 58, GroupValue::Sunday)), {0xF7, 0x3B, 0x3A}, 24,
       IS(TimeOf(v) == "23:59:58 day 7")},
      {CALL(SetAsString14("KNX")), {'K', 'N', 'X', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 112,
       IS(v.GetAsString14() == "KNX")},
      {CALL(SetAsString14("ABCDEFGHIJKLMNOPQ")), Bytes(std::begin("ABCDEFGHIJKLMN"),
       std::begin("ABCDEFGHIJKLMN") + 14), 112, IS(v.GetAsString14() == "ABCDEFGHIJKLMN")},
  };
  for (const auto& e : encodings) {
    SCOPED_TRACE(e.call);
    GroupValue value; // written over a longer value: nothing of it may remain
    value.SetAsString14("previous value");
    e.set(value);
    EXPECT_EQ(value.GetRawData().GetBytes(), e.bytes);
    EXPECT_EQ(value.GetDefinedSize(), e.definedSize);
    EXPECT_TRUE(e.readsBack(value));
  }
}

TEST(GroupValue, GettersDecodeForeignBytes) {
  const struct {
    Bytes bytes;
    bool (*decodes)(const GroupValue&);
  } cases[] = {
      {{0xFE}, IS(!v.GetAsBoolean() && v.GetAsUnsigned2() == 2 && v.GetAsUnsigned3() == 6)},
      {{0xF5}, IS(v.GetAsUnsigned4() == 5)},
      {{0x12, 0x34, 0x56}, IS(v.GetAsUnsigned16() == 0x1234)}, // longer: first bytes
      {{0x01, 0x01, 0x63}, IS(DateOf(v) == "1.1.1999")},
      {{0x01, 0x01, 0x00}, IS(DateOf(v) == "1.1.2000")},
      {{0xE1, 0xF2, 0xD9}, IS(DateOf(v) == "1.2.2089")}, // reserved bits ignored
      {{0x01, 0x01, 0x64}, IS(DateOf(v) == "1.1.2100")}, // unused year stays out of range
      {{0xFF, 0xFF, 0xFF}, IS(TimeOf(v) == "31:63:63 day 7")},
      {{'A', 0, 'B', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, IS(v.GetAsString14() == "A")},
      {Bytes(15, 'x'), IS(v.GetAsString14() == std::string(14, 'x'))},
  };
  for (const auto& c : cases) {
    EXPECT_TRUE(c.decodes(FromBytes(c.bytes))) << BinaryData(c.bytes).ToString();
  }
}

TEST(GroupValue, GettersRaiseWhenTheValueHoldsTooFewBytes) {
#define READ(getter, args) #getter, [](const GroupValue& v) { static_cast<void>(v.getter args); }
  const struct {
    const char* getter;
    void (*read)(const GroupValue&);
    unsigned int needed;
  } getters[] = {
      {READ(GetAsBoolean, ()), 1},    {READ(GetAsUnsigned2, ()), 1},  {READ(GetAsUnsigned3, ()), 1},
      {READ(GetAsUnsigned4, ()), 1},  {READ(GetAsUnsigned8, ()), 1},  {READ(GetAsSigned8, ()), 1},
      {READ(GetAsUnsigned16, ()), 2}, {READ(GetAsSigned16, ()), 2},   {READ(GetAsFloat16, ()), 2},
      {READ(GetAsUnsigned32, ()), 4}, {READ(GetAsSigned32, ()), 4},   {READ(GetAsFloat32, ()), 4},
      {READ(GetAsDate, (nullptr, nullptr, nullptr)), 3},
      {READ(GetAsTimeOfDay, (nullptr, nullptr, nullptr, nullptr)), 3},
      {READ(GetAsString14, ()), 14},
  };
#undef READ
  for (const auto& g : getters) {
    for (unsigned int size = 0; size < g.needed; ++size) {
      try {
        g.read(FromBytes(Bytes(size, 0xFF)));
        ADD_FAILURE() << g.getter << " read " << size << " byte(s) without raising";
      } catch (const GroupValueException& e) {
        EXPECT_THAT(e.what(), ::testing::StartsWith(std::string(g.getter) + ": "));
      }
    }
    EXPECT_NO_THROW(g.read(FromBytes(Bytes(g.needed, 0xFF)))) << g.getter;
  }
}

TEST(GroupValue, DateAndTimeSettersRefuseFieldsOutsideTheEncoding) {
  const auto noDay = GroupValue::NoDay;
  const struct {
    const char* call;
    void (*set)(GroupValue&);
    const char* message;
  } cases[] = {
      {CALL(SetAsDate(1, 1, 1989)), "SetAsDate: year 1989 is outside 1990..2089"},
      {CALL(SetAsDate(1, 1, 2090)), "SetAsDate: year 2090 is outside 1990..2089"},
      {CALL(SetAsDate(1, 0, 2000)), "SetAsDate: month 0 is outside 1..12"},
      {CALL(SetAsDate(1, 13, 2000)), "SetAsDate: month 13 is outside 1..12"},
      {CALL(SetAsDate(0, 1, 2000)), "SetAsDate: day 0 is outside 1..31"},
      {CALL(SetAsDate(32, 1, 2000)), "SetAsDate: day 32 is outside 1..31"},
      {CALL(SetAsTimeOfDay(-1, 0, 0, noDay)), "SetAsTimeOfDay: hour -1 is outside 0..23"},
      {CALL(SetAsTimeOfDay(24, 0, 0, noDay)), "SetAsTimeOfDay: hour 24 is outside 0..23"},
      {CALL(SetAsTimeOfDay(0, 60, 0, noDay)), "SetAsTimeOfDay: minute 60 is outside 0..59"},
      {CALL(SetAsTimeOfDay(0, 0, -1, noDay)), "SetAsTimeOfDay: second -1 is outside 0..59"},
      {CALL(SetAsTimeOfDay(0, 0, 60, noDay)), "SetAsTimeOfDay: second 60 is outside 0..59"},
      {CALL(SetAsTimeOfDay(0, 0, 0, GroupValue::DayOfWeek(8))),
       "SetAsTimeOfDay: day of week 8 is outside 0..7"},
  };
  for (const auto& c : cases) {
    GroupValue value;
    value.SetAsUnsigned16(0x1234);
    try {
      c.set(value);
      ADD_FAILURE() << c.call << " did not raise";
    } catch (const GroupValueException& e) {
      EXPECT_STREQ(e.what(), c.message);
    }
    EXPECT_EQ(value.GetAsUnsigned16(), 0x1234) << c.call << " changed the value";
  }
}

TEST(GroupValue, RawDataKeepsItsSizeAndTheShortFormRebuildsUnchanged) {
  GroupValue value;
  value.SetRawData(BinaryData(Bytes{0xFF, 0x80, 0x00}));
  EXPECT_EQ(value.GetDefinedSize(), 24u);

  GroupValue sent;
  sent.SetAsUnsigned4(0x0B);
  const GroupValue shortForm(sent.GetRawData(), 6);
  EXPECT_EQ(shortForm.GetDefinedSize(), 6u);
  EXPECT_EQ(GroupValue(shortForm.GetRawData(), 4), sent);
}

constexpr unsigned int kFarAway = 0xFFFFFFFFu; // must not wrap around in the bounds check
constexpr std::int64_t kRaises = -1;

TEST(BinaryData, ReadsBigEndianWithinTheDataOnly) {
  const Bytes five = {0x12, 0x34, 0x56, 0x78, 0x9A};
  const struct {
    int width;
    unsigned int index;
    std::int64_t expected;
  } cases[] = {
      {1, 4, 0x9A},       {1, 5, kRaises},
      {2, 3, 0x789A},     {2, 4, kRaises},       {2, kFarAway, kRaises},
      {3, 2, 0x56789A},   {3, 3, kRaises},
      {4, 1, 0x3456789A}, {4, 3, 0x789A},        {4, 4, 0x9A}, // fewer than 4: what is there
      {4, 5, kRaises},    {4, kFarAway, kRaises},
  };
  for (const auto& c : cases) {
    const BinaryData data(five);
    const auto read = [&]() -> std::uint32_t {
      switch (c.width) {
      case 1: return data.GetUInt8Value(c.index);
      case 2: return data.GetUInt16Value(c.index);
      case 3: return data.GetUInt24Value(c.index);
      default: return data.GetUInt32Value(c.index);
      }
    };
    if (c.expected == kRaises) {
      EXPECT_THROW(read(), GroupValueException) << c.width << " byte(s) at " << c.index;
    } else {
      EXPECT_EQ(read(), c.expected) << c.width << " byte(s) at " << c.index;
    }
  }
  EXPECT_EQ(BinaryData(Bytes{0xFF, 0x80, 0x00}).GetUInt32Value(0), 0x00FF8000u);
  EXPECT_THROW(BinaryData().GetUInt32Value(0), GroupValueException);
}

TEST(BinaryData, GrowsOnWriteAndPrintsUpperCaseHexPairs) {
  BinaryData data;
  EXPECT_EQ(data.ToString(), "");
  data.SetUInt8Value(3, 0xAB);
  data.SetUInt8Value(1, 0x0C);
  EXPECT_EQ(data.ToString(), "00 0C 00 AB");
}

// Short data lives inside the object, longer data on the heap: the bytes
// must survive every change between the two, copies and self-assignment.
TEST(BinaryData, KeepsItsBytesInsideTheObjectAndOnTheHeap) {
  BinaryData data;
  for (const unsigned size : {1U, 14U, 15U, 40U, 2U, 0U, 14U}) {
    Bytes bytes(size);
    for (unsigned i = 0; i < size; ++i) {
      bytes[i] = static_cast<std::uint8_t>(size * 7 + i);
    }
    data.Assign(bytes.data(), size);
    const BinaryData copy = data;
    BinaryData assigned(Bytes{0x55});
    assigned = data;
    EXPECT_EQ(data.GetBytes(), bytes) << size;
    EXPECT_EQ(copy.GetBytes(), bytes) << size;
    EXPECT_EQ(assigned.GetBytes(), bytes) << size;
  }
  data.Assign(data.GetData() + 1, 13); // its own bytes, shifted by one
  EXPECT_EQ(data.GetBytes().front(), 14 * 7 + 1);
  EXPECT_EQ(data.GetSize(), 13U);
}

TEST(BinaryData, PointerConstructorRefusesMissingData) {
  const unsigned char raw[] = {0x01, 0x02};
  EXPECT_EQ(BinaryData(raw, 2).GetBytes(), (Bytes{0x01, 0x02}));
  EXPECT_TRUE(BinaryData(nullptr, 0).IsEmpty());
  EXPECT_THROW(BinaryData(nullptr, 2), GroupValueException);
}

} // namespace
