#include "KnxStack/GroupValue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <iomanip>
#include <limits>
#include <string>
#include <vector>

namespace {

using KnxStack::BinaryData;
using KnxStack::GroupValue;
using KnxStack::GroupValueException;
using Bytes = std::vector<std::uint8_t>;

// Table rows carry the text of the call they make, for the failure message.
#define CALL(call) (#call), [](GroupValue& v) { v.call; }
#define IS(expr) [](const GroupValue& v) { return expr; }
const char abc[] = "ABCDEFGHIJKLMNOPQ";
const Bytes knx = {'K', 'N', 'X', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
constexpr auto Sunday = GroupValue::Sunday;

GroupValue FromBytes(const Bytes& b) {
  return GroupValue(BinaryData(b), 8 * static_cast<unsigned int>(b.size()));
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
  const auto text = std::to_string(hour) + ":" + std::to_string(minute) + ":";
  return text + std::to_string(second) + " " + std::to_string(day); // day of week last
}

// Each call is made over a longer value, of which nothing may remain; rows
// without a call set their bytes as raw data, which keeps 8 bits a byte.
// Getters read the first bytes of a longer value and ignore the reserved
// bits; two-digit years 90-99 are 19xx, the others 20xx.
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
      {CALL(SetAsUnsigned32(0x01020304)), {1, 2, 3, 4}, 32, IS(v.GetAsUnsigned32() == 0x01020304)},
      {CALL(SetAsSigned32(-2)), {0xFF, 0xFF, 0xFF, 0xFE}, 32, IS(v.GetAsSigned32() == -2)},
      {CALL(SetAsFloat32(-2.5F)), {0xC0, 0x20, 0, 0}, 32, IS(v.GetAsFloat32() == -2.5F)},
      {CALL(SetAsDate(1, 1, 1990)), {0x01, 0x01, 0x5A}, 24, IS(DateOf(v) == "1.1.1990")},
      {CALL(SetAsDate(31, 12, 2089)), {0x1F, 0x0C, 0x59}, 24, IS(DateOf(v) == "31.12.2089")},
      {CALL(SetAsTimeOfDay(23, 59, 58, Sunday)), {0xF7, 59, 58}, 24, IS(TimeOf(v) == "23:59:58 7")},
      {CALL(SetAsString14("KNX")), knx, 112, IS(v.GetAsString14() == "KNX")},
      {CALL(SetAsString14("ABCDEFGHIJKLMNOPQ")), Bytes(abc, abc + 14), 112,
       IS(v.GetAsString14() == "ABCDEFGHIJKLMN")},
      {"SetRawData", nullptr, {0xFE}, 8, IS(!v.GetAsBoolean() && v.GetAsUnsigned3() == 6)},
      {"SetRawData", nullptr, {0xF5}, 8, IS(v.GetAsUnsigned4() == 5)},
      {"SetRawData", nullptr, {0x12, 0x34, 0x56}, 24, IS(v.GetAsUnsigned16() == 0x1234)},
      {"SetRawData", nullptr, {1, 1, 0x63}, 24, IS(DateOf(v) == "1.1.1999")},
      {"SetRawData", nullptr, {0xE1, 0xF2, 0xD9}, 24, IS(DateOf(v) == "1.2.2089")},
      {"SetRawData", nullptr, {1, 1, 0x64}, 24, IS(DateOf(v) == "1.1.2100")}, // unused years
      {"SetRawData", nullptr, {0xFF, 0xFF, 0xFF}, 24, IS(TimeOf(v) == "31:63:63 7")}};
  for (const auto& e : encodings) {
    SCOPED_TRACE(e.call);
    GroupValue value;
    value.SetAsString14("previous value");
    e.set ? e.set(value) : value.SetRawData(BinaryData(e.bytes));
    EXPECT_EQ(value.GetRawData().GetBytes(), e.bytes);
    EXPECT_EQ(value.GetDefinedSize(), e.definedSize);
    EXPECT_TRUE(e.readsBack(value));
  }
  EXPECT_EQ(GroupValue(BinaryData(Bytes{0x0B}), 6).GetDefinedSize(), 6u); // the bus's short form
  EXPECT_EQ(FromBytes({'A', 0, 'B', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}).GetAsString14(), "A");
  EXPECT_EQ(FromBytes(Bytes(15, 'x')).GetAsString14(), std::string(14, 'x'));
}

