#include "VelValueSamples.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace VelTest;
using Bytes = std::vector<unsigned char>;

TEST(VelValueBytes, EachTypeHasItsBigEndianLayoutAndNeedsItsSize) {
  const struct {
    VELVALUE value;
    Bytes bytes;
  } cases[] = {
      {U8(ivtBool, 1), {0x01}},
      {U8(ivtBool, 0), {0x00}},
      {U8(ivtByte, 0xA5), {0xA5}},
      {U8(ivtEnumByte, 0xFF), {0xFF}},
      {U16(ivtWord, 0x1234), {0x12, 0x34}},
      {U32(ivtDWord, 0x89ABCDEF), {0x89, 0xAB, 0xCD, 0xEF}},
      {U32(ivtQWord, 1), {0x00, 0x00, 0x00, 0x01}},
      {Lng(ivtInteger, -2), {0xFF, 0xFF, 0xFF, 0xFE}},
      {Lng(ivtTimeLag, 0x01020304), {0x01, 0x02, 0x03, 0x04}},
      {Lng(ivtShort, -32768), {0x80, 0x00}},
      {Lng(ivtShort, 32767), {0x7F, 0xFF}},
      {Dbl(ivtFloat, 21.5), {0x40, 0x35, 0x80, 0, 0, 0, 0, 0}},
      {Dbl(ivtPercent, -0.0), {0x80, 0, 0, 0, 0, 0, 0, 0}},
      {Dbl(ivtAngle, 1.0), {0x3F, 0xF0, 0, 0, 0, 0, 0, 0}},
      {Str(ivtData40, std::string("\x00\x01\x02\x03\xFF", 5)), {0x00, 0x01, 0x02, 0x03, 0xFF}},
      {Str(ivtString, "K\xC3\xBC"), {'K', 0xC3, 0xBC}},
      {Str(ivtByteArray, std::string("\x00\x80", 2)), {0x00, 0x80}},
      {Str(ivtStepBytes, "\x0B"), {0x0B}},
  };
  const Bytes filler(10, 0x11);
  for (const auto& c : cases) {
    const unsigned int length = static_cast<unsigned int>(c.bytes.size());
    Bytes buffer(length + 3, 0xEE);
    unsigned int size = length - 1;
    EXPECT_FALSE(VelValueToByteArray(c.value, buffer.data(), size)) << c.value;
    EXPECT_EQ(size, length - 1);
    EXPECT_EQ(buffer, Bytes(length + 3, 0xEE)) << c.value; // untouched on failure
    size = length + 3;
    ASSERT_TRUE(VelValueToByteArray(c.value, buffer.data(), size)) << c.value;
    EXPECT_EQ(Bytes(buffer.begin(), buffer.begin() + size), c.bytes) << c.value;
    EXPECT_EQ(buffer[length], 0xEE) << c.value; // nothing beyond the layout

    VELVALUE read(c.value.ivt);
    ASSERT_TRUE(ByteArrayToVelValue(c.bytes.data(), length, read, false)) << c.value;
    EXPECT_EQ(read, c.value);
    if (c.value.ivt != ivtString && c.value.ivt != ivtByteArray && c.value.ivt != ivtStepBytes) {
      for (const unsigned int wrong : {length - 1, length + 1}) {
        EXPECT_FALSE(ByteArrayToVelValue(filler.data(), wrong, read, false)) << c.value << " " << wrong;
        EXPECT_EQ(read, c.value); // untouched on failure
      }
    }
  }
}

TEST(VelValueBytes, ValuesWithoutByteFormFailBothWays) {
  std::vector<VELVALUE> values = {VELVALUE(), VELVALUE(ivtNone), VELVALUE(static_cast<VelValueType>(999)),
                                  Lng(ivtShort, 32768), Lng(ivtShort, -32769), Str(ivtData40, "1234")};
  for (const VelValueType type : kTimeTypes) {
    values.emplace_back(type);
  }
  unsigned char buffer[24] = {};
  for (VELVALUE& value : values) {
    unsigned int size = sizeof buffer;
    EXPECT_FALSE(VelValueToByteArray(value, buffer, size)) << value;
    EXPECT_EQ(size, sizeof buffer);
    if (value.ivt != ivtShort && value.ivt != ivtData40) {
      EXPECT_FALSE(ByteArrayToVelValue(buffer, 3, value, false)) << value;
    }
  }
}

TEST(VelValueBytes, ShortFormTakesTheLowBitIntoOneByteTypesOnly) {
  const struct {
    VelValueType type;
    unsigned char byte;
    unsigned int size;
    bool shortForm;
    std::uint8_t result; // 0x55: refused, value untouched
  } cases[] = {
      {ivtBool, 0xFE, 1, true, 0},     {ivtBool, 0x81, 1, true, 1},     {ivtByte, 0x03, 1, true, 1},
      {ivtEnumByte, 0x02, 1, true, 0}, {ivtBool, 0x01, 2, true, 0x55},  {ivtWord, 0x01, 1, true, 0x55},
      {ivtString, 0x01, 1, true, 0x55}, {ivtFloat, 0x01, 1, true, 0x55}, {ivtBool, 0x02, 1, false, 1},
  };
  for (const auto& c : cases) {
    const unsigned char data[2] = {c.byte, 0};
    VELVALUE value = U8(c.type, 0x55);
    EXPECT_EQ(ByteArrayToVelValue(data, c.size, value, c.shortForm), c.result != 0x55) << value;
    EXPECT_EQ(value.byVal, c.result) << value;
  }
}

TEST(VelValueBytes, NullBuffersAreNeverTouched) {
  unsigned int size = 4;
  EXPECT_FALSE(VelValueToByteArray(Str(ivtString, "x"), nullptr, size));
  VELVALUE value = Str(ivtByteArray, "old");
  EXPECT_FALSE(ByteArrayToVelValue(nullptr, 1, value, false));
  ASSERT_TRUE(ByteArrayToVelValue(nullptr, 0, value, false)); // zero bytes need no buffer
  EXPECT_EQ(value.strVal, "");
}

} // namespace
