// Converters of the sub-byte DPTs: 1.x switching, 2.x control with priority,
// 3.x step control. The group value's typed accessors place the bits.

#include "AvoObjectModel/KnxConverter.h"
#include "AvoObjectModel/KnxConverterCommon.h"

namespace Avo {

// --- 1.x -------------------------------------------------------------------

// Refuses without a line of its own (kept: the caller logs the failed
// conversion with the value).
bool KnxConverter1Bit::ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                                  KnxStack::GroupValue& group) const {
  AVO_LOG_DPT_USED_TO_KNX(dpt, value);
  if (dpt.mainNumber != 1 || value.ivt != ivtBool) {
    return false;
  }
  group.SetAsBoolean(value.byVal != 0);
  return true;
}

// Writes only the data field: the caller has given the record its type.
bool KnxConverter1Bit::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                    VELVALUE& value) const {
  if (dpt.mainNumber != 1) {
    return false;
  }
  value.byVal = group.GetAsBoolean() ? 1 : 0;
  return true;
}

// --- 2.x -------------------------------------------------------------------

// The byte goes to the setter unchecked; the setter keeps its low two bits.
bool KnxConverter2Bit::ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                                  KnxStack::GroupValue& group) const {
  AVO_LOG_DPT_USED_TO_KNX(dpt, value);
  if (dpt.mainNumber != 2 || value.ivt != ivtByte) {
    AVO_LOG_ERROR("Wrong vel value type (ivtByte) or DPT main number (2.x)!");
    return false;
  }
  group.SetAsUnsigned2(value.byVal);
  return true;
}

bool KnxConverter2Bit::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                    VELVALUE& value) const {
  if (dpt.mainNumber != 2) {
    AVO_LOG_ERROR("Wrong DPT main number (2.x)!");
    return false;
  }
  const unsigned char bits = group.GetAsUnsigned2();
  value.ivt = ivtByte;
  value.byVal = bits;
  return true;
}

// --- 3.x -------------------------------------------------------------------

bool KnxConverter4Bit::ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                                  KnxStack::GroupValue& group) const {
  AVO_LOG_DPT_USED_TO_KNX(dpt, value);
  if (dpt.mainNumber != 3 || value.ivt != ivtByte) {
    AVO_LOG_ERROR("Wrong vel value type (ivtByte) or DPT main number (3.x)!");
    return false;
  }
  if (value.byVal > 0x0F) {
    AVO_LOG_ERROR("Value out of raw range [0..15]: " << static_cast<unsigned>(value.byVal));
    return false;
  }
  group.SetAsUnsigned4(value.byVal);
  return true;
}

// Writes only the data field: the caller has given the record its type.
bool KnxConverter4Bit::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                    VELVALUE& value) const {
  AVO_LOG_DPT_USED_FROM_KNX(dpt, group);
  if (dpt.mainNumber != 3) {
    AVO_LOG_ERROR("Wrong DPT main number (3.x)!");
    return false;
  }
  value.byVal = group.GetAsUnsigned4();
  return true;
}

} // namespace Avo