TEST(GroupValue, GettersRaiseWhenTheValueHoldsTooFewBytes) {
#define READ(getter, args) #getter, [](const GroupValue& v) { static_cast<void>(v.getter args); }
  // clang-format off
  const struct {
    const char* getter;
    void (*read)(const GroupValue&);
    unsigned int needed;
  } getters[] = {
      {READ(GetAsBoolean, ()), 1},    {READ(GetAsUnsigned2, ()), 1},  {READ(GetAsUnsigned3, ()), 1},
      {READ(GetAsUnsigned4, ()), 1},  {READ(GetAsUnsigned8, ()), 1},  {READ(GetAsSigned8, ()), 1},
      {READ(GetAsUnsigned16, ()), 2}, {READ(GetAsSigned16, ()), 2},   {READ(GetAsFloat16, ()), 2},
      {READ(GetAsUnsigned32, ()), 4}, {READ(GetAsSigned32, ()), 4},   {READ(GetAsFloat32, ()), 4},
      {READ(GetAsDate, (nullptr, nullptr, nullptr)), 3},              {READ(GetAsString14, ()), 14},
      {READ(GetAsTimeOfDay, (nullptr, nullptr, nullptr, nullptr)), 3}};
  // clang-format on
#undef READ
  for (const auto& g : getters) {
    for (unsigned int size = 0; size < g.needed; ++size) {
      const std::string message = std::string(g.getter) + ": the encoding needs " +
                                  std::to_string(g.needed) + " byte(s), but the value holds " +
                                  std::to_string(size);
      EXPECT_THAT([&] { g.read(FromBytes(Bytes(size, 0xFF))); },
                  ::testing::ThrowsMessage<GroupValueException>(::testing::StrEq(message)));
    }
  }
}

// The value is left as it was.
TEST(GroupValue, DateAndTimeSettersRefuseFieldsOutsideTheEncoding) {
  const auto noDay = GroupValue::NoDay;
  const struct {
    const char* call;
    void (*set)(GroupValue&);
    const char* message;
  } cases[] = {
      {CALL(SetAsDate(1, 1, 1989)), "SetAsDate: year 1989 is outside 1990..2089"},
      {CALL(SetAsDate(1, 1, 2090)), "SetAsDate: year 2090 is outside 1990..2089"},
      {CALL(SetAsDate(1, 13, 2000)), "SetAsDate: month 13 is outside 1..12"},
      {CALL(SetAsDate(32, 1, 2000)), "SetAsDate: day 32 is outside 1..31"},
      {CALL(SetAsTimeOfDay(24, 0, 0, noDay)), "SetAsTimeOfDay: hour 24 is outside 0..23"},
      {CALL(SetAsTimeOfDay(0, 60, 0, noDay)), "SetAsTimeOfDay: minute 60 is outside 0..59"},
      {CALL(SetAsTimeOfDay(0, 0, 0, GroupValue::DayOfWeek(8))),
       "SetAsTimeOfDay: day of week 8 is outside 0..7"}};
  for (const auto& c : cases) {
    GroupValue value = FromBytes({0x12, 0x34});
    EXPECT_THAT([&] { c.set(value); },
                ::testing::ThrowsMessage<GroupValueException>(::testing::StrEq(c.message)));
    EXPECT_EQ(value, FromBytes({0x12, 0x34})) << c.call;
  }
}

