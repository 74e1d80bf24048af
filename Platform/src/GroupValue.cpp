#include "KnxStack/GroupValue.h"

#include "KnxFloat16.h"

#include <algorithm> // std::copy_n, std::find, std::min
#include <cstring>   // std::memcpy
#include <string>

namespace KnxStack {
namespace {

constexpr unsigned int kString14Bytes = 14;

[[noreturn]] void ThrowTooShort(const char* getter, unsigned int needed, unsigned int size) {
  throw GroupValueException(std::string(getter) + ": the encoding needs " + std::to_string(needed) +
                            " byte(s), but the value holds " + std::to_string(size));
}

[[noreturn]] void ThrowFieldOutOfRange(const char* setter, const char* field, int value, int min,
                                       int max) {
  throw GroupValueException(std::string(setter) + ": " + field + " " + std::to_string(value) +
                            " is outside " + std::to_string(min) + ".." + std::to_string(max));
}

void CheckField(const char* setter, const char* field, int value, int min, int max) {
  if (value < min || value > max) {
    ThrowFieldOutOfRange(setter, field, value, min, max);
  }
}

constexpr std::uint8_t Byte(unsigned int value) { return static_cast<std::uint8_t>(value & 0xFFu); }

std::uint16_t ReadUInt16(const std::uint8_t* bytes) {
  return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

std::uint32_t ReadUInt32(const std::uint8_t* bytes) {
  return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 |
         std::uint32_t{bytes[2]} << 8 | bytes[3];
}

// Two-digit years 90..99 are 1990..1999, 0..89 are 2000..2089. The year byte's
// seven bits also hold 100..127, which the encoding does not use: they read
// as 2100..2127, outside the encoding's years, so that a caller's range check
// refuses them instead of taking them for 2000..2027.
int FullYear(unsigned int twoDigitYear) {
  return static_cast<int>(twoDigitYear) + (twoDigitYear >= 90 && twoDigitYear <= 99 ? 1900 : 2000);
}

} // namespace

// NOLINTNEXTLINE(modernize-pass-by-value): the platform's signature
GroupValue::GroupValue(const BinaryData& data, unsigned int bitSize)
    : m_data(data), m_definedSize(bitSize) {}

void GroupValue::SetRawData(const BinaryData& data) {
  m_data = data;
  m_definedSize = 8 * data.GetSize();
}

void GroupValue::Store(const std::uint8_t* bytes, unsigned int size, unsigned int bitSize) {
  m_data.Assign(bytes, size);
  m_definedSize = bitSize;
}

const std::uint8_t* GroupValue::BytesFor(const char* getter, unsigned int needed) const {
  if (m_data.GetSize() < needed) {
    ThrowTooShort(getter, needed, m_data.GetSize());
  }
  return m_data.GetData();
}

// Values of up to 6 bits sit in the low bits of one byte, the way the bus's
// short form carries them; a short-form value rebuilt with its true size
// therefore reads back unchanged.

// 1 bit: 0000000b
void GroupValue::SetAsBoolean(bool value) {
  const std::uint8_t byte = value ? 1 : 0;
  Store(&byte, 1, 1);
}

bool GroupValue::GetAsBoolean() const { return (BytesFor("GetAsBoolean", 1)[0] & 0x01) != 0; }

// 2 bits: 000000cv (control, value)
void GroupValue::SetAsUnsigned2(unsigned char value) {
  const std::uint8_t byte = Byte(value & 0x03u);
  Store(&byte, 1, 2);
}

unsigned char GroupValue::GetAsUnsigned2() const { return BytesFor("GetAsUnsigned2", 1)[0] & 0x03; }

// 3 bits: 00000vvv (the mode field of a status byte)
unsigned char GroupValue::GetAsUnsigned3() const { return BytesFor("GetAsUnsigned3", 1)[0] & 0x07; }

// 4 bits: 0000csss (direction, step code)
void GroupValue::SetAsUnsigned4(unsigned char value) {
  const std::uint8_t byte = Byte(value & 0x0Fu);
  Store(&byte, 1, 4);
}

unsigned char GroupValue::GetAsUnsigned4() const { return BytesFor("GetAsUnsigned4", 1)[0] & 0x0F; }

// 8 bits: vvvvvvvv, unsigned, two's complement or one character.
void GroupValue::SetAsUnsigned8(unsigned char value) {
  const std::uint8_t byte = value;
  Store(&byte, 1, 8);
}

void GroupValue::SetAsSigned8(signed char value) {
  const auto byte = static_cast<std::uint8_t>(value);
  Store(&byte, 1, 8);
}

void GroupValue::SetAsChar(char value) {
  const auto byte = static_cast<std::uint8_t>(value);
  Store(&byte, 1, 8);
}

unsigned char GroupValue::GetAsUnsigned8() const { return BytesFor("GetAsUnsigned8", 1)[0]; }

signed char GroupValue::GetAsSigned8() const {
  return static_cast<signed char>(BytesFor("GetAsSigned8", 1)[0]);
}

// 16 bits: vvvvvvvv vvvvvvvv, big-endian, unsigned or two's complement.
void GroupValue::SetAsUnsigned16(std::uint16_t value) {
  const std::uint8_t bytes[] = {Byte(value >> 8u), Byte(value)};
  Store(bytes, 2, 16);
}

void GroupValue::SetAsSigned16(std::int16_t value) {
  SetAsUnsigned16(static_cast<std::uint16_t>(value));
}

std::uint16_t GroupValue::GetAsUnsigned16() const {
  return ReadUInt16(BytesFor("GetAsUnsigned16", 2));
}

std::int16_t GroupValue::GetAsSigned16() const {
  return static_cast<std::int16_t>(ReadUInt16(BytesFor("GetAsSigned16", 2)));
}

// 32 bits: four bytes, big-endian, unsigned or two's complement.
void GroupValue::SetAsUnsigned32(std::uint32_t value) {
  const std::uint8_t bytes[] = {Byte(value >> 24u), Byte(value >> 16u), Byte(value >> 8u),
                                Byte(value)};
  Store(bytes, 4, 32);
}

void GroupValue::SetAsSigned32(std::int32_t value) {
  SetAsUnsigned32(static_cast<std::uint32_t>(value));
}

std::uint32_t GroupValue::GetAsUnsigned32() const {
  return ReadUInt32(BytesFor("GetAsUnsigned32", 4));
}

std::int32_t GroupValue::GetAsSigned32() const {
  return static_cast<std::int32_t>(ReadUInt32(BytesFor("GetAsSigned32", 4)));
}

// 16 bits: MEEEEMMM MMMMMMMM, the KNX 2-byte float (codec in KnxFloat16.cpp).
void GroupValue::SetAsFloat16(double value) {
  const std::uint16_t code = EncodeKnxFloat16(value);
  const std::uint8_t bytes[] = {Byte(code >> 8u), Byte(code)};
  Store(bytes, 2, 16);
}

double GroupValue::GetAsFloat16() const {
  return DecodeKnxFloat16(ReadUInt16(BytesFor("GetAsFloat16", 2)));
}

// 32 bits: SEEEEEEE EFFFFFFF FFFFFFFF FFFFFFFF, IEEE 754 single, big-endian.
void GroupValue::SetAsFloat32(float value) {
  static_assert(sizeof(float) == sizeof(std::uint32_t), "IEEE 754 single precision expected");
  std::uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  SetAsUnsigned32(bits);
}

float GroupValue::GetAsFloat32() const {
  const std::uint32_t bits = ReadUInt32(BytesFor("GetAsFloat32", 4));
  float value = 0.0F;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

// Date, 3 bytes: 000DDDDD 0000MMMM 0YYYYYYY (day, month, two-digit year).
void GroupValue::SetAsDate(int day, int month, int year) {
  CheckField("SetAsDate", "year", year, 1990, 2089);
  CheckField("SetAsDate", "month", month, 1, 12);
  CheckField("SetAsDate", "day", day, 1, 31);
  const std::uint8_t bytes[] = {Byte(static_cast<unsigned int>(day)),
                                Byte(static_cast<unsigned int>(month)),
                                Byte(static_cast<unsigned int>(year % 100))};
  Store(bytes, 3, 24);
}

void GroupValue::GetAsDate(int* day, int* month, int* year) const {
  const std::uint8_t* bytes = BytesFor("GetAsDate", 3);
  if (day != nullptr) {
    *day = bytes[0] & 0x1F;
  }
  if (month != nullptr) {
    *month = bytes[1] & 0x0F;
  }
  if (year != nullptr) {
    *year = FullYear(bytes[2] & 0x7Fu);
  }
}

// Time of day, 3 bytes: NNNHHHHH 00MMMMMM 00SSSSSS (day of week 1 Monday ..
// 7 Sunday or 0 for none, hour, minute, second).
void GroupValue::SetAsTimeOfDay(int hour, int minute, int second, DayOfWeek day) {
  CheckField("SetAsTimeOfDay", "hour", hour, 0, 23);
  CheckField("SetAsTimeOfDay", "minute", minute, 0, 59);
  CheckField("SetAsTimeOfDay", "second", second, 0, 59);
  CheckField("SetAsTimeOfDay", "day of week", day, NoDay, Sunday);
  const std::uint8_t bytes[] = {
      Byte(static_cast<unsigned int>(day) << 5u | static_cast<unsigned int>(hour)),
      Byte(static_cast<unsigned int>(minute)), Byte(static_cast<unsigned int>(second))};
  Store(bytes, 3, 24);
}

void GroupValue::GetAsTimeOfDay(int* hour, int* minute, int* second, DayOfWeek* day) const {
  const std::uint8_t* bytes = BytesFor("GetAsTimeOfDay", 3);
  if (hour != nullptr) {
    *hour = bytes[0] & 0x1F;
  }
  if (minute != nullptr) {
    *minute = bytes[1] & 0x3F;
  }
  if (second != nullptr) {
    *second = bytes[2] & 0x3F;
  }
  if (day != nullptr) {
    *day = static_cast<DayOfWeek>(bytes[0] >> 5);
  }
}

// 14 bytes: one byte per character, the unused tail filled with 0x00.
void GroupValue::SetAsString14(const std::string& value) {
  std::uint8_t bytes[kString14Bytes] = {};
  std::copy_n(value.begin(), std::min<std::size_t>(value.size(), kString14Bytes), bytes);
  Store(bytes, kString14Bytes, 8 * kString14Bytes);
}

std::string GroupValue::GetAsString14() const {
  const std::uint8_t* bytes = BytesFor("GetAsString14", kString14Bytes);
  const std::uint8_t* end = std::find(bytes, bytes + kString14Bytes, std::uint8_t{0});
  return std::string(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(end - bytes));
}

} // namespace KnxStack
