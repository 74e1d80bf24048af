#pragma once
// The value syntax of avo-knx, in and out, for every value type of VELVALUE:
//
//   integers     decimal: 42, -5
//   floats       the shortest text that reads back to the same double: 21.5, 1e+300, nan, inf
//   booleans     0 or 1
//   strings      JSON strings: "Küche", "a\"b"
//   byte arrays  hex: 01AB
//   dates        YYYY-MM-DD
//   times of day [Mon|Tue|Wed|Thu|Fri|Sat|Sun ]HH:MM:SS
//   date + time  YYYY-MM-DDTHH:MM:SS
//   no value     null

#include "VelValue.h"

#include <string>

namespace AvoKnx {

/// Reads text in the value syntax as a record of the given type. Throws
/// UsageError for malformed text and for a value outside the type's range.
VELVALUE ParseValue(const std::string& text, VelValueType type);

/// The value syntax text of a record (by its type tag).
std::string FormatValue(const VELVALUE& value);

/// True when the value syntax text of the record is also a JSON value
/// (numbers other than nan and inf, strings, null).
bool IsJsonLiteral(const VELVALUE& value, const std::string& formatted);

/// The type that a value's shape suggests, for values written without a DPT:
/// null, a JSON string, a date, a time of day (with weekday), a date and
/// time, an integer (Integer, or DWord above the Integer range) or a float.
VelValueType InferValueType(const std::string& text);

/// Reads a value type number (--type N); only the platform's known types.
VelValueType ParseValueType(const std::string& text);

/// "3 (Float)".
std::string DescribeValueType(VelValueType type);

} // namespace AvoKnx
