#include "VelValue.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

VELVALUE Make(VelValueType type, void (*fill)(VELVALUE&)) {
  VELVALUE v(type);
  fill(v);
  return v;
}

struct ByteCase {
  VELVALUE value;
  Bytes bytes;
};

std::vector<ByteCase> FixedSizeCases() {
  return {
      {Make(ivtBool, [](VELVALUE& v) { v.byVal = 1; }), {0x01}},
      {Make(ivtBool, [](VELVALUE& v) { v.byVal = 0; }), {0x00}},
      {Make(ivtByte, [](VELVALUE& v) { v.byVal = 0xA5; }), {0xA5}},
      {Make(ivtEnumByte, [](VELVALUE& v) { v.byVal = 0xFF; }), {0xFF}},
      {Make(ivtWord, [](VELVALUE& v) { v.wVal = 0x1234; }), {0x12, 0x34}},
      {Make(ivtDWord, [](VELVALUE& v) { v.dwVal = 0x89ABCDEF; }), {0x89, 0xAB, 0xCD, 0xEF}},
      {Make(ivtQWord, [](VELVALUE& v) { v.dwVal = 1; }), {0x00, 0x00, 0x00, 0x01}},
      {Make(ivtInteger, [](VELVALUE& v) { v.lVal = -2; }), {0xFF, 0xFF, 0xFF, 0xFE}},
      {Make(ivtTimeLag, [](VELVALUE& v) { v.lVal = 0x01020304; }), {0x01, 0x02, 0x03, 0x04}},
      {Make(ivtShort, [](VELVALUE& v) { v.lVal = -32768; }), {0x80, 0x00}},
      {Make(ivtShort, [](VELVALUE& v) { v.lVal = 32767; }), {0x7F, 0xFF}},
      {Make(ivtFloat, [](VELVALUE& v) { v.dblVal = 21.5; }),
       {0x40, 0x35, 0x80, 0x00, 0x00, 0x00, 0x00, 0x00}},
      {Make(ivtPercent, [](VELVALUE& v) { v.dblVal = -0.0; }),
       {0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00}},
      {Make(ivtAngle, [](VELVALUE& v) { v.dblVal = 1.0; }),
       {0x3F, 0xF0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00}},
      {Make(ivtData40, [](VELVALUE& v) { v.strVal = std::string("\x00\x01\x02\x03\xFF", 5); }),
       {0x00, 0x01, 0x02, 0x03, 0xFF}},
      {Make(ivtString, [](VELVALUE& v) { v.strVal = "K\xC3\xBC"; }), {'K', 0xC3, 0xBC}},
      {Make(ivtByteArray, [](VELVALUE& v) { v.strVal = std::string("\x00\x80", 2); }), {0x00, 0x80}},
      {Make(ivtStepBytes, [](VELVALUE& v) { v.strVal = "\x0B"; }), {0x0B}},
  };
}

TEST(VelValueBytes, EachTypeWritesItsBigEndianLayoutAndReadsItBack) {
  for (const ByteCase& c : FixedSizeCases()) {
    const std::string name = c.value.ToString();
    Bytes buffer(c.bytes.size() + 3, 0xEE);
    unsigned int size = static_cast<unsigned int>(buffer.size());
    ASSERT_TRUE(VelValueToByteArray(c.value, buffer.data(), size)) << name;
    ASSERT_EQ(size, c.bytes.size()) << name;
    EXPECT_EQ(Bytes(buffer.begin(), buffer.begin() + size), c.bytes) << name;
    EXPECT_EQ(buffer[size], 0xEE) << name; // nothing written beyond the form

    VELVALUE read(c.value.ivt);
    ASSERT_TRUE(ByteArrayToVelValue(c.bytes.data(), size, read, false)) << name;
    EXPECT_EQ(read, c.value) << name;
  }
}

TEST(VelValueBytes, TooSmallBufferFailsAndTouchesNothing) {
  for (const ByteCase& c : FixedSizeCases()) {
    Bytes buffer(c.bytes.size(), 0xEE);
    unsigned int size = static_cast<unsigned int>(c.bytes.size()) - 1;
    EXPECT_FALSE(VelValueToByteArray(c.value, buffer.data(), size)) << c.value;
    EXPECT_EQ(size, c.bytes.size() - 1) << c.value;
    EXPECT_EQ(buffer, Bytes(c.bytes.size(), 0xEE)) << c.value;
  }
}

