// The raw byte form of a value record, big-endian; the layout per type is in
// docs/value-text-form.md. Neither direction touches its output on failure.

#include "VelValue.h"

#include "VelValueKinds.h"

#include <cstring> // std::memcpy

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

/// A number of up to 8 bytes to be written big-endian.
struct FixedForm {
  std::uint64_t number;
  unsigned int size; ///< 0: the type has no fixed-size form
};

/// False for a value that has no byte form (or whose value cannot take it).
bool FixedFormOf(const VELVALUE& value, ValueKind kind, FixedForm& form) {
  switch (kind) {
  case ValueKind::Bool:
    form = {value.byVal != 0 ? 1u : 0u, 1};
    return true;
  case ValueKind::Byte:
    form = {value.byVal, 1};
    return true;
  case ValueKind::Word:
    form = {value.wVal, 2};
    return true;
  case ValueKind::DWord:
    form = {value.dwVal, 4};
    return true;
  case ValueKind::Long:
    form = {static_cast<std::uint32_t>(value.lVal), 4};
    return true;
  case ValueKind::Short:
    // Two bytes hold the value only in the signed 16-bit range.
    if (value.lVal < -32768 || value.lVal > 32767) {
      return false;
    }
    form = {static_cast<std::uint16_t>(value.lVal), 2};
    return true;
  case ValueKind::Double:
    form = {DoubleBits(value.dblVal), 8};
    return true;
  case ValueKind::Text:
  case ValueKind::Bytes:
  case ValueKind::Block40:
    form = {0, 0};
    return true;
  case ValueKind::NoValue:
  case ValueKind::Time:
    return false;
  }
  return false;
}

bool ReadFixedForm(const unsigned char* data, unsigned int size, ValueKind kind, VELVALUE& value) {
  switch (kind) {
  case ValueKind::Bool:
    if (size != 1) {
      return false;
    }
    value.byVal = data[0] != 0 ? 1 : 0;
    return true;
  case ValueKind::Byte:
    if (size != 1) {
      return false;
    }
    value.byVal = data[0];
    return true;
  case ValueKind::Word:
    if (size != 2) {
      return false;
    }
    value.wVal = static_cast<std::uint16_t>(LoadBigEndian(data, 2));
    return true;
  case ValueKind::DWord:
    if (size != 4) {
      return false;
    }
    value.dwVal = static_cast<std::uint32_t>(LoadBigEndian(data, 4));
    return true;
  case ValueKind::Long:
    if (size != 4) {
      return false;
    }
    value.lVal = static_cast<std::int32_t>(static_cast<std::uint32_t>(LoadBigEndian(data, 4)));
    return true;
  case ValueKind::Short:
    if (size != 2) {
      return false;
    }
    value.lVal = static_cast<std::int16_t>(static_cast<std::uint16_t>(LoadBigEndian(data, 2)));
    return true;
  case ValueKind::Double:
    if (size != 8) {
      return false;
    }
    value.dblVal = DoubleFromBits(LoadBigEndian(data, 8));
    return true;
  case ValueKind::Block40:
    if (size != kData40Size) {
      return false;
    }
    value.strVal.assign(reinterpret_cast<const char*>(data), size);
    return true;
  case ValueKind::Text:
  case ValueKind::Bytes:
    value.strVal.assign(reinterpret_cast<const char*>(data), size);
    return true;
  case ValueKind::NoValue:
  case ValueKind::Time:
    return false;
  }
  return false;
}

} // namespace

bool VelValueToByteArray(const VELVALUE& value, unsigned char* buffer, unsigned int& size) {
  const ValueTypeInfo* info = FindValueType(value.ivt);
  FixedForm form{0, 0};
  if (info == nullptr || !FixedFormOf(value, info->kind, form)) {
    return false;
  }
  if (form.size == 0) { // the bytes of the text
    const std::string& bytes = value.strVal;
    if (bytes.size() > size || (info->kind == ValueKind::Block40 && bytes.size() != kData40Size) ||
        (!bytes.empty() && buffer == nullptr)) {
      return false;
    }
    if (!bytes.empty()) {
      std::memcpy(buffer, bytes.data(), bytes.size());
    }
    size = static_cast<unsigned int>(bytes.size());
    return true;
  }
  if (form.size > size || buffer == nullptr) {
    return false;
  }
  StoreBigEndian(form.number, form.size, buffer);
  size = form.size;
  return true;
}

bool ByteArrayToVelValue(const unsigned char* data, unsigned int size, VELVALUE& value,
                         bool shortForm) {
  const ValueTypeInfo* info = FindValueType(value.ivt);
  if (info == nullptr || (data == nullptr && size != 0)) {
    return false;
  }
  if (shortForm) {
    // A 1-bit group value: the bit is the low bit of its one byte, the other
    // bits belong to the telegram. Only the one-byte types can take it.
    if (size != 1 || (info->kind != ValueKind::Bool && info->kind != ValueKind::Byte)) {
      return false;
    }
    value.byVal = data[0] & 0x01;
    return true;
  }
  return ReadFixedForm(data, size, info->kind, value);
}