// Fewer than 4 bytes from the index read as one number of what is there;
// no byte at the index raises, also where index + width would wrap around.
// Storage, copies and the switch between inline and heap bytes are the small
// vector's; Assign may be handed the data's own bytes.
TEST(BinaryData, ReadsBigEndianWithinTheDataOnly) {
  const BinaryData data(Bytes{0x12, 0x34, 0x56, 0x78, 0x9A});
  EXPECT_TRUE(data.GetUInt24Value(2) == 0x56789A && data.GetUInt32Value(1) == 0x3456789A);
  EXPECT_EQ(data.GetUInt32Value(3), 0x789Au);
  EXPECT_EQ(BinaryData(Bytes{0xFF, 0x80, 0x00}).GetUInt32Value(0), 0x00FF8000u);
  for (const unsigned int index : {5U, 0xFFFFFFFFU}) {
    EXPECT_THROW(data.GetUInt8Value(index), GroupValueException);
    EXPECT_THROW(data.GetUInt32Value(index), GroupValueException);
  }
  EXPECT_THROW(data.GetUInt16Value(4), GroupValueException);
  EXPECT_THROW(data.GetUInt24Value(3), GroupValueException);
  EXPECT_THROW(BinaryData().GetUInt32Value(0), GroupValueException);
  const unsigned char raw[] = {0x01, 0x02};
  EXPECT_TRUE(BinaryData(raw, 2).GetBytes() == Bytes({0x01, 0x02}) &&
              BinaryData(nullptr, 0).IsEmpty());
  EXPECT_THROW(BinaryData(nullptr, 2), GroupValueException); // no data behind the size
  BinaryData own(Bytes{1, 2, 3, 4});
  own.Assign(own.GetData() + 1, 2); // its own bytes, shifted by one
  EXPECT_EQ(own.GetBytes(), Bytes({2, 3}));
}

std::uint16_t Encode(double value) {
  GroupValue groupValue;
  groupValue.SetAsFloat16(value);
  return groupValue.GetAsUnsigned16();
}
double Decode(unsigned int c) {
  return FromBytes({Bytes::value_type(c >> 8), Bytes::value_type(c)}).GetAsFloat16();
}

// The smallest exponent whose mantissa, rounded to nearest with ties to even,
// fits; 0x7FFF is the invalid-data code, finite values beyond the range
// saturate.
TEST(KnxFloat16, EncodesAtTheSmallestExponentRoundingTiesToEvenAndSaturates) {
  const double inf = std::numeric_limits<double>::infinity(),
               nan = std::numeric_limits<double>::quiet_NaN();
  const struct {
    double value;
    std::uint16_t code;
  } cases[] = {{42.5, 0x1426},       {500.0, 0x2E1A},   {-1000.0, 0xB1E6},
               {0.375, 0x0026},      {-20.485, 0x8000}, // ties
               {20.48, 0x0C00},      {21.5, 0x0C33},    {-0.001, 0x0000},
               {-0.01, 0x87FF},      {20.477, 0x0C00}, // rounds out
               {32767.0, 0x7FFF},    {nan, 0x7FFF},     {32766.99, 0x5E40},
               {670433.28, 0x7FFE},  {1e300, 0x7FFE},   {inf, 0x7FFE},
               {-671088.64, 0xF800}, {-1e300, 0xF800},  {-inf, 0xF800}};
  for (const auto& c : cases) {
    EXPECT_EQ(Encode(c.value), c.code) << std::setprecision(17) << c.value;
  }
  EXPECT_TRUE(Decode(0x0C00) == 20.48 && Decode(0x7FFE) == 670433.28 &&
              Decode(0xF800) == -671088.64);
  EXPECT_EQ(Decode(0x7FFF), 32767.0);
}

// Every code decodes to a value that encodes back to a code of that same
// value; a code in its shortest form (no smaller exponent holds the value)
// comes back as the very same code.
TEST(KnxFloat16, EveryCodeSurvivesARoundTrip) {
  for (unsigned int code = 0; code <= 0xFFFF; ++code) {
    const int exponent = static_cast<int>(code >> 11) & 0x0F;
    const int mantissa = static_cast<int>(code & 0x7FF) - ((code & 0x8000) != 0 ? 2048 : 0);
    const bool shortest = exponent == 0 || mantissa >= 1024 || mantissa < -1024;
    const double value = Decode(code);
    const std::uint16_t again = Encode(value);
    if (code != 0x7FFF) { // the invalid-data code
      ASSERT_EQ(Decode(again), value) << "code " << code;
      ASSERT_TRUE(!shortest || again == code) << "code " << code;
    }
  }
}

} // namespace
