#include "KnxStack/GroupValue.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

namespace {

using KnxStack::BinaryData;
using KnxStack::GroupValueException;
using Bytes = std::vector<std::uint8_t>;

enum class Read { UInt8, UInt16, UInt24, UInt32 };

std::uint32_t ReadAt(const BinaryData& data, Read read, unsigned int index) {
  switch (read) {
  case Read::UInt8: return data.GetUInt8Value(index);
  case Read::UInt16: return data.GetUInt16Value(index);
  case Read::UInt24: return data.GetUInt24Value(index);
  case Read::UInt32: return data.GetUInt32Value(index);
  }
  return 0;
}

TEST(BinaryData, ReadsBigEndianAndFourByteReadsTakeWhatIsThere) {
  const struct {
    Bytes bytes;
    Read read;
    unsigned int index;
    std::uint32_t expected;
  } cases[] = {
      {{0x12, 0x34}, Read::UInt8, 1, 0x34},
      {{0x12, 0x34, 0x56}, Read::UInt16, 1, 0x3456},
      {{0x12, 0x34, 0x56, 0x78}, Read::UInt24, 1, 0x345678},
      {{0x12, 0x34, 0x56, 0x78, 0x9A}, Read::UInt32, 1, 0x3456789A},
      {{0xFF, 0x80, 0x00}, Read::UInt32, 0, 0x00FF8000},
      {{0x12, 0x34, 0x56}, Read::UInt32, 2, 0x56},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ReadAt(BinaryData(c.bytes), c.read, c.index), c.expected)
        << BinaryData(c.bytes).ToString() << " at " << c.index;
  }
}

TEST(BinaryData, ReadsPastTheEndRaise) {
  const unsigned int farAway = std::numeric_limits<unsigned int>::max();
  const struct {
    Bytes bytes;
    Read read;
    unsigned int index;
  } cases[] = {
      {{}, Read::UInt8, 0},           {{0x12}, Read::UInt8, 1},
      {{0x12}, Read::UInt16, 0},      {{0x12, 0x34}, Read::UInt16, farAway},
      {{0x12, 0x34}, Read::UInt24, 0}, {{0x12, 0x34, 0x56}, Read::UInt24, 1},
      {{}, Read::UInt32, 0},          {{0x12, 0x34}, Read::UInt32, 2},
      {{0x12, 0x34}, Read::UInt32, farAway},
  };
  for (const auto& c : cases) {
    EXPECT_THROW(ReadAt(BinaryData(c.bytes), c.read, c.index), GroupValueException)
        << BinaryData(c.bytes).ToString() << " at " << c.index;
  }
}

TEST(BinaryData, SetUInt8ValueGrowsWithZeroBytes) {
  BinaryData data;
  data.SetUInt8Value(3, 0xAB);
  EXPECT_EQ(data.GetBytes(), (Bytes{0x00, 0x00, 0x00, 0xAB}));
  data.SetUInt8Value(1, 0x01);
  EXPECT_EQ(data.GetBytes(), (Bytes{0x00, 0x01, 0x00, 0xAB}));
}

TEST(BinaryData, ToStringGivesUpperCaseHexPairs) {
  EXPECT_EQ(BinaryData().ToString(), "");
  EXPECT_EQ(BinaryData(Bytes{0x0C, 0x33}).ToString(), "0C 33");
  EXPECT_EQ(BinaryData(Bytes{0x00, 0xFF, 0xA5}).ToString(), "00 FF A5");
}

TEST(BinaryData, PointerConstructorCopiesAndRefusesMissingData) {
  const unsigned char raw[] = {0x01, 0x02};
  EXPECT_EQ(BinaryData(raw, 2).GetBytes(), (Bytes{0x01, 0x02}));
  EXPECT_TRUE(BinaryData(nullptr, 0).IsEmpty());
  EXPECT_THROW(BinaryData(nullptr, 2), GroupValueException);
}

} // namespace
