// Converters of the one-byte DPTs: 4.x character, 5.x unsigned, 6.x signed
// and 6.020 status with mode.

#include "AvoObjectModel/KnxConverter.h"
#include "AvoObjectModel/KnxConverterCommon.h"

#include <cstddef> // std::size_t
#include <cstdint> // std::int8_t

namespace Avo {
namespace {

bool IsWithin(std::int32_t number, const IntegerRange& range) {
  return range.GetInternalMinimum() <= number && number <= range.GetInternalMaximum();
}

// The 6.020 mode field (the low three bits) names exactly one mode.
bool IsOneHotMode(unsigned mode) { return mode == 1 || mode == 2 || mode == 4; }

} // namespace

// --- 4.x -------------------------------------------------------------------

// Only the first character of the text is sent; 4.001 allows ASCII only.
bool KnxConverter8BitString::ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                                        KnxStack::GroupValue& group) const {
  AVO_LOG_DPT_USED_TO_KNX(dpt, value);
  if (dpt.mainNumber != 4 || value.ivt != ivtString) {
    AVO_LOG_ERROR("Wrong vel value type (ivtString) or DPT main number (4.x)!");
    return false;
  }
  unsigned char character = 0;
  if (!value.strVal.empty()) {
    std::size_t position = 0;
    character = detail::TakeOneByteCharacter(value.strVal, position);
  }
  if (dpt.subNumber == 1 && character > 0x7F) {
    AVO_LOG_ERROR(
        "Value out of raw range [0..127] for DPT 4.001: " << static_cast<unsigned>(character));
    return false;
  }
  group.SetAsChar(static_cast<char>(character));
  return true;
}

bool KnxConverter8BitString::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                          VELVALUE& value) const {
  AVO_LOG_DPT_USED_FROM_KNX(dpt, group);
  if (dpt.mainNumber != 4) {
    AVO_LOG_ERROR("Wrong DPT main number (4.x)!");
    return false;
  }
  const unsigned char character = group.GetAsUnsigned8();
  if (dpt.subNumber == 1 && character > 0x7F) {
    AVO_LOG_ERROR(
        "Value out of raw range [0..127] for DPT 4.001: " << static_cast<unsigned>(character));
    return false;
  }
  value.strVal.clear();
  detail::AppendAsUtf8(value.strVal, character);
  value.ivt = ivtString;
  return true;
}

// --- 5.x -------------------------------------------------------------------

// The main number is not examined, and only 5.006 is checked against the
// range on the way out, whereas the way in checks every sub number: the
// asymmetry is kept as it is.
bool KnxConverterByte8BitUnsigned::ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                                              KnxStack::GroupValue& group) const {
  AVO_LOG_DPT_USED_TO_KNX(dpt, value);
  if (value.ivt != ivtByte) {
    AVO_LOG_ERROR("Wrong vel value type (ivtByte)!");
    return false;
  }
  if (dpt.mainNumber == 5 && dpt.subNumber == 6 && !IsWithin(value.byVal, m_range)) {
    AVO_LOG_ERROR(
        "Value out of raw range [0..254] for DPT 5.006: " << static_cast<unsigned>(value.byVal));
    return false;
  }
  group.SetAsUnsigned8(value.byVal);
  return true;
}

bool KnxConverterByte8BitUnsigned::FromKnxValue(const KNXDPT& dpt,
                                                const KnxStack::GroupValue& group,
                                                VELVALUE& value) const {
  AVO_LOG_DPT_USED_FROM_KNX(dpt, group);
  const unsigned char raw = group.GetAsUnsigned8();
  if (!IsWithin(raw, m_range)) {
    AVO_LOG_ERROR("Value out of raw range " << m_range << " for DPT " << dpt.mainNumber << "."
                                            << dpt.subNumber << "; value was "
                                            << static_cast<unsigned>(raw));
    return false;
  }
  value.ivt = ivtByte;
  value.byVal = raw;
  return true;
}

// --- 6.x -------------------------------------------------------------------

// No range check: the setter keeps the low 8 bits of the integer.
bool KnxConverterInteger8BitSigned::ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                                               KnxStack::GroupValue& group) const {
  AVO_LOG_DPT_USED_TO_KNX(dpt, value);
  if (dpt.mainNumber != 6 || value.ivt != ivtInteger) {
    AVO_LOG_ERROR("Wrong vel value type (ivtInteger) or DPT main number (6.x)!");
    return false;
  }
  group.SetAsSigned8(static_cast<signed char>(value.lVal & 0xFF));
  return true;
}

// Every byte is a valid signed byte, so nothing is examined.
bool KnxConverterInteger8BitSigned::FromKnxValue(const KNXDPT& dpt,
                                                 const KnxStack::GroupValue& group,
                                                 VELVALUE& value) const {
  AVO_LOG_DPT_USED_FROM_KNX(dpt, group);
  const std::int8_t raw = group.GetAsSigned8();
  value.ivt = ivtInteger;
  value.lVal = raw;
  return true;
}

// --- 6.020 -----------------------------------------------------------------

// Any one of main number, sub number or value type suffices (kept lenient on
// purpose). The mode is read back from the group value after writing, so a
// refused byte is left in the group value.
bool KnxConverterStatus8Bit::ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                                        KnxStack::GroupValue& group) const {
  AVO_LOG_DPT_USED_TO_KNX(dpt, value);
  if (dpt.mainNumber != 6 && dpt.subNumber != 20 && value.ivt != ivtByte) {
    AVO_LOG_ERROR("Wrong vel value type (ivtByte) or DPT main number (6.020)!");
    return false;
  }
  group.SetAsUnsigned8(value.byVal);
  const unsigned mode = group.GetAsUnsigned3();
  if (!IsOneHotMode(mode)) {
    AVO_LOG_ERROR("The internal value of DPT=" << dpt.mainNumber << "." << dpt.subNumber << ", f="
                                               << mode << " is out of the allowed range.");
    return false;
  }
  return true;
}

bool KnxConverterStatus8Bit::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                          VELVALUE& value) const {
  AVO_LOG_DPT_USED_FROM_KNX(dpt, group);
  if (dpt.mainNumber != 6 && dpt.subNumber != 20) {
    AVO_LOG_ERROR("Wrong DPT main number (6.020)!");
    return false;
  }
  const unsigned mode = static_cast<unsigned>(group.GetAsSigned8()) & 0x07U;
  if (!IsOneHotMode(mode)) {
    AVO_LOG_ERROR("The internal value of DPT=" << dpt.mainNumber << "." << dpt.subNumber << ", f="
                                               << mode << " is out of the allowed range.");
    return false;
  }
  value.ivt = ivtByte;
  value.byVal = group.GetAsUnsigned8();
  return true;
}

} // namespace Avo
