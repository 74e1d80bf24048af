// The fall-back converter: raw bytes through the platform's byte codec.
// The family converters live in KnxConverterBits.cpp, KnxConverterBytes.cpp,
// KnxConverterIntegers.cpp, KnxConverterFloats.cpp, KnxConverterDateTime.cpp
// and KnxConverterScenes.cpp; the ranges in KnxConverterRange.cpp.

#include "AvoObjectModel/KnxConverter.h"

#include "Avo/Logging.h"

namespace Avo {
namespace {

// Enough for the widest DPT (255 bits).
constexpr unsigned int kRawBufferSize = 32;
// Values of an unknown or very wide DPT are written with up to this many bytes.
constexpr unsigned int kDefaultByteCount = 24;

bool IsRawByteArray(VelValueType type) { return type == ivtByteArray || type == ivtStepBytes; }

} // namespace

bool KnxConverterDefault::ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                                     KnxStack::GroupValue& group) const {
  unsigned char buffer[kRawBufferSize] = {};
  unsigned int byteCount = (dpt.bitSize + 7U) / 8U;

  if (IsRawByteArray(value.ivt)) {
    if (!VelValueToByteArray(value, buffer, byteCount)) {
      AVO_LOG_ERROR("VelValueToByteArray failed. DPT=" << dpt.mainNumber << "." << dpt.subNumber);
      return false;
    }
    // Kept as it is: of a raw array only the first byte goes to the bus.
    group.SetAsUnsigned8(buffer[0]);
    return true;
  }

  if (value.ivt == ivtBool) {
    // A boolean on any other DPT is accepted and the group value left as it
    // was: a deliberate leniency, kept as it is.
    if (dpt.mainNumber == 1) {
      group.SetAsBoolean(value.byVal != 0);
    } else if (dpt.mainNumber == 2) {
      group.SetAsUnsigned2(value.byVal != 0 ? 0x11 : 0x10);
    }
    return true;
  }

  if (byteCount == 0 || byteCount >= kDefaultByteCount) {
    byteCount = kDefaultByteCount;
  }
  if (!VelValueToByteArray(value, buffer, byteCount)) {
    AVO_LOG_ERROR("VelValueToByteArray failed. DPT=" << dpt.mainNumber << "." << dpt.subNumber
                                                     << " data size =" << byteCount);
    return false;
  }
  if (byteCount < 2) {
    group.SetAsUnsigned8(buffer[0]);
  } else {
    group.SetRawData(KnxStack::BinaryData(buffer, byteCount));
  }
  return true;
}

bool KnxConverterDefault::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                       VELVALUE& value) const {
  const KnxStack::BinaryData& raw = group.GetRawData();
  const bool shortForm = group.GetDefinedSize() == 1;
  if (ByteArrayToVelValue(raw.GetData(), raw.GetSize(), value, shortForm)) {
    return true;
  }
  value = VELVALUE();
  AVO_LOG_ERROR("ByteArrayToVelValue failed. DPT=" << dpt.mainNumber << "." << dpt.subNumber
                                                   << " data size =" << raw.GetSize());
  return false;
}

} // namespace Avo
