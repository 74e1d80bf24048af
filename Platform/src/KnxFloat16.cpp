#include "KnxFloat16.h"

#include <cmath> // std::isnan

namespace KnxStack {
namespace {

// Layout of the 16 bits: M EEEE MMM MMMMMMMM. value = 0.01 * M * 2^E, with M
// a 12-bit two's complement mantissa whose sign bit is the top bit of the word.
constexpr int kMaxExponent = 15;
constexpr int kMinMantissa = -2048;
constexpr int kMaxMantissa = 2047;
// The largest positive code, 0x7FFF, is taken by "invalid data", so the top
// exponent stops one mantissa step earlier.
constexpr int kMaxMantissaAtMaxExponent = 2046;

constexpr std::uint16_t Pack(int mantissa, int exponent) {
  const unsigned int bits = static_cast<unsigned int>(mantissa) & 0xFFFu;
  return static_cast<std::uint16_t>((bits & 0x800u) << 4 |
                                    static_cast<unsigned int>(exponent) << 11 | (bits & 0x7FFu));
}

constexpr std::uint16_t kLargestCode = Pack(kMaxMantissaAtMaxExponent, kMaxExponent); // 0x7FFE
constexpr std::uint16_t kSmallestCode = Pack(kMinMantissa, kMaxExponent);             // 0xF800

// Rounds to nearest, ties to even, whatever the floating-point rounding mode;
// x lies within a few thousand of zero, so every step is exact.
int RoundHalfToEven(double x) {
  const int truncated = static_cast<int>(x);
  const int lower = truncated - (x < truncated ? 1 : 0);
  const double fraction = x - lower;
  const bool up = fraction > 0.5 || (fraction == 0.5 && (lower & 1) != 0);
  return up ? lower + 1 : lower;
}

} // namespace

std::uint16_t EncodeKnxFloat16(double value) noexcept {
  if (std::isnan(value) || value == kKnxFloat16InvalidValue) {
    return kKnxFloat16InvalidCode;
  }
  const double scaled = value * 100.0;
  // The rounded mantissa lies in -2048..2047 exactly when scaled / 2^E lies in
  // [-2048.5, 2047.5): -2048.5 rounds to the even -2048, 2047.5 to 2048. Testing
  // against these bounds picks the smallest exponent, and a mantissa that
  // rounding would push out of range moves on to the next exponent.
  double upper = kMaxMantissa + 0.5;
  double lower = kMinMantissa - 0.5;
  double step = 1.0;
  for (int exponent = 0; exponent <= kMaxExponent; ++exponent) {
    if (scaled >= lower && scaled < upper) {
      const int mantissa = RoundHalfToEven(scaled * step);
      if (exponent == kMaxExponent && mantissa > kMaxMantissaAtMaxExponent) {
        return kLargestCode;
      }
      return Pack(mantissa, exponent);
    }
    upper *= 2.0;
    lower *= 2.0;
    step *= 0.5;
  }
  return scaled > 0.0 ? kLargestCode : kSmallestCode;
}

double DecodeKnxFloat16(std::uint16_t code) noexcept {
  if (code == kKnxFloat16InvalidCode) {
    return kKnxFloat16InvalidValue;
  }
  int mantissa = code & 0x7FF;
  if ((code & 0x8000) != 0) {
    mantissa -= 2048;
  }
  const int exponent = (code >> 11) & 0x0F;
  // Dividing the exact integer M * 2^E by 100 gives the double nearest to the
  // true value (0x0C33 reads as exactly 21.5, 0x0C00 as the double 20.48).
  return static_cast<double>(mantissa * (1 << exponent)) / 100.0;
}

} // namespace KnxStack
