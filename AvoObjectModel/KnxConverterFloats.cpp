// Converters of the float DPTs: 9.x (KNX 2-byte float) and 14.x (IEEE 754
// single). The group value's accessors do the encoding; these decide what
// passes and how "no value" travels.

#include "AvoObjectModel/KnxConverter.h"
#include "AvoObjectModel/KnxConverterCommon.h"

#include <cmath>  // std::isnan
#include <limits> // std::numeric_limits

namespace Avo {
namespace {

// The 2-byte float's "invalid data" code 0x7FFF is written from, and read
// as, this value. No other code decodes to it (it is not 0.01 * M * 2^E for
// any 12-bit mantissa M), so comparing the decoded number tells the code
// apart without reading the group value twice.
constexpr double kFloat16InvalidValue = 32767.0;

// Both ends inclusive; a NaN is never within.
bool IsWithin(double number, const FloatRange& range) {
  return range.GetDoubleMinimum() <= number && number <= range.GetDoubleMaximum();
}

} // namespace

// --- 9.x -------------------------------------------------------------------

// Any one of main number 9, a float or a no-value record suffices.
bool KnxConverterFloat16BitFloat::ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                                             KnxStack::GroupValue& group) const {
  AVO_LOG_DPT_USED_TO_KNX(dpt, value);
  if (dpt.mainNumber != 9 && value.ivt != ivtFloat && value.ivt != ivtNone) {
    AVO_LOG_ERROR("Wrong DPT main number (9.x) or vel value type (ivtFloat)!");
    return false;
  }
  if (value.ivt == ivtNone) {
    group.SetAsFloat16(kFloat16InvalidValue);
    return true;
  }
  const double number = value.dblVal;
  if (!IsWithin(number, m_range)) {
    AVO_LOG_ERROR("The internal value of DPT=" << dpt.mainNumber << "." << dpt.subNumber << ", f="
                                               << number << " is out of the allowed range.");
    return false;
  }
  group.SetAsFloat16(number);
  return true;
}

// The main number is not examined. A decoded number is stored before the
// range test, so a refused one is still in the record; the value type is
// left as the caller set it.
bool KnxConverterFloat16BitFloat::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                               VELVALUE& value) const {
  AVO_LOG_DPT_USED_FROM_KNX(dpt, group);
  const double number = group.GetAsFloat16();
  if (number == kFloat16InvalidValue) {
    value.ivt = ivtNone;
    return true;
  }
  value.dblVal = number;
  if (!IsWithin(number, m_range)) {
    AVO_LOG_ERROR("The internal value of DPT=" << dpt.mainNumber << "." << dpt.subNumber << ", f="
                                               << number << " is out of the allowed range.");
    return false;
  }
  return true;
}

// --- 14.x ------------------------------------------------------------------
// No value travels as a quiet NaN. The range is held but not read: every
// single-precision value passes, numbers beyond it become infinities.

bool KnxConverterFloat32BitFloat::ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                                             KnxStack::GroupValue& group) const {
  AVO_LOG_DPT_USED_TO_KNX(dpt, value);
  if (dpt.mainNumber != 14 && value.ivt != ivtFloat && value.ivt != ivtNone) {
    AVO_LOG_ERROR("Wrong DPT main number (14.x) or vel value type (ivtFloat)!");
    return false;
  }
  group.SetAsFloat32(value.ivt == ivtNone ? std::numeric_limits<float>::quiet_NaN()
                                          : static_cast<float>(value.dblVal));
  return true;
}

bool KnxConverterFloat32BitFloat::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                               VELVALUE& value) const {
  AVO_LOG_DPT_USED_FROM_KNX(dpt, group);
  if (dpt.mainNumber != 14) {
    AVO_LOG_ERROR("Wrong DPT main number (14.x)!");
    return false;
  }
  const float number = group.GetAsFloat32();
  value.dblVal = number;
  value.ivt = std::isnan(number) ? ivtNone : ivtFloat;
  return true;
}

} // namespace Avo
