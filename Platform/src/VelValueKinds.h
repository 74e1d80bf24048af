#pragma once
// Facts about each value-type tag that the record's operations share (which
// member holds the value, the printable name), and the text pieces that both
// ToString and the text form write.

#include "VelValue.h"

#include <cstdint>
#include <string>

// Internal to the library (hidden like everything not marked for export).
namespace VelValueInternal {

/// Which member of a VELVALUE holds the value of a type, and how.
enum class ValueKind {
  NoValue, ///< ivtNone, ivtEmpty: the tag is all there is
  Bool,    ///< byVal, 0 or 1
  Byte,    ///< byVal
  Word,    ///< wVal
  DWord,   ///< dwVal
  Long,    ///< lVal, signed 32-bit
  Short,   ///< lVal, holding a signed 16-bit number
  Double,  ///< dblVal
  Time,    ///< tmVal
  Text,    ///< strVal, UTF-8 text
  Bytes,   ///< strVal, raw bytes of any length
  Block40  ///< strVal, exactly 5 raw bytes
};

/// One known type tag.
struct ValueTypeInfo {
  VelValueType type;
  const char* name;
  ValueKind kind;
};

/// The facts of a tag of VelValueType; nullptr for any other number.
const ValueTypeInfo* FindValueType(VelValueType type) noexcept;

/// The status that a record of the type gets at construction.
constexpr std::uint8_t InitialStatus(VelValueType type) noexcept {
  return type == ivtNone ? 1 : type == ivtEmpty ? 0 : 2;
}

/// Appends the value of a record of the given kind in the text form's body
/// notation (docs/value-text-form.md); nothing for ValueKind::NoValue.
void AppendValueBody(std::string& out, const VELVALUE& value, ValueKind kind);

/// Appends a number in decimal.
void AppendDecimal(std::string& out, std::int64_t number);

} // namespace VelValueInternal
