#pragma once
// The KNX 2-byte float codec behind GroupValue::SetAsFloat16/GetAsFloat16,
// defined here so that the group value's accessors inline it.

#include <cmath> // std::isnan
#include <cstdint>
#include <cstring> // std::memcpy

namespace KnxStack {

/// KNX's "invalid data" code and the value that stands for it on both sides.
constexpr std::uint16_t kKnxFloat16InvalidCode = 0x7FFF;
constexpr double kKnxFloat16InvalidValue = 32767.0;

namespace knxfloat16 {

// Layout of the 16 bits: M EEEE MMM MMMMMMMM. value = 0.01 * M * 2^E, with M
// a 12-bit two's complement mantissa whose sign bit is the top bit of the word.
constexpr int kMaxExponent = 15;
constexpr int kMinMantissa = -2048;
constexpr int kMaxMantissa = 2047;
// The largest positive code, 0x7FFF, is taken by "invalid data", so the top
// exponent stops one mantissa step earlier.
constexpr int kMaxMantissaAtMaxExponent = 2046;

constexpr double kPowersOfTwo[kMaxExponent + 1] = {1,   2,   4,    8,    16,   32,   64,    128,
                                                   256, 512, 1024, 2048, 4096, 8192, 16384, 32768};
// Exact, so that multiplying by them divides exactly.
constexpr double kInversePowersOfTwo[kMaxExponent + 1] = {
    1.0,       1.0 / 2,   1.0 / 4,    1.0 / 8,    1.0 / 16,   1.0 / 32,   1.0 / 64,    1.0 / 128,
    1.0 / 256, 1.0 / 512, 1.0 / 1024, 1.0 / 2048, 1.0 / 4096, 1.0 / 8192, 1.0 / 16384, 1.0 / 32768};

constexpr std::uint16_t Pack(int mantissa, int exponent) {
  const unsigned int bits = static_cast<unsigned int>(mantissa) & 0xFFFu;
  return static_cast<std::uint16_t>((bits & 0x800u) << 4 |
                                    static_cast<unsigned int>(exponent) << 11 | (bits & 0x7FFu));
}

constexpr std::uint16_t kLargestCode = Pack(kMaxMantissaAtMaxExponent, kMaxExponent); // 0x7FFE
constexpr std::uint16_t kSmallestCode = Pack(kMinMantissa, kMaxExponent);             // 0xF800

// Rounds to nearest, ties to even, whatever the floating-point rounding mode;
// x lies within a few thousand of zero, so every step is exact.
inline int RoundHalfToEven(double x) {
  const int truncated = static_cast<int>(x);
  const int lower = truncated - (x < truncated ? 1 : 0);
  const double fraction = x - lower;
  const bool up = fraction > 0.5 || (fraction == 0.5 && (lower & 1) != 0);
  return up ? lower + 1 : lower;
}

// The rounded mantissa of scaled / 2^E lies in -2048..2047 exactly when
// scaled / 2^E lies in [-2048.5, 2047.5): -2048.5 rounds to the even -2048,
// 2047.5 to 2048.
inline bool Fits(double scaled, int exponent) {
  return scaled >= (kMinMantissa - 0.5) * kPowersOfTwo[exponent] &&
         scaled < (kMaxMantissa + 0.5) * kPowersOfTwo[exponent];
}

// k with 2^(k-1) <= |x| < 2^k, for a normal x.
inline int BinaryExponent(double x) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, &x, sizeof bits);
  return static_cast<int>((bits >> 52) & 0x7FFu) - 1022;
}

} // namespace knxfloat16

/// The 2-byte code of value: mantissa rounded to nearest with ties to even,
/// smallest exponent; NaN and 32767.0 give 0x7FFF; values beyond the range
/// saturate to 0x7FFE (670433.28) or 0xF800 (-671088.64).
inline std::uint16_t EncodeKnxFloat16(double value) noexcept {
  using namespace knxfloat16; // NOLINT(google-build-using-namespace): the codec's own constants
  const double scaled = value * 100.0;
  int exponent = 0;
  // Most values fit exponent 0; NaN fits none and is sorted out below.
  if (!Fits(scaled, 0)) {
    if (std::isnan(value) || value == kKnxFloat16InvalidValue) {
      return kKnxFloat16InvalidCode;
    }
    // The smallest exponent that fits is the binary exponent of scaled less
    // 12 or 11 (or 10 when rounding pushes the mantissa out): start below
    // and step up.
    exponent = BinaryExponent(scaled) - 12;
    if (exponent < 1) {
      exponent = 1;
    }
    while (exponent <= kMaxExponent && !Fits(scaled, exponent)) {
      ++exponent;
    }
    if (exponent > kMaxExponent) {
      return scaled > 0.0 ? kLargestCode : kSmallestCode;
    }
  }
  const int mantissa = RoundHalfToEven(scaled * kInversePowersOfTwo[exponent]);
  if (exponent == kMaxExponent && mantissa > kMaxMantissaAtMaxExponent) {
    return kLargestCode;
  }
  return Pack(mantissa, exponent);
}

/// The value of a 2-byte code; 0x7FFF gives 32767.0.
inline double DecodeKnxFloat16(std::uint16_t code) noexcept {
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