TEST(VelValueBytes, WrongSizeOfAFixedLayoutIsRefusedAndLeavesTheValue) {
  const Bytes data(9, 0x11);
  for (const ByteCase& c : FixedSizeCases()) {
    const VelValueType type = c.value.ivt;
    if (type == ivtString || type == ivtByteArray || type == ivtStepBytes) {
      continue; // any length is a value of these
    }
    for (const auto size : {c.bytes.size() - 1, c.bytes.size() + 1}) {
      VELVALUE read = c.value;
      EXPECT_FALSE(ByteArrayToVelValue(data.data(), static_cast<unsigned int>(size), read, false))
          << c.value << " size " << size;
      EXPECT_EQ(read, c.value);
    }
  }
}

TEST(VelValueBytes, TypesWithoutByteFormFailBothWays) {
  VELVALUE shortOutOfRange(ivtShort);
  shortOutOfRange.lVal = 32768;
  VELVALUE data40TooShort(ivtData40);
  data40TooShort.strVal = "1234";
  std::vector<VELVALUE> values = {VELVALUE(), VELVALUE(ivtNone), VELVALUE(static_cast<VelValueType>(999)),
                                  shortOutOfRange, data40TooShort};
  for (const VelValueType type : {ivtDate, ivtTime, ivtDateTime, ivtDayTime, ivtTimestamp,
                                  ivtTimeSpan, ivtDayDate, ivtUtcDateTime}) {
    values.emplace_back(type);
  }
  unsigned char buffer[24] = {};
  for (const VELVALUE& value : values) {
    unsigned int size = sizeof buffer;
    EXPECT_FALSE(VelValueToByteArray(value, buffer, size)) << value;
    EXPECT_EQ(size, sizeof buffer);
    if (value.ivt != ivtShort && value.ivt != ivtData40) {
      VELVALUE read = value;
      EXPECT_FALSE(ByteArrayToVelValue(buffer, 3, read, false)) << value;
    }
  }
}

TEST(VelValueBytes, ShortFormTakesTheLowBitIntoOneByteTypesOnly) {
  const struct {
    VelValueType type;
    unsigned char byte;
    unsigned int size;
    bool read;
    std::uint8_t value;
  } cases[] = {
      {ivtBool, 0xFE, 1, true, 0}, {ivtBool, 0x81, 1, true, 1}, {ivtByte, 0x03, 1, true, 1},
      {ivtEnumByte, 0x02, 1, true, 0}, {ivtBool, 0x01, 2, false, 0}, {ivtWord, 0x01, 1, false, 0},
      {ivtString, 0x01, 1, false, 0}, {ivtFloat, 0x01, 1, false, 0},
  };
  for (const auto& c : cases) {
    const unsigned char data[2] = {c.byte, 0};
    VELVALUE value(c.type);
    value.byVal = 0x55;
    EXPECT_EQ(ByteArrayToVelValue(data, c.size, value, true), c.read) << value;
    EXPECT_EQ(value.byVal, c.read ? c.value : 0x55) << value;
  }
  // Without the short form a boolean byte is true for any bit set.
  const unsigned char two = 0x02;
  VELVALUE boolean(ivtBool);
  ASSERT_TRUE(ByteArrayToVelValue(&two, 1, boolean, false));
  EXPECT_EQ(boolean.byVal, 1);
}

TEST(VelValueBytes, EmptyAndNullBuffersNeverReadOrWrite) {
  VELVALUE text(ivtString);
  unsigned int size = 0;
  EXPECT_TRUE(VelValueToByteArray(text, nullptr, size));
  EXPECT_EQ(size, 0u);
  text.strVal = "x";
  size = 4;
  EXPECT_FALSE(VelValueToByteArray(text, nullptr, size));
  VELVALUE byte(ivtByte);
  EXPECT_FALSE(VelValueToByteArray(byte, nullptr, size));
  EXPECT_FALSE(ByteArrayToVelValue(nullptr, 1, byte, false));
  EXPECT_FALSE(ByteArrayToVelValue(nullptr, 0, byte, false));
  ASSERT_TRUE(ByteArrayToVelValue(nullptr, 0, text, false));
  EXPECT_EQ(text.strVal, "");
}

} // namespace
