#pragma once
/// @file
/// KNX group values: raw bytes in bus order plus a defined size in bits, with
/// typed setters and getters for the datapoint type encodings. Every encoding's
/// bit layout is written beside its implementation (GroupValue.cpp).

#include "Avo/PlatformExport.h"

#include <boost/container/small_vector.hpp>

#include <cstdint>
#include <cstring> // std::memmove
#include <stdexcept>
#include <string>
#include <vector>

namespace KnxStack {

/// Raised by BinaryData and GroupValue when bytes are missing for a read or a
/// field lies outside its encoding.
class AVO_PLATFORM_EXPORT GroupValueException : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

/// Growable byte buffer, bytes in bus order. Up to kInlineBytes bytes live
/// inside the object, so that the group values of every standard encoding
/// (the widest is the 14-byte string) cost no allocation.
class AVO_PLATFORM_EXPORT BinaryData {
public:
  /// Bytes held inside the object before the buffer allocates.
  static constexpr unsigned int kInlineBytes = 14;

  /// No bytes.
  BinaryData() = default;
  /// A copy of size bytes from data; raises GroupValueException for a null
  /// data with a non-zero size.
  BinaryData(const unsigned char* data, unsigned int size);
  /// The given bytes, in order.
  explicit BinaryData(std::vector<std::uint8_t> bytes);

  /// Number of bytes.
  unsigned int GetSize() const { return static_cast<unsigned int>(m_bytes.size()); }
  /// True when there are no bytes.
  bool IsEmpty() const { return m_bytes.empty(); }
  /// The bytes (GetSize() of them); valid until the buffer changes.
  const std::uint8_t* GetData() const { return m_bytes.data(); }
  /// A copy of the bytes.
  std::vector<std::uint8_t> GetBytes() const { return {m_bytes.begin(), m_bytes.end()}; }

  /// The byte at index; raises GroupValueException when there is none.
  std::uint8_t GetUInt8Value(unsigned int index) const;
  /// Two bytes from index, big-endian; raises when fewer than 2 are there.
  std::uint16_t GetUInt16Value(unsigned int index) const;
  /// Three bytes from index, big-endian; raises when fewer than 3 are there.
  std::uint32_t GetUInt24Value(unsigned int index) const;
  /// Up to four bytes from index as one big-endian number: with fewer than 4
  /// bytes the ones that are there are read (FF 80 00 gives 0x00FF8000), so
  /// that 3-byte values read back unchanged. Raises when there is no byte at index.
  std::uint32_t GetUInt32Value(unsigned int index) const;
  /// Writes the byte at index, growing the buffer with zero bytes as needed.
  void SetUInt8Value(unsigned int index, std::uint8_t value);
  /// Replaces the bytes with size bytes from data.
  void Assign(const std::uint8_t* data, unsigned int size) {
    // Inline, so that the typed setters' fixed sizes become a store or two;
    // sized without zeroing, then copied.
    m_bytes.resize(size, boost::container::default_init);
    if (size != 0) {
      std::memmove(m_bytes.data(), data, size); // data may be this buffer's own bytes
    }
  }

  /// The bytes as upper-case hex pairs separated by blanks ("0C 33"); "" when empty.
  std::string ToString() const;

  /// Same bytes.
  bool operator==(const BinaryData& other) const { return m_bytes == other.m_bytes; }
  /// Not operator==.
  bool operator!=(const BinaryData& other) const { return !(*this == other); }

private:
  boost::container::small_vector<std::uint8_t, kInlineBytes> m_bytes;
};

/// A KNX group value.
class AVO_PLATFORM_EXPORT GroupValue {
public:
  /// Day of week of the time-of-day encoding.
  enum DayOfWeek : std::uint8_t {
    NoDay = 0,
    Monday = 1,
    Tuesday = 2,
    Wednesday = 3,
    Thursday = 4,
    Friday = 5,
    Saturday = 6,
    Sunday = 7
  };

  /// Empty: no bytes, defined size 0.
  GroupValue() = default;
  /// A value over data with the given defined size (6 for the bus's short form).
  GroupValue(const BinaryData& data, unsigned int bitSize);

