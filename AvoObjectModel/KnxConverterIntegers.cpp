// Converters of the multi-byte integer DPTs: 7.x and 8.x (16 bits), the
// 3-byte unsigned 232.x, 12.x (unsigned 32 bits) and 13.x (signed 32 bits).

#include "AvoObjectModel/KnxConverter.h"
#include "AvoObjectModel/KnxConverterCommon.h"

#include <cstdint>

namespace Avo {
namespace {

constexpr unsigned int kThreeBytes = 3;

template <class Range, class Number>
bool IsWithin(Number number, const Range& range) {
  return range.GetInternalMinimum() <= number && number <= range.GetInternalMaximum();
}

// Rounds half away from zero and truncates toward zero. Results beyond the
// 32-bit range (only a range with an empty external pair can produce them)
// saturate.
std::int32_t RoundToInt32(double number) {
  const double rounded = number > 0.0 ? number + 0.5 : number < 0.0 ? number - 0.5 : number;
  if (!(rounded < 2147483648.0)) {
    return INT32_MAX;
  }
  if (rounded <= -2147483649.0) {
    return INT32_MIN;
  }
  return static_cast<std::int32_t>(rounded);
}

// The range's linear mapping of a value onto the bus side. Where the scale
// factor is the quotient of the widths, the offset is multiplied by the
// external width before dividing, so that exact results stay exact (50 of
// 0..100 onto 0..255 gives 127.5, which rounds to 128, where the rounded
// factor 2.55 would give 127.49999999999999). A range that kept its default
// factor because of an empty pair maps with that factor.
double ScaleToExternal(std::int32_t number, const IntegerRange& range) {
  const double offset = static_cast<double>(number) - range.GetInternalMinimum();
  const double internalWidth =
      static_cast<double>(range.GetInternalMaximum()) - range.GetInternalMinimum();
  const double externalWidth =
      static_cast<double>(range.GetExternalMaximum()) - range.GetExternalMinimum();
  const double scaled = externalWidth / internalWidth == range.GetScaleFactor()
                            ? offset * externalWidth / internalWidth
                            : offset * range.GetScaleFactor();
  return scaled + range.GetExternalMinimum();
}

} // namespace

// --- 7.x and 8.x -----------------------------------------------------------
// Either the DPT or the value type suffices (kept lenient on purpose); the
// data field is read as the setter's type whatever the record's type, and the
// setter truncates to 16 bits. The range is held but not read.

bool KnxConverterInteger16BitUnsigned::ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                                                  KnxStack::GroupValue& group) const {
  AVO_LOG_DPT_USED_TO_KNX(dpt, value);
  if (dpt.mainNumber != 7 && value.ivt != ivtWord) {
    AVO_LOG_ERROR("Wrong DPT main number (7.x) or vel value type (ivtWord)!");
    return false;
  }
  group.SetAsUnsigned16(value.wVal);
  return true;
}

bool KnxConverterInteger16BitUnsigned::FromKnxValue(const KNXDPT& dpt,
                                                    const KnxStack::GroupValue& group,
                                                    VELVALUE& value) const {
  AVO_LOG_DPT_USED_FROM_KNX(dpt, group);
  if (dpt.mainNumber != 7) {
    AVO_LOG_ERROR("Wrong DPT main number (7.x)!");
    return false;
  }
  const std::uint16_t raw = group.GetAsUnsigned16();
  value.ivt = ivtWord;
  value.wVal = raw;
  return true;
}

bool KnxConverterInteger16BitSigned::ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                                                KnxStack::GroupValue& group) const {
  AVO_LOG_DPT_USED_TO_KNX(dpt, value);
  if (dpt.mainNumber != 8 && value.ivt != ivtInteger) {
    AVO_LOG_ERROR("Wrong DPT main number (8.x) or vel value type (ivtInteger)!");
    return false;
  }
  group.SetAsSigned16(static_cast<std::int16_t>(value.lVal & 0xFFFF));
  return true;
}

bool KnxConverterInteger16BitSigned::FromKnxValue(const KNXDPT& dpt,
                                                  const KnxStack::GroupValue& group,
                                                  VELVALUE& value) const {
  AVO_LOG_DPT_USED_FROM_KNX(dpt, group);
  if (dpt.mainNumber != 8) {
    AVO_LOG_ERROR("Wrong DPT main number (8.x)!");
    return false;
  }
  const std::int16_t raw = group.GetAsSigned16();
  value.ivt = ivtInteger;
  value.lVal = raw;
  return true;
}

// --- 3-byte unsigned -------------------------------------------------------
// Neither direction examines the DPT, the value type or the range: the
// bytes are laid out here and pass as they are.

