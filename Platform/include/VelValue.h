#pragma once
/// @file
/// The platform's typed value record VELVALUE, its date and time part
/// VELTIME, the value-type and subtype tags, the KNX datapoint type identity
/// KNXDPT and the raw byte codec.

#include "Avo/PlatformExport.h"

#include <cstdint>
#include <ctime> // std::tm
#include <iosfwd>
#include <string>

/// Type tag of a VELVALUE (32-bit).
enum VelValueType : std::int32_t {
  ivtNone = 0,          ///< no value (e.g. the invalid-data code of a KNX float)
  ivtEmpty = 1,         ///< empty: default-constructed record, empty catalogue entry
  ivtBool = 2,          ///< boolean, in byVal (0 or 1)
  ivtFloat = 3,         ///< double, in dblVal
  ivtInteger = 4,       ///< signed 32-bit, in lVal
  ivtShort = 5,         ///< signed 16-bit, in lVal
  ivtByte = 6,          ///< unsigned 8-bit, in byVal
  ivtWord = 7,          ///< unsigned 16-bit, in wVal
  ivtDWord = 8,         ///< unsigned 32-bit, in dwVal
  ivtData40 = 9,        ///< 40-bit data block, its 5 bytes in strVal
  ivtString = 10,       ///< UTF-8 text, in strVal
  ivtDate = 11,         ///< date, in tmVal
  ivtTime = 12,         ///< time of day, in tmVal
  ivtDateTime = 13,     ///< date and time, in tmVal
  ivtTimeLag = 14,      ///< signed 32-bit time lag, in lVal
  ivtDayTime = 15,      ///< time of day with weekday, in tmVal
  ivtQWord = 20,        ///< unsigned counter, in dwVal
  ivtTimestamp = 102,   ///< point in time, in tmVal
  ivtTimeSpan = 104,    ///< time of day as a span, in tmVal
  ivtDayDate = 105,     ///< calendar day, in tmVal
  ivtUtcDateTime = 201, ///< date and time in UTC, in tmVal
  ivtByteArray = 1005,  ///< raw bytes, in strVal
  ivtEnumByte = 1021,   ///< enumeration byte, in byVal
  ivtPercent = 1036,    ///< percentage, in dblVal
  ivtStepBytes = 1037,  ///< raw bytes of a step control, in strVal
  ivtAngle = 1039       ///< angle in degrees, in dblVal
};

namespace VelDP {
/// Subtype tag of a VELVALUE (32-bit).
enum VelValueSubType : std::int32_t {
  vstNone = 0,
  vstSigned8Bit = 9,
  vstSigned16Bit = 12,
  vstSwitch = 2001,
  vstStatusWithMode = 3001,
  vstStepControl = 3002,
  vstFloat16 = 3003,
  vstSceneNumber = 4001,
  vstAsciiString = 8001,
  vstLatin1String = 8002
};

/// Printable name of a subtype tag; unknown tags print as "Subtype<number>".
AVO_PLATFORM_EXPORT std::string GetNameFromValueSubType(VelValueSubType subType);
} // namespace VelDP

namespace VelWeekDays {
/// Weekday mask of a VELTIME: one bit per day, Monday first.
enum WEEK_DAY_TYPES : std::uint16_t {
  NONE = 0,
  MONDAY = 1,
  TUESDAY = 2,
  WEDNESDAY = 4,
  THURSDAY = 8,
  FRIDAY = 16,
  SATURDAY = 32,
  SUNDAY = 64
};
} // namespace VelWeekDays

/// Date and time part of a VELVALUE. Trivial, so that it can live in the
/// record's value union; a VELVALUE clears it on construction.
struct AVO_PLATFORM_EXPORT VELTIME {
  std::uint16_t year;          ///< full year, e.g. 2024
  std::uint8_t month;          ///< 1..12
  std::uint8_t day;            ///< 1..31
  std::uint8_t hour;           ///< 0..23
  std::uint8_t minute;         ///< 0..59
  std::uint8_t second;         ///< 0..59
  std::uint8_t hundredths;     ///< hundredths of a second, 0..99
  std::uint16_t weekday;       ///< VelWeekDays mask, 0 = no day
  std::uint16_t timeOfDayOnly; ///< 1 when only the time of day is meaningful
  bool isLocalTime;            ///< the fields are local time (false: UTC)
  bool isValid;                ///< the fields hold a date or time that was set

  /// Zeroes every field; isLocalTime is set to the argument.
  void Clear(bool localTime);
  /// Sets the date, clears the time of day and the weekday; isValid = true.
  void SetDate(unsigned short year, unsigned char month, unsigned char day, bool localTime);
  /// Sets date and time; the weekday is computed from the date when it is valid.
  void SetDateTime(unsigned short year, unsigned char month, unsigned char day, unsigned char hour,
                   unsigned char minute, unsigned char second, bool localTime);

  /// True for a day of the Gregorian calendar from year 1400 to 9999.
  static bool IsValidDate(unsigned short year, unsigned char month, unsigned char day);
  /// True for 0..23:0..59:0..59.
  static bool IsValidTime(unsigned char hour, unsigned char minute, unsigned char second);

