#include "ConverterTestSupport.h"

namespace {

using namespace ConverterTest;

const Avo::KnxConverterDefault kDefault;

// The byte count comes from the DPT's size (0 bits and more than 23 bytes
// allow 24); one byte goes out as a byte, more as raw data of that length.
TEST(DefaultConverter, ToKnxValue) {
  const std::string failed = "VelValueToByteArray failed. DPT=";
  // clang-format off
  Check(std::vector<ToRow>{
      {kDefault, Dpt(12, 1, 0), DWord(0x01020304), "", {1, 2, 3, 4}},
      {kDefault, Dpt(12, 1, 16), DWord(1), failed + "12.1 data size =2"},
      {kDefault, Dpt(5, 1, 1), Byte(0xAB), "", {0xAB}},
      {kDefault, Dpt(7, 1, 255), Word(0x1234), "", {0x12, 0x34}},
      {kDefault, Dpt(5, 1, 8), Bool(true), ""}, // accepted, not written
      {kDefault, Dpt(3, 7, 4), Make(ivtStepBytes, &VELVALUE::strVal, "\x0B"), "", {0x0B}},
      {kDefault, Dpt(3, 7, 4), Make(ivtByteArray, &VELVALUE::strVal, "abc"), failed + "3.7"},
  });
  // clang-format on
  for (const bool on : {false, true}) {
    KnxStack::GroupValue group, expected;
    EXPECT_TRUE(kDefault.ToKnxValue(Dpt(1, 1, 1), Bool(on), group));
    expected.SetAsBoolean(on);
    EXPECT_EQ(group, expected);
    EXPECT_TRUE(kDefault.ToKnxValue(Dpt(2, 1, 2), Bool(on), group));
    expected.SetAsUnsigned2(on ? 0x11 : 0x10);
    EXPECT_EQ(group, expected);
  }
}

// The record's type says how to decode; a failure empties the record.
TEST(DefaultConverter, FromKnxValue) {
  Check(std::vector<FromRow>{{kDefault, Dpt(7, 1), {0x12, 0x34}, "", Word(0x1234), true}});
  KnxStack::GroupValue on;
  on.SetAsBoolean(true);
  VELVALUE value = Bool(false);
  EXPECT_TRUE(kDefault.FromKnxValue(Dpt(1, 1), on, value));
  EXPECT_EQ(value, Bool(true));
  value = Word(7);
  AvoTest::ScopedLogCapture capture;
  EXPECT_FALSE(kDefault.FromKnxValue(Dpt(7, 1), Raw({0x12}), value));
  EXPECT_EQ(capture.Lines(),
            Errors("ByteArrayToVelValue failed. DPT=7.1 data size =1", "FromKnxValue"));
  EXPECT_EQ(value, VELVALUE());
}

} // namespace
