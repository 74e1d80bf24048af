#pragma once
// The KNX 2-byte float codec behind GroupValue::SetAsFloat16/GetAsFloat16.

#include <cstdint>

namespace KnxStack {

/// KNX's "invalid data" code and the value that stands for it on both sides.
constexpr std::uint16_t kKnxFloat16InvalidCode = 0x7FFF;
constexpr double kKnxFloat16InvalidValue = 32767.0;

/// The 2-byte code of value: mantissa rounded to nearest with ties to even,
/// smallest exponent; NaN and 32767.0 give 0x7FFF; values beyond the range
/// saturate to 0x7FFE (670433.28) or 0xF800 (-671088.64).
std::uint16_t EncodeKnxFloat16(double value) noexcept;

/// The value of a 2-byte code; 0x7FFF gives 32767.0.
double DecodeKnxFloat16(std::uint16_t code) noexcept;

} // namespace KnxStack