  /// Broken-down time: tm_year = year - 1900, tm_mon = month - 1, tm_mday, the
  /// time of day, tm_wday from the weekday mask (or computed from a valid date),
  /// tm_yday computed where the date is valid, tm_isdst = -1.
  operator std::tm() const; // NOLINT(google-explicit-constructor): platform interface
  /// Sets the record from seconds since the epoch, in local time (localtime_r):
  /// hundredths 0, weekday from the day, timeOfDayOnly 0, isLocalTime and
  /// isValid true. A count that the local calendar cannot hold leaves the
  /// record cleared (Clear(true), isValid false).
  VELTIME& operator=(long secondsSinceEpoch);

  /// Field by field.
  bool operator==(const VELTIME& other) const;
  /// Not operator==.
  bool operator!=(const VELTIME& other) const { return !(*this == other); }
};

/// The platform's typed value record.
struct AVO_PLATFORM_EXPORT VELVALUE {
  /// Type tag: which member holds the value.
  VelValueType ivt;
  /// The value of the numeric, date and time types; ivt names the member in use.
  union {
    std::uint8_t byVal;
    std::uint16_t wVal;
    std::uint32_t dwVal;
    std::int32_t lVal;
    double dblVal;
    VELTIME tmVal;
  };
  /// The value of the text and byte types (ivtString, ivtData40, ivtByteArray,
  /// ivtStepBytes).
  std::string strVal;
  /// Set at construction from the tag: 1 for ivtNone, 0 for ivtEmpty, 2 otherwise.
  std::uint8_t status;

  /// ivt = ivtEmpty, value area zeroed, tmVal.Clear(true), empty text, status 0.
  VELVALUE();
  /// A zeroed record of the given type.
  explicit VELVALUE(VelValueType type);

  /// A full copy: tag, value area, text and status.
  VELVALUE(const VELVALUE&) = default;
  /// Takes the text over; the rest is copied.
  VELVALUE(VELVALUE&&) noexcept = default;
  /// A full copy: tag, value area, text and status.
  VELVALUE& operator=(const VELVALUE&) = default;
  /// Takes the text over; the rest is copied.
  VELVALUE& operator=(VELVALUE&&) noexcept = default;
  ~VELVALUE() = default;

  /// Same type, same status and the same value in the member that the type
  /// uses (members the type does not use are ignored; a tag outside
  /// VelValueType compares the whole value area and the text). Doubles compare
  /// as numbers, except that every NaN equals every other NaN, so that a record
  /// always equals its copy.
  bool operator==(const VELVALUE& other) const;
  /// Not operator==.
  bool operator!=(const VELVALUE& other) const { return !(*this == other); }

  /// One human-readable line, e.g. "Float 21.5", "String \"abc\"", "Empty";
  /// a status other than the one the type gets at construction is appended
  /// as " (status 7)".
  std::string ToString() const;
  /// Typed, lossless text form (see docs/value-text-form.md), replacing the
  /// content of out. internalFormat selects the device stack's internal form
  /// ("<type>.<status>:<value>", status always written); the default form
  /// writes the status only where it differs from the type's initial status.
  void Serialize(std::string& out, bool internalFormat) const;
  /// Reads either text form. A text that does not parse leaves the empty
  /// record and gives false.
  bool Deserialize(const std::string& in);

  /// Printable name of a type tag ("Float", "Byte", ...); unknown tags print
  /// as "Type<number>".
  static std::string GetNameFromValueType(VelValueType type);
};

/// Writes value.ToString(), as log lines print values.
AVO_PLATFORM_EXPORT std::ostream& operator<<(std::ostream& os, const VELVALUE& value);

/// Identity of a KNX datapoint type: size in bits, main number, sub number.
struct AVO_PLATFORM_EXPORT KNXDPT {
  std::uint8_t bitSize = 0;     ///< 0 = not known
  std::uint16_t mainNumber = 0; ///< 0 = not known
  std::uint16_t subNumber = 0;  ///< 0 also marks a main.x catalogue row

  /// DPT 0.0 with 0 bits: not known.
  KNXDPT() = default;
  /// The DPT main.sub with a size of bits.
  KNXDPT(std::uint8_t bits, std::uint16_t main, std::uint16_t sub)
      : bitSize(bits), mainNumber(main), subNumber(sub) {}

  /// Field by field, the bit size included.
  bool operator==(const KNXDPT& other) const {
    return bitSize == other.bitSize && mainNumber == other.mainNumber &&
           subNumber == other.subNumber;
  }
  /// Not operator==.
  bool operator!=(const KNXDPT& other) const { return !(*this == other); }

  /// "9.1" for DPT 9.001: main, a full stop, sub, in decimal.
  std::string ToString() const;
};

/// Writes dpt.ToString() ("9.1").
AVO_PLATFORM_EXPORT std::ostream& operator<<(std::ostream& os, const KNXDPT& dpt);

/// Writes the raw bytes of a value, big-endian (layouts in
/// docs/value-text-form.md). size is the buffer's capacity on entry and the
/// number of bytes written on return. False, with size untouched, for a
/// buffer that is too small or a type without a byte form.
AVO_PLATFORM_EXPORT bool VelValueToByteArray(const VELVALUE& value, unsigned char* buffer,
                                             unsigned int& size);

/// Reads raw bytes into a value of the type that value.ivt names. shortForm
/// marks a 1-bit group value. False, with value untouched, when the bytes do
/// not fit the type.
AVO_PLATFORM_EXPORT bool ByteArrayToVelValue(const unsigned char* data, unsigned int size,
                                             VELVALUE& value, bool shortForm);