  /// Defined size in bits: the size of the encoding that a typed setter wrote,
  /// or the size given with raw data.
  unsigned int GetDefinedSize() const { return m_definedSize; }
  /// The bytes in bus order.
  const BinaryData& GetRawData() const { return m_data; }
  /// Replaces the bytes; the defined size becomes 8 bits per byte.
  void SetRawData(const BinaryData& data);

  // Setters. The bit-field setters keep the low bits of their argument.
  void SetAsBoolean(bool value);             ///< 1 bit
  void SetAsUnsigned2(unsigned char value);  ///< 2 bits
  void SetAsUnsigned4(unsigned char value);  ///< 4 bits
  void SetAsUnsigned8(unsigned char value);  ///< 8 bits
  void SetAsSigned8(signed char value);      ///< 8 bits
  void SetAsChar(char value);                ///< 8 bits
  void SetAsUnsigned16(std::uint16_t value); ///< 16 bits
  void SetAsSigned16(std::int16_t value);    ///< 16 bits
  void SetAsUnsigned32(std::uint32_t value); ///< 32 bits
  void SetAsSigned32(std::int32_t value);    ///< 32 bits
  /// KNX 2-byte float, 16 bits. Never throws: NaN and 32767.0 give the
  /// invalid-data code 0x7FFF; finite values beyond the range saturate.
  void SetAsFloat16(double value);
  void SetAsFloat32(float value); ///< IEEE 754 single, 32 bits
  /// Date, 24 bits; raises GroupValueException outside year 1990..2089,
  /// month 1..12, day 1..31.
  void SetAsDate(int day, int month, int year);
  /// Time of day, 24 bits; raises outside hour 0..23, minute and second 0..59,
  /// day of week 0..7.
  void SetAsTimeOfDay(int hour, int minute, int second, DayOfWeek day);
  /// 14-byte string, 112 bits: truncated to 14 bytes, padded with 0x00.
  void SetAsString14(const std::string& value);

  // Getters; each raises GroupValueException when the value holds fewer
  // bytes than its encoding needs.
  bool GetAsBoolean() const;             ///< 1 bit
  unsigned char GetAsUnsigned2() const;  ///< 2 bits
  unsigned char GetAsUnsigned3() const;  ///< 3 bits
  unsigned char GetAsUnsigned4() const;  ///< 4 bits
  unsigned char GetAsUnsigned8() const;  ///< 8 bits
  signed char GetAsSigned8() const;      ///< 8 bits
  std::uint16_t GetAsUnsigned16() const; ///< 16 bits
  std::int16_t GetAsSigned16() const;    ///< 16 bits
  std::uint32_t GetAsUnsigned32() const; ///< 32 bits
  std::int32_t GetAsSigned32() const;    ///< 32 bits
  /// 0x7FFF gives 32767.0.
  double GetAsFloat16() const;
  float GetAsFloat32() const; ///< IEEE 754 single, 32 bits
  /// Day, month and the full year (two-digit years 90..99 are 19xx, 0..89
  /// 20xx); a null pointer skips its field.
  void GetAsDate(int* day, int* month, int* year) const;
  /// Hour, minute, second and day of week as the bytes hold them (not
  /// range-checked); a null pointer skips its field.
  void GetAsTimeOfDay(int* hour, int* minute, int* second, DayOfWeek* day) const;
  /// The text up to the first 0x00 byte (at most 14 bytes).
  std::string GetAsString14() const;

  /// Same defined size and same bytes.
  bool operator==(const GroupValue& other) const {
    return m_definedSize == other.m_definedSize && m_data == other.m_data;
  }
  /// Not operator==.
  bool operator!=(const GroupValue& other) const { return !(*this == other); }

private:
  void Store(const std::uint8_t* bytes, unsigned int size, unsigned int bitSize);
  const std::uint8_t* BytesFor(const char* getter, unsigned int needed) const;

  BinaryData m_data;
  unsigned int m_definedSize = 0;
};

} // namespace KnxStack
