#include "ValueSyntax.h"

#include "Arguments.h" // UsageError
#include "Hex.h"
#include "Json.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath> // std::isfinite
#include <cstdint>
#include <cstdio> // std::snprintf
#include <limits>

namespace AvoKnx {
namespace {

enum class Syntax {
  NoValue,
  Bool,
  Float,
  Signed,
  Unsigned,
  Bytes,
  String,
  Date,
  TimeOfDay,
  DateTime
};

// How each value type is written, and the range of its number.
struct TypeSyntax {
  VelValueType type;
  Syntax syntax;
  std::int64_t minimum;
  std::int64_t maximum;
};

constexpr std::int64_t kInt32Min = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t kInt32Max = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t kUInt32Max = std::numeric_limits<std::uint32_t>::max();

constexpr std::array<TypeSyntax, 26> kTypeSyntaxes = {{
    {ivtNone, Syntax::NoValue, 0, 0},
    {ivtEmpty, Syntax::NoValue, 0, 0},
    {ivtBool, Syntax::Bool, 0, 1},
    {ivtFloat, Syntax::Float, 0, 0},
    {ivtInteger, Syntax::Signed, kInt32Min, kInt32Max},
    {ivtShort, Syntax::Signed, -32768, 32767},
    {ivtByte, Syntax::Unsigned, 0, 255},
    {ivtWord, Syntax::Unsigned, 0, 65535},
    {ivtDWord, Syntax::Unsigned, 0, kUInt32Max},
    {ivtData40, Syntax::Bytes, 0, 0},
    {ivtString, Syntax::String, 0, 0},
    {ivtDate, Syntax::Date, 0, 0},
    {ivtTime, Syntax::TimeOfDay, 0, 0},
    {ivtDateTime, Syntax::DateTime, 0, 0},
    {ivtTimeLag, Syntax::Signed, kInt32Min, kInt32Max},
    {ivtDayTime, Syntax::TimeOfDay, 0, 0},
    {ivtQWord, Syntax::Unsigned, 0, kUInt32Max},
    {ivtTimestamp, Syntax::DateTime, 0, 0},
    {ivtTimeSpan, Syntax::TimeOfDay, 0, 0},
    {ivtDayDate, Syntax::Date, 0, 0},
    {ivtUtcDateTime, Syntax::DateTime, 0, 0},
    {ivtByteArray, Syntax::Bytes, 0, 0},
    {ivtEnumByte, Syntax::Unsigned, 0, 255},
    {ivtPercent, Syntax::Float, 0, 0},
    {ivtStepBytes, Syntax::Bytes, 0, 0},
    {ivtAngle, Syntax::Float, 0, 0},
}};

const TypeSyntax* FindTypeSyntax(VelValueType type) {
  const auto* const found =
      std::find_if(kTypeSyntaxes.begin(), kTypeSyntaxes.end(),
                   [type](const TypeSyntax& entry) { return entry.type == type; });
  return found != kTypeSyntaxes.end() ? &*found : nullptr;
}

// Weekday names in the order of the VELTIME weekday mask bits (Monday = 1).
constexpr std::array<const char*, 7> kWeekdayNames = {"Mon", "Tue", "Wed", "Thu",
                                                      "Fri", "Sat", "Sun"};

[[noreturn]] void ThrowBadValue(const std::string& text, VelValueType type,
                                const std::string& expected) {
  throw UsageError("value '" + text + "' does not read as value type " + DescribeValueType(type) +
                   ": expected " + expected);
}

[[noreturn]] void ThrowOutOfRange(const std::string& text, VelValueType type,
                                  const std::string& range) {
  throw UsageError("value '" + text + "' is outside the range of value type " +
                   DescribeValueType(type) + ": " + range);
}

// A run of exactly `count` decimal digits at text[position].
bool ReadDigits(const std::string& text, std::size_t position, std::size_t count,
                unsigned& number) {
  if (position + count > text.size()) {
    return false;
  }
  number = 0;
  for (std::size_t i = position; i < position + count; ++i) {
    if (text[i] < '0' || text[i] > '9') {
      return false;
    }
    number = number * 10 + static_cast<unsigned>(text[i] - '0');
  }
  return true;
}

struct DateFields {
  unsigned year = 0, month = 0, day = 0;
};
struct ClockFields {
  unsigned hour = 0, minute = 0, second = 0;
};

// "YYYY-MM-DD" at text[position]; false when the shape does not match.
bool ReadDate(const std::string& text, std::size_t position, DateFields& date) {
  return ReadDigits(text, position, 4, date.year) && text[position + 4] == '-' &&
         ReadDigits(text, position + 5, 2, date.month) && text[position + 7] == '-' &&
         ReadDigits(text, position + 8, 2, date.day);
}

// "HH:MM:SS" at text[position].
bool ReadClock(const std::string& text, std::size_t position, ClockFields& clock) {
  return ReadDigits(text, position, 2, clock.hour) && text[position + 2] == ':' &&
         ReadDigits(text, position + 3, 2, clock.minute) && text[position + 5] == ':' &&
         ReadDigits(text, position + 6, 2, clock.second);
}

void CheckDate(const std::string& text, VelValueType type, const DateFields& date) {
  if (date.month < 1 || date.month > 12) {
    ThrowOutOfRange(text, type, "month 1..12");
  }
  if (date.day < 1 || date.day > 31) {
    ThrowOutOfRange(text, type, "day 1..31");
  }
}

void CheckClock(const std::string& text, VelValueType type, const ClockFields& clock) {
  if (clock.hour > 23 || clock.minute > 59 || clock.second > 59) {
    ThrowOutOfRange(text, type, "00:00:00..23:59:59");
  }
}

// The weekday prefix of a time of day ("Mon "), as a VELTIME weekday mask;
// 0 and no prefix when there is none.
std::uint16_t ReadWeekday(const std::string& text, std::size_t& position) {
  for (std::size_t day = 0; day < kWeekdayNames.size(); ++day) {
    if (text.compare(0, 4, std::string(kWeekdayNames[day]) + " ") == 0) {
      position = 4;
      return static_cast<std::uint16_t>(1U << day);
    }
  }
  position = 0;
  return 0;
}

VELVALUE ParseDate(const std::string& text, VelValueType type) {
  DateFields date;
  if (text.size() != 10 || !ReadDate(text, 0, date)) {
    ThrowBadValue(text, type, "a date YYYY-MM-DD");
  }
  CheckDate(text, type, date);
  VELVALUE value(type);
  value.tmVal.SetDate(static_cast<unsigned short>(date.year),
                      static_cast<unsigned char>(date.month), static_cast<unsigned char>(date.day),
                      true);
  return value;
}

VELVALUE ParseTimeOfDay(const std::string& text, VelValueType type) {
  std::size_t position = 0;
  const std::uint16_t weekday = ReadWeekday(text, position);
  ClockFields clock;
  if (text.size() != position + 8 || !ReadClock(text, position, clock)) {
    ThrowBadValue(text, type, "a time of day [Mon|Tue|Wed|Thu|Fri|Sat|Sun ]HH:MM:SS");
  }
  CheckClock(text, type, clock);
  VELVALUE value(type);
  value.tmVal.Clear(true);
  value.tmVal.hour = static_cast<std::uint8_t>(clock.hour);
  value.tmVal.minute = static_cast<std::uint8_t>(clock.minute);
  value.tmVal.second = static_cast<std::uint8_t>(clock.second);
  value.tmVal.weekday = weekday;
  value.tmVal.timeOfDayOnly = 1;
  value.tmVal.isValid = true;
  return value;
}

VELVALUE ParseDateTime(const std::string& text, VelValueType type) {
  DateFields date;
  ClockFields clock;
  if (text.size() != 19 || !ReadDate(text, 0, date) || text[10] != 'T' ||
      !ReadClock(text, 11, clock)) {
    ThrowBadValue(text, type, "a date and time YYYY-MM-DDTHH:MM:SS");
  }
  CheckDate(text, type, date);
  CheckClock(text, type, clock);
  VELVALUE value(type);
  value.tmVal.SetDateTime(
      static_cast<unsigned short>(date.year), static_cast<unsigned char>(date.month),
      static_cast<unsigned char>(date.day), static_cast<unsigned char>(clock.hour),
      static_cast<unsigned char>(clock.minute), static_cast<unsigned char>(clock.second), true);
  return value;
}

// Decimal integer with an optional "-"; no "+", no blanks.
bool ReadInteger(const std::string& text, std::int64_t& number, bool& outOfRange) {
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  outOfRange = result.ec == std::errc::result_out_of_range;
  return !text.empty() && result.ptr == end && (result.ec == std::errc() || outOfRange);
}

VELVALUE ParseInteger(const std::string& text, const TypeSyntax& syntax) {
  std::int64_t number = 0;
  bool outOfRange = false;
  const bool isSigned = syntax.syntax == Syntax::Signed;
  if (!ReadInteger(text, number, outOfRange)) {
    ThrowBadValue(text, syntax.type,
                  syntax.syntax == Syntax::Bool ? "0 or 1"
                  : isSigned                    ? "a decimal integer"
                                                : "an unsigned decimal integer");
  }
  if (outOfRange || number < syntax.minimum || number > syntax.maximum) {
    if (syntax.syntax == Syntax::Bool) {
      ThrowBadValue(text, syntax.type, "0 or 1");
    }
    ThrowOutOfRange(text, syntax.type,
                    std::to_string(syntax.minimum) + ".." + std::to_string(syntax.maximum));
  }
  VELVALUE value(syntax.type);
  if (isSigned) {
    value.lVal = static_cast<std::int32_t>(number);
  } else if (syntax.maximum <= 255) {
    value.byVal = static_cast<std::uint8_t>(number);
  } else if (syntax.maximum <= 65535) {
    value.wVal = static_cast<std::uint16_t>(number);
  } else {
    value.dwVal = static_cast<std::uint32_t>(number);
  }
  return value;
}

bool ReadDouble(const std::string& text, double& number, bool& outOfRange) {
  const char* end = text.data() + text.size();
  // from_chars reads no "+" either, but it would read hex floats with a format flag only.
  const auto result = std::from_chars(text.data(), end, number);
  outOfRange = result.ec == std::errc::result_out_of_range;
  return !text.empty() && result.ptr == end && (result.ec == std::errc() || outOfRange);
}

VELVALUE ParseFloat(const std::string& text, VelValueType type) {
  double number = 0.0;
  bool outOfRange = false;
  if (!ReadDouble(text, number, outOfRange)) {
    ThrowBadValue(text, type, "a decimal number (e.g. 21.5, -4e-3, nan, inf)");
  }
  if (outOfRange) {
    ThrowOutOfRange(text, type,
                    "a double holds magnitudes up to 1.7976931348623157e+308, down to 5e-324");
  }
  VELVALUE value(type);
  value.dblVal = number;
  return value;
}

std::string FormatDouble(double number) {
  char text[64];
  const auto result = std::to_chars(text, text + sizeof text, number);
  return std::string(text, result.ptr);
}

std::string FormatClock(const VELTIME& time) {
  char text[16];
  static_cast<void>(
      std::snprintf(text, sizeof text, "%02u:%02u:%02u", static_cast<unsigned>(time.hour),
                    static_cast<unsigned>(time.minute), static_cast<unsigned>(time.second)));
  return text;
}

std::string FormatDate(const VELTIME& time) {
  char text[24];
  static_cast<void>(
      std::snprintf(text, sizeof text, "%04u-%02u-%02u", static_cast<unsigned>(time.year),
                    static_cast<unsigned>(time.month), static_cast<unsigned>(time.day)));
  return text;
}

// A time of day names its weekday when the mask names exactly one day.
std::string FormatTimeOfDay(const VELTIME& time) {
  for (std::size_t day = 0; day < kWeekdayNames.size(); ++day) {
    if (time.weekday == (1U << day)) {
      return std::string(kWeekdayNames[day]) + " " + FormatClock(time);
    }
  }
  return FormatClock(time);
}

} // namespace

VELVALUE ParseValue(const std::string& text, VelValueType type) {
  const TypeSyntax* syntax = FindTypeSyntax(type);
  if (syntax == nullptr) {
    throw UsageError("value type " + std::to_string(static_cast<int>(type)) +
                     " has no value syntax");
  }
  switch (syntax->syntax) {
  case Syntax::NoValue:
    if (text != "null") {
      ThrowBadValue(
          text, type,
          "null, as a record of this type holds no value (--type N picks another value type)");
    }
    return VELVALUE(type);
  case Syntax::Bool:
  case Syntax::Signed:
  case Syntax::Unsigned:
    return ParseInteger(text, *syntax);
  case Syntax::Float:
    return ParseFloat(text, type);
  case Syntax::Bytes: {
    const std::vector<std::uint8_t> bytes = ParseHex(text);
    VELVALUE value(type);
    value.strVal.assign(bytes.begin(), bytes.end());
    return value;
  }
  case Syntax::String: {
    VELVALUE value(type);
    value.strVal = ParseJsonString(text);
    return value;
  }
  case Syntax::Date:
    return ParseDate(text, type);
  case Syntax::TimeOfDay:
    return ParseTimeOfDay(text, type);
  case Syntax::DateTime:
    return ParseDateTime(text, type);
  }
  throw UsageError("value type " + std::to_string(static_cast<int>(type)) + " has no value syntax");
}

std::string FormatValue(const VELVALUE& value) {
  const TypeSyntax* syntax = FindTypeSyntax(value.ivt);
  if (syntax == nullptr) {
    // A type without a syntax of its own shows the record's text form.
    std::string text;
    value.Serialize(text, false);
    return FormatJsonString(text);
  }
  switch (syntax->syntax) {
  case Syntax::NoValue:
    return "null";
  case Syntax::Bool:
    return std::to_string(static_cast<unsigned>(value.byVal));
  case Syntax::Signed:
    return std::to_string(value.lVal);
  case Syntax::Unsigned:
    return syntax->maximum <= 255     ? std::to_string(static_cast<unsigned>(value.byVal))
           : syntax->maximum <= 65535 ? std::to_string(static_cast<unsigned>(value.wVal))
                                      : std::to_string(value.dwVal);
  case Syntax::Float:
    return FormatDouble(value.dblVal);
  case Syntax::Bytes:
    return FormatHex(value.strVal);
  case Syntax::String:
    return FormatJsonString(value.strVal);
  case Syntax::Date:
    return FormatDate(value.tmVal);
  case Syntax::TimeOfDay:
    return FormatTimeOfDay(value.tmVal);
  case Syntax::DateTime:
    return FormatDate(value.tmVal) + "T" + FormatClock(value.tmVal);
  }
  return "null";
}

bool IsJsonLiteral(const VELVALUE& value, const std::string& formatted) {
  const TypeSyntax* syntax = FindTypeSyntax(value.ivt);
  if (syntax == nullptr) {
    return true; // written as a JSON string
  }
  switch (syntax->syntax) {
  case Syntax::NoValue:
  case Syntax::Bool:
  case Syntax::Signed:
  case Syntax::Unsigned:
  case Syntax::String:
    return true;
  case Syntax::Float:
    return std::isfinite(value.dblVal) && formatted.find('n') == std::string::npos;
  default:
    return false;
  }
}

VelValueType InferValueType(const std::string& text) {
  if (text == "null") {
    return ivtEmpty;
  }
  if (!text.empty() && text[0] == '"') {
    return ivtString;
  }
  DateFields date;
  ClockFields clock;
  if (text.size() == 10 && ReadDate(text, 0, date)) {
    return ivtDate;
  }
  if (text.size() == 19 && ReadDate(text, 0, date)) {
    return ivtDateTime;
  }
  std::size_t position = 0;
  ReadWeekday(text, position);
  if (text.size() == position + 8 && ReadClock(text, position, clock)) {
    return ivtDayTime;
  }
  std::int64_t integer = 0;
  bool outOfRange = false;
  if (ReadInteger(text, integer, outOfRange) && !outOfRange && integer >= kInt32Min &&
      integer <= kUInt32Max) {
    return integer <= kInt32Max ? ivtInteger : ivtDWord;
  }
  double number = 0.0;
  if (ReadDouble(text, number, outOfRange)) {
    return ivtFloat;
  }
  throw UsageError(
      "value '" + text +
      "' has no recognisable type: write a number, a JSON string, a date, a time of day, "
      "a date and time or null, or give --type N");
}

VelValueType ParseValueType(const std::string& text) {
  std::int64_t number = 0;
  bool outOfRange = false;
  if (ReadInteger(text, number, outOfRange) && !outOfRange && number >= kInt32Min &&
      number <= kInt32Max) {
    const auto type = static_cast<VelValueType>(number);
    if (FindTypeSyntax(type) != nullptr) {
      return type;
    }
  }
  throw UsageError("value type '" + text +
                   "' is not one of 0..15, 20, 102, 104, 105, 201, 1005, 1021, 1036, 1037, 1039");
}

std::string DescribeValueType(VelValueType type) {
  return std::to_string(static_cast<int>(type)) + " (" + VELVALUE::GetNameFromValueType(type) + ")";
}

} // namespace AvoKnx
