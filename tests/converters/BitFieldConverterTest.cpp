#include "ConverterTestSupport.h"

namespace {

using namespace ConverterTest;

const Avo::KnxConverter1Bit kOneBit;
const Avo::KnxConverter2Bit kTwoBit;
const Avo::KnxConverter4Bit kFourBit(Avo::FloatIntegerRange(-100.0, 100.0, 0, 15));

// Every value of each field goes out and comes back unchanged.
TEST(BitFieldConverters, EveryRawValueRoundTrips) {
  struct Field {
    const KnxConverter& converter;
    KNXDPT dpt;
    unsigned count;
    VELVALUE (*make)(unsigned);
  };
  VELVALUE (*boolean)(unsigned) = [](unsigned raw) { return Bool(raw != 0); };
  for (const Field& field :
       {Field{kOneBit, Dpt(1, 1), 2, boolean}, Field{kTwoBit, Dpt(2, 1), 4, &Byte},
        Field{kFourBit, Dpt(3, 7), 16, &Byte}}) {
    for (unsigned raw = 0; raw < field.count; ++raw) {
      KnxStack::GroupValue group;
      ASSERT_TRUE(field.converter.ToKnxValue(field.dpt, field.make(raw), group)) << raw;
      VELVALUE back(field.make(0).ivt);
      ASSERT_TRUE(field.converter.FromKnxValue(field.dpt, group, back)) << raw;
      EXPECT_EQ(back, field.make(raw));
    }
  }
}

// Refusals leave the group value and the record as they were.
TEST(BitFieldConverters, Refusals) {
  const std::string twoBit = "Wrong vel value type (ivtByte) or DPT main number (2.x)!";
  const std::string fourBit = "Wrong vel value type (ivtByte) or DPT main number (3.x)!";
  // clang-format off
  Check(std::vector<ToRow>{
      {kTwoBit, Dpt(1, 1), Byte(1), twoBit},
      {kTwoBit, Dpt(2, 1), Bool(true), twoBit},
      {kFourBit, Dpt(5, 1), Byte(1), fourBit},
      {kFourBit, Dpt(3, 7), Float(1.0), fourBit},
      {kFourBit, Dpt(3, 7), Byte(16), "Value out of raw range [0..15]: 16"},
  });
  Check(std::vector<FromRow>{
      {kTwoBit, Dpt(3, 1), {1}, "Wrong DPT main number (2.x)!", VELVALUE(ivtQWord)},
      {kFourBit, Dpt(2, 1), {1}, "Wrong DPT main number (3.x)!", VELVALUE(ivtQWord)},
  });
  // clang-format on
  // The 1-bit converter refuses without a line.
  AvoTest::ScopedLogCapture capture(log4cplus::ERROR_LOG_LEVEL);
  KnxStack::GroupValue group = Raw(kUntouched);
  VELVALUE value = Byte(7);
  EXPECT_FALSE(kOneBit.ToKnxValue(Dpt(2, 1), Bool(true), group));
  EXPECT_FALSE(kOneBit.ToKnxValue(Dpt(1, 1), Byte(1), group));
  EXPECT_FALSE(kOneBit.FromKnxValue(Dpt(2, 1), Raw({1}), value));
  EXPECT_EQ(BytesOf(group), kUntouched);
  EXPECT_EQ(value, Byte(7));
  EXPECT_TRUE(capture.Lines().empty());
}

TEST(BitFieldConverters, KeptQuirks) {
  // The 2-bit setter gets bytes above 3 unchecked and keeps their low bits.
  KnxStack::GroupValue group, expected;
  expected.SetAsUnsigned2(7);
  EXPECT_TRUE(kTwoBit.ToKnxValue(Dpt(2, 1), Byte(7), group));
  EXPECT_EQ(group, expected);
  // The 2-bit reader sets the type; the 1-bit and 4-bit readers only the data.
  // clang-format off
  Check(std::vector<FromRow>{
      {kTwoBit, Dpt(2, 1), BytesOf(group), "", Byte(3)},
      {kOneBit, Dpt(1, 1), {1}, "", Make(ivtFloat, &VELVALUE::byVal, 1), true},
      {kFourBit, Dpt(3, 1), {9}, "", Make(ivtFloat, &VELVALUE::byVal, 9), true},
  });
  // clang-format on
}

} // namespace
