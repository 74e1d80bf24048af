// The raw byte form of a value record, big-endian; the layout per type is in
// docs/value-text-form.md. Neither direction touches its output on failure.

#include "VelValue.h"

#include "VelValueKinds.h"

#include <algorithm> // std::copy
#include <cstring>   // std::memcpy

using VelValueInternal::FindValueType;
using VelValueInternal::ValueKind;
using VelValueInternal::ValueTypeInfo;

namespace {

constexpr unsigned int kData40Size = 5;

void StoreBigEndian(std::uint64_t number, unsigned int size, unsigned char* out) {
  for (unsigned int i = 0; i < size; ++i) {
    out[i] = static_cast<unsigned char>(number >> (8 * (size - 1 - i)));
  }
}

std::uint64_t LoadBigEndian(const unsigned char* in, unsigned int size) {
  std::uint64_t number = 0;
  for (unsigned int i = 0; i < size; ++i) {
    number = number << 8 | in[i];
  }
  return number;
}

std::uint64_t DoubleBits(double value) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

double DoubleFromBits(std::uint64_t bits) {
  double value = 0.0;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

/// Bytes of a numeric type's layout.
unsigned int NumberSize(ValueKind kind) {
  switch (kind) {
  case ValueKind::Word:
  case ValueKind::Short:
    return 2;
  case ValueKind::DWord:
  case ValueKind::Long:
    return 4;
  case ValueKind::Double:
    return 8;
  default:
    return 1;
  }
}

/// The number that a numeric layout writes.
std::uint64_t NumberOf(const VELVALUE& value, ValueKind kind) {
  switch (kind) {
  case ValueKind::Bool:
    return value.byVal != 0 ? 1 : 0;
  case ValueKind::Byte:
    return value.byVal;
  case ValueKind::Word:
    return value.wVal;
  case ValueKind::DWord:
    return value.dwVal;
  case ValueKind::Long:
    return static_cast<std::uint32_t>(value.lVal);
  case ValueKind::Short:
    return static_cast<std::uint16_t>(value.lVal);
  case ValueKind::Double:
    return DoubleBits(value.dblVal);
  default:
    return 0;
  }
}

void SetNumber(VELVALUE& value, ValueKind kind, std::uint64_t number) {
  switch (kind) {
  case ValueKind::Bool:
    value.byVal = number != 0 ? 1 : 0;
    break;
  case ValueKind::Byte:
    value.byVal = static_cast<std::uint8_t>(number);
    break;
  case ValueKind::Word:
    value.wVal = static_cast<std::uint16_t>(number);
    break;
  case ValueKind::DWord:
    value.dwVal = static_cast<std::uint32_t>(number);
    break;
  case ValueKind::Long:
    value.lVal = static_cast<std::int32_t>(static_cast<std::uint32_t>(number));
    break;
  case ValueKind::Short:
    value.lVal = static_cast<std::int16_t>(static_cast<std::uint16_t>(number));
    break;
  case ValueKind::Double:
    value.dblVal = DoubleFromBits(number);
    break;
  default:
    break;
  }
}

bool WriteText(const std::string& bytes, unsigned char* buffer, unsigned int& size) {
  if (bytes.size() > size || (!bytes.empty() && buffer == nullptr)) {
    return false;
  }
  if (!bytes.empty()) {
    std::copy(bytes.begin(), bytes.end(), buffer);
  }
  size = static_cast<unsigned int>(bytes.size());
  return true;
}

} // namespace

bool VelValueToByteArray(const VELVALUE& value, unsigned char* buffer, unsigned int& size) {
  const ValueTypeInfo* info = FindValueType(value.ivt);
  if (info == nullptr) {
    return false;
  }
  const ValueKind kind = info->kind;
  switch (kind) {
  case ValueKind::NoValue:
  case ValueKind::Time:
    return false;
  case ValueKind::Text:
  case ValueKind::Bytes:
    return WriteText(value.strVal, buffer, size);
  case ValueKind::Block40:
    return value.strVal.size() == kData40Size && WriteText(value.strVal, buffer, size);
  case ValueKind::Short:
    if (value.lVal < -32768 || value.lVal > 32767) {
      return false; // does not fit its two bytes
    }
    break;
  default:
    break;
  }
  const unsigned int layoutSize = NumberSize(kind);
  if (layoutSize > size || buffer == nullptr) {
    return false;
  }
  StoreBigEndian(NumberOf(value, kind), layoutSize, buffer);
  size = layoutSize;
  return true;
}

bool ByteArrayToVelValue(const unsigned char* data, unsigned int size, VELVALUE& value,
                         bool shortForm) {
  const ValueTypeInfo* info = FindValueType(value.ivt);
  if (info == nullptr || (data == nullptr && size != 0)) {
    return false;
  }
  const ValueKind kind = info->kind;
  if (shortForm) {
    // A 1-bit group value: the bit is the low bit of its one byte, the other
    // bits belong to the telegram. Only the one-byte types can take it.
    if (size != 1 || (kind != ValueKind::Bool && kind != ValueKind::Byte)) {
      return false;
    }
    value.byVal = data[0] & 0x01;
    return true;
  }
  switch (kind) {
  case ValueKind::NoValue:
  case ValueKind::Time:
    return false;
  case ValueKind::Block40:
    if (size != kData40Size) {
      return false;
    }
    [[fallthrough]];
  case ValueKind::Text:
  case ValueKind::Bytes:
    value.strVal.assign(reinterpret_cast<const char*>(data), size);
    return true;
  default:
    break;
  }
  if (size != NumberSize(kind)) {
    return false;
  }
  SetNumber(value, kind, LoadBigEndian(data, size));
  return true;
}
