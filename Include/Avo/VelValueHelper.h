#pragma once
/// @file
/// Typed construction of VELVALUE records and the checked Avo::ToVelValue
/// overloads that decoders build their results with.

#include "Avo/Logging.h" // AVO_ASSERT2
#include "VelValue.h"

#include <cstdint>
#include <string>
#include <utility> // std::move

namespace Avo {

/// A boolean record (ivtBool): byVal is 1 for true, 0 for false.
inline VELVALUE MakeBoolVelValue(bool value) {
  VELVALUE record(ivtBool);
  record.byVal = value ? 1 : 0;
  return record;
}

/// An unsigned 8-bit record (ivtByte, byVal).
inline VELVALUE MakeByteVelValue(std::uint8_t value) {
  VELVALUE record(ivtByte);
  record.byVal = value;
  return record;
}

/// An unsigned 16-bit record (ivtWord, wVal).
inline VELVALUE MakeWordVelValue(std::uint16_t value) {
  VELVALUE record(ivtWord);
  record.wVal = value;
  return record;
}

/// An unsigned 32-bit record (ivtDWord, dwVal).
inline VELVALUE MakeDWordVelValue(std::uint32_t value) {
  VELVALUE record(ivtDWord);
  record.dwVal = value;
  return record;
}

/// A signed 32-bit record (ivtInteger, lVal).
inline VELVALUE MakeIntegerVelValue(std::int32_t value) {
  VELVALUE record(ivtInteger);
  record.lVal = value;
  return record;
}

/// A floating-point record (ivtFloat, dblVal).
inline VELVALUE MakeFloatVelValue(double value) {
  VELVALUE record(ivtFloat);
  record.dblVal = value;
  return record;
}

/// A text record (ivtString, strVal); the text is taken as it is.
inline VELVALUE MakeStringVelValue(std::string value) {
  VELVALUE record(ivtString);
  record.strVal = std::move(value);
  return record;
}

// Checked construction. Each overload builds the record of its argument's own
// type and asserts that this is the type the caller expects: a decoder whose
// table names a type that does not fit the value it reads is a program bug,
// reported as AVO_ASSERT2(result.ivt == expectedType) (Avo::AssertionFailed).
// Pass arguments of exactly these types; plain int literals are ambiguous on
// purpose.

/// ivtBool record of value; asserts that ivtBool is expectedType.
inline VELVALUE ToVelValue(bool value, VelValueType expectedType) {
  VELVALUE result = MakeBoolVelValue(value);
  AVO_ASSERT2(result.ivt == expectedType);
  return result;
}

/// ivtByte record of value; asserts that ivtByte is expectedType.
inline VELVALUE ToVelValue(std::uint8_t value, VelValueType expectedType) {
  VELVALUE result = MakeByteVelValue(value);
  AVO_ASSERT2(result.ivt == expectedType);
  return result;
}

/// ivtWord record of value; asserts that ivtWord is expectedType.
inline VELVALUE ToVelValue(std::uint16_t value, VelValueType expectedType) {
  VELVALUE result = MakeWordVelValue(value);
  AVO_ASSERT2(result.ivt == expectedType);
  return result;
}

/// ivtDWord record of value; asserts that ivtDWord is expectedType.
inline VELVALUE ToVelValue(std::uint32_t value, VelValueType expectedType) {
  VELVALUE result = MakeDWordVelValue(value);
  AVO_ASSERT2(result.ivt == expectedType);
  return result;
}

/// ivtInteger record of value; asserts that ivtInteger is expectedType.
inline VELVALUE ToVelValue(std::int32_t value, VelValueType expectedType) {
  VELVALUE result = MakeIntegerVelValue(value);
  AVO_ASSERT2(result.ivt == expectedType);
  return result;
}

/// ivtFloat record of value; asserts that ivtFloat is expectedType.
inline VELVALUE ToVelValue(double value, VelValueType expectedType) {
  VELVALUE result = MakeFloatVelValue(value);
  AVO_ASSERT2(result.ivt == expectedType);
  return result;
}

/// ivtString record of value; asserts that ivtString is expectedType.
inline VELVALUE ToVelValue(std::string value, VelValueType expectedType) {
  VELVALUE result = MakeStringVelValue(std::move(value));
  AVO_ASSERT2(result.ivt == expectedType);
  return result;
}

/// ivtString record of a C string. Without this overload a string literal
/// would convert to bool and build a boolean record.
inline VELVALUE ToVelValue(const char* value, VelValueType expectedType) {
  return ToVelValue(std::string(value), expectedType);
}

} // namespace Avo
