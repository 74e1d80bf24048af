#include "ConverterTestSupport.h"

#include <limits>
#include <sstream>

namespace {

using namespace ConverterTest;
using Avo::FloatRange;

const Avo::KnxConverterFloat16BitFloat kTemperature(FloatRange(-273, 670760, -273, 670760));
const Avo::KnxConverterFloat16BitFloat kUpTo1000(FloatRange(-273, 1000, -273, 1000));
const double kMax = std::numeric_limits<float>::max();
const Avo::KnxConverterFloat32BitFloat kSingle(FloatRange(-kMax, kMax, -kMax, kMax));
const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInfinity = std::numeric_limits<double>::infinity();

std::string OutOfRange(double number) {
  std::ostringstream text;
  text << "The internal value of DPT=9.1, f=" << number << " is out of the allowed range.";
  return text.str();
}

// Every 2-byte code: no value for 0x7FFF; otherwise a number that is within
// the range and goes out again as the same number, or is refused and kept.
TEST(FloatConverters, EveryTwoByteCode) {
  AvoTest::ScopedLogCapture capture(log4cplus::ERROR_LOG_LEVEL);
  for (unsigned code = 0; code <= 0xFFFF; ++code) {
    const KnxStack::GroupValue group = Raw({Bytes::value_type(code >> 8), Bytes::value_type(code)});
    VELVALUE value(ivtFloat);
    const bool converted = kTemperature.FromKnxValue(Dpt(9, 1), group, value);
    if (code == 0x7FFF) {
      ASSERT_TRUE(converted && value.ivt == ivtNone);
      continue;
    }
    const double number = group.GetAsFloat16();
    ASSERT_EQ(value, Float(number)) << code;
    ASSERT_EQ(converted, number >= -273.0) << code;
    if (!converted) {
      ASSERT_EQ(capture.Texts(), std::vector<std::string>{OutOfRange(number)});
      capture.Clear();
      continue;
    }
    KnxStack::GroupValue back;
    ASSERT_TRUE(kTemperature.ToKnxValue(Dpt(9, 1), value, back)) << code;
    ASSERT_EQ(back.GetAsFloat16(), number) << code;
  }
}

TEST(FloatConverters, TwoByteFloat) {
  // clang-format off
  Check(std::vector<ToRow>{
      {kUpTo1000, Dpt(9, 1), Float(1000.0), "", {0x36, 0x1A}},
      {kUpTo1000, Dpt(9, 1), Float(-300.0), OutOfRange(-300.0)},
      {kUpTo1000, Dpt(9, 1), Float(kNaN), OutOfRange(kNaN)},
      {kUpTo1000, Dpt(9, 1), Float(kInfinity), OutOfRange(kInfinity)},
      {kUpTo1000, Dpt(5, 1), Integer(1), "Wrong DPT main number (9.x) or vel value type (ivtFloat)!"},
      {kUpTo1000, Dpt(5, 1), Float(21.5), "", {0x0C, 0x33}},          // a float suffices,
      {kUpTo1000, Dpt(9, 1), Integer(0), "", {0x00, 0x00}},           // so does the DPT,
      {kUpTo1000, Dpt(5, 1), Float(5000, ivtNone), "", {0x7F, 0xFF}}, // and no value
  });
  // The reader ignores the main number, keeps the caller's type and stores a refused number.
  Check(std::vector<FromRow>{
      {kUpTo1000, Dpt(5, 1), {0x0C, 0x33}, "", Float(21.5, ivtInteger), true},
      {kUpTo1000, Dpt(9, 1), {0x36, 0x40}, OutOfRange(1024.0), Float(1024.0), true},
  });
  // clang-format on
  VELVALUE value = Float(1.5);
  EXPECT_TRUE(kUpTo1000.FromKnxValue(Dpt(9, 1), Raw({0x7F, 0xFF}), value));
  EXPECT_EQ(value.ivt, ivtNone);
  EXPECT_EQ(value.dblVal, 1.5); // left alone
}

// No range: values beyond single precision go out as infinities; a NaN
// travels as the quiet NaN and comes in as no value.
TEST(FloatConverters, FourByteFloat) {
  // clang-format off
  Check(std::vector<ToRow>{
      {kSingle, Dpt(14, 1), Float(0.0, ivtNone), "", {0x7F, 0xC0, 0x00, 0x00}},
      {kSingle, Dpt(14, 1), Float(kNaN), "", {0x7F, 0xC0, 0x00, 0x00}},
      {kSingle, Dpt(3, 1), Float(-1e39), "", {0xFF, 0x80, 0x00, 0x00}},
      {kSingle, Dpt(14, 1), Integer(0), "", {0x00, 0x00, 0x00, 0x00}},
      {kSingle, Dpt(9, 1), Integer(1), "Wrong DPT main number (14.x) or vel value type (ivtFloat)!"},
  });
  Check(std::vector<FromRow>{
      {kSingle, Dpt(14, 1), {0xFF, 0x80, 0x00, 0x00}, "", Float(-kInfinity)},
      {kSingle, Dpt(14, 1), {0x3D, 0xCC, 0xCC, 0xCD}, "", Float(0.1F)},
      {kSingle, Dpt(9, 1), {0x3D, 0xCC, 0xCC, 0xCD}, "Wrong DPT main number (14.x)!"},
  });
  // clang-format on
  VELVALUE value = Float(1.5);
  EXPECT_TRUE(kSingle.FromKnxValue(Dpt(14, 1), Raw({0x7F, 0xC0, 0x00, 0x00}), value));
  EXPECT_EQ(value.ivt, ivtNone);
}

} // namespace
