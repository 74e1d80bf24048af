#include "KnxStack/GroupValue.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iomanip>
#include <limits>

namespace {

using KnxStack::GroupValue;

std::uint16_t Encode(double value) {
  GroupValue groupValue;
  groupValue.SetAsFloat16(value);
  return groupValue.GetAsUnsigned16();
}

double Decode(std::uint16_t code) {
  GroupValue groupValue;
  groupValue.SetAsUnsigned16(code);
  return groupValue.GetAsFloat16();
}

TEST(KnxFloat16, EncodesAtTheSmallestExponentRoundingTiesToEvenAndSaturates) {
  const double inf = std::numeric_limits<double>::infinity();
  const struct {
    double value;
    std::uint16_t code;
  } cases[] = {
      {42.5, 0x1426},    {500.0, 0x2E1A}, {-1000.0, 0xB1E6}, // ties: 1062, 1562, -1562
      {0.125, 0x000C},   {0.375, 0x0026},                     // ties: 12, 38
      {20.48, 0x0C00},   {21.5, 0x0C33},  {-0.001, 0x0000},  {-0.0, 0x0000}, {-0.01, 0x87FF},
      {20.47, 0x07FF},   {-20.48, 0x8000},                    // mantissa limits at exponent 0
      {-20.485, 0x8000},                                      // -2048.5: tie to -2048
      {20.477, 0x0C00},                                       // 2047.7 rounds out: exponent 1
      {32767.0, 0x7FFF}, {std::numeric_limits<double>::quiet_NaN(), 0x7FFF},
      {32766.99, 0x5E40},
      {670433.28, 0x7FFE}, {670760.96, 0x7FFE}, {1e300, 0x7FFE}, {inf, 0x7FFE},
      {-671088.64, 0xF800}, {-671252.0, 0xF800}, {-1e300, 0xF800}, {-inf, 0xF800},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Encode(c.value), c.code) << std::setprecision(17) << c.value;
  }
  EXPECT_EQ(Decode(0x0C00), 20.48);
  EXPECT_EQ(Decode(0x7FFE), 670433.28);
  EXPECT_EQ(Decode(0xF800), -671088.64);
  EXPECT_EQ(Decode(0x7FFF), 32767.0);
}

// Every code decodes to a value that encodes back to a code of that same
// value; a code in its shortest form (no smaller exponent holds the value)
// comes back as the very same code.
TEST(KnxFloat16, EveryCodeSurvivesARoundTrip) {
  for (unsigned int code = 0; code <= 0xFFFF; ++code) {
    if (code == 0x7FFF) {
      continue;
    }
    const int exponent = static_cast<int>(code >> 11) & 0x0F;
    const int mantissa = static_cast<int>(code & 0x7FF) - ((code & 0x8000) != 0 ? 2048 : 0);
    const bool shortest = exponent == 0 || mantissa >= 1024 || mantissa < -1024;

    const double value = Decode(static_cast<std::uint16_t>(code));
    const std::uint16_t again = Encode(value);
    ASSERT_EQ(Decode(again), value) << "code " << code;
    if (shortest) {
      ASSERT_EQ(again, code) << "code " << code;
    }
  }
}

} // namespace