bool KnxConverterInteger24BitUnsigned::ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                                                  KnxStack::GroupValue& group) const {
  AVO_LOG_DPT_USED_TO_KNX(dpt, value);
  // Most significant first; the top byte of the 32-bit field is dropped.
  const std::uint32_t number = value.dwVal;
  const unsigned char bytes[kThreeBytes] = {static_cast<unsigned char>(number >> 16),
                                            static_cast<unsigned char>(number >> 8),
                                            static_cast<unsigned char>(number)};
  group = KnxStack::GroupValue(KnxStack::BinaryData(bytes, kThreeBytes), 24);
  return true;
}

// The value type is left as the caller set it.
bool KnxConverterInteger24BitUnsigned::FromKnxValue(const KNXDPT& dpt,
                                                    const KnxStack::GroupValue& group,
                                                    VELVALUE& value) const {
  AVO_LOG_DPT_USED_FROM_KNX(dpt, group);
  const KnxStack::BinaryData& raw = group.GetRawData();
  if (raw.GetSize() < kThreeBytes) {
    AVO_LOG_ERROR("The group value of DPT=" << dpt.mainNumber << "." << dpt.subNumber
                                            << " is too short: " << raw.GetSize()
                                            << " bytes, expected " << kThreeBytes << ".");
    return false;
  }
  value.dwVal = raw.GetUInt32Value(0);
  return true;
}

// --- 12.x ------------------------------------------------------------------
// The main number is not examined; the bounds compare in 64 bits, so the
// full unsigned range passes.

bool KnxConverterInteger32BitUnsigned::ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                                                  KnxStack::GroupValue& group) const {
  AVO_LOG_DPT_USED_TO_KNX(dpt, value);
  if (value.ivt != ivtDWord) {
    AVO_LOG_ERROR("Wrong vel value type (ivtDWord)!");
    return false;
  }
  const std::int64_t number = value.dwVal;
  if (!IsWithin(number, m_range)) {
    AVO_LOG_ERROR("The internal value of DPT=" << dpt.mainNumber << "." << dpt.subNumber
                                               << ", ivt=" << static_cast<int>(value.ivt)
                                               << " is out of range: " << number << "!");
    return false;
  }
  group.SetAsUnsigned32(value.dwVal);
  return true;
}

bool KnxConverterInteger32BitUnsigned::FromKnxValue(const KNXDPT& dpt,
                                                    const KnxStack::GroupValue& group,
                                                    VELVALUE& value) const {
  AVO_LOG_DPT_USED_FROM_KNX(dpt, group);
  const std::uint32_t raw = group.GetAsUnsigned32();
  if (!IsWithin(static_cast<std::int64_t>(raw), m_range)) {
    AVO_LOG_ERROR("The internal value of DPT=" << dpt.mainNumber << "." << dpt.subNumber
                                               << ", ivt=" << static_cast<int>(value.ivt)
                                               << " is out of range: " << raw << "!");
    return false;
  }
  value.ivt = ivtDWord;
  value.dwVal = raw;
  return true;
}

// --- 13.x ------------------------------------------------------------------
// The only converter that scales, and only on the way out: the way in tests
// the raw value against the value-side bounds without scaling back. Kept as
// it is; the catalogue's ranges map one to one.

bool KnxConverterInteger32BitSigned::ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                                                KnxStack::GroupValue& group) const {
  AVO_LOG_DPT_USED_TO_KNX(dpt, value);
  if (dpt.mainNumber != 13 && value.ivt != ivtInteger) {
    AVO_LOG_ERROR("Wrong DPT main number (13.x) or vel value type (ivtInteger)!");
    return false;
  }
  const std::int32_t number = value.lVal;
  if (!IsWithin(number, m_range)) {
    AVO_LOG_ERROR("The internal value of DPT=" << dpt.mainNumber << "." << dpt.subNumber
                                               << ", ivt=" << static_cast<int>(value.ivt)
                                               << " is out of range: " << number << "!");
    return false;
  }
  group.SetAsSigned32(RoundToInt32(ScaleToExternal(number, m_range)));
  return true;
}

bool KnxConverterInteger32BitSigned::FromKnxValue(const KNXDPT& dpt,
                                                  const KnxStack::GroupValue& group,
                                                  VELVALUE& value) const {
  AVO_LOG_DPT_USED_FROM_KNX(dpt, group);
  if (dpt.mainNumber != 13) {
    AVO_LOG_ERROR("Wrong DPT main number (13.x)!");
    return false;
  }
  const std::int32_t raw = group.GetAsSigned32();
  if (!IsWithin(raw, m_range)) {
    AVO_LOG_ERROR("The group value of DPT=" << dpt.mainNumber << "." << dpt.subNumber
                                            << " is out of range: " << raw << "!");
    return false;
  }
  value.ivt = ivtInteger;
  value.lVal = raw;
  return true;
}

} // namespace Avo
