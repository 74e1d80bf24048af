// Converters of the scene DPTs (17.001 scene number, 18.001 scene control,
// 26.001 scene info) and of the 14-byte string, 16.x.

#include "AvoObjectModel/KnxConverter.h"
#include "AvoObjectModel/KnxConverterCommon.h"

#include <cstddef> // std::size_t
#include <cstdint>
#include <string>
#include <utility> // std::move

namespace Avo {
namespace {

bool IsWithin(std::int32_t number, const IntegerRange& range) {
  return range.GetInternalMinimum() <= number && number <= range.GetInternalMaximum();
}

// Scene control, 18.001: C0SSSSSS (C = learn). Bit 6 is reserved.
constexpr unsigned char kSceneControlReservedBit = 0x40;
// Scene info, 26.001: 0MSSSSSS (M = scene inactive). Bit 7 is reserved.
constexpr unsigned char kSceneInfoReservedBit = 0x80;

} // namespace

// --- 17.001 ----------------------------------------------------------------
// Any one of main number 17, sub number 1 or a byte record suffices, whereas
// scene control and scene info want all three: kept as it is.

bool KnxConverterSceneNumber::ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                                         KnxStack::GroupValue& group) const {
  AVO_LOG_DPT_USED_TO_KNX(dpt, value);
  if (dpt.mainNumber != 17 && dpt.subNumber != 1 && value.ivt != ivtByte) {
    AVO_LOG_ERROR("Wrong DPT main number (17.001) or vel value type (ivtByte)!");
    return false;
  }
  // The data field is read as a signed 32-bit number whatever the record's
  // type, so that integer records of the scene rows are bounded as well.
  const std::int32_t scene = value.lVal;
  if (!IsWithin(scene, m_range)) {
    AVO_LOG_ERROR("Scene number is out of range (>63) for SceneNumber: " << scene);
    return false;
  }
  group.SetAsUnsigned8(static_cast<unsigned char>(scene));
  return true;
}

// The byte is stored before the range test; the type becomes ivtByte only
// when the byte passes.
bool KnxConverterSceneNumber::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                           VELVALUE& value) const {
  AVO_LOG_DPT_USED_FROM_KNX(dpt, group);
  if (dpt.mainNumber != 17 && dpt.subNumber != 1) {
    AVO_LOG_ERROR("Wrong DPT main number (17.001)!");
    return false;
  }
  const unsigned char scene = group.GetAsUnsigned8();
  value.byVal = scene;
  if (!IsWithin(scene, m_range)) {
    AVO_LOG_ERROR(
        "Scene number is out of range (>63) for SceneNumber: " << static_cast<unsigned>(scene));
    return false;
  }
  value.ivt = ivtByte;
  return true;
}

// --- 18.001 ----------------------------------------------------------------
// The range is held but not read; the learn bit and the scene pass as they are.

bool KnxConverterSceneControl::ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                                          KnxStack::GroupValue& group) const {
  AVO_LOG_DPT_USED_TO_KNX(dpt, value);
  if (dpt.mainNumber != 18 || dpt.subNumber != 1 || value.ivt != ivtByte) {
    AVO_LOG_ERROR("Wrong DPT for Scene number (18.001) or vel value type (ivtByte).");
    return false;
  }
  if ((value.byVal & kSceneControlReservedBit) != 0) {
    AVO_LOG_ERROR("Scene number is out of range (>63) for SceneControl: " << (value.byVal & 0x7FU));
    return false;
  }
  group.SetAsUnsigned8(value.byVal);
  return true;
}

// The value type is left as the caller set it.
bool KnxConverterSceneControl::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                            VELVALUE& value) const {
  AVO_LOG_DPT_USED_FROM_KNX(dpt, group);
  if (dpt.mainNumber != 18 || dpt.subNumber != 1) {
    AVO_LOG_ERROR("Wrong DPT for Scene number, only 18.001 is valid.");
    return false;
  }
  const unsigned char control = group.GetAsUnsigned8();
  if ((control & kSceneControlReservedBit) != 0) {
    AVO_LOG_ERROR("Reserved bit is used for scene number in DPT scene control!");
    return false;
  }
  value.byVal = control;
  return true;
}

// --- 26.001 ----------------------------------------------------------------
// The range is held but not read. The way in reuses the scene control's
// refusal text as it is.

bool KnxConverterSceneInfo::ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                                       KnxStack::GroupValue& group) const {
  AVO_LOG_DPT_USED_TO_KNX(dpt, value);
  if (dpt.mainNumber != 26 || dpt.subNumber != 1 || value.ivt != ivtByte) {
    AVO_LOG_ERROR("Wrong DPT for Scene number (26.001) or vel value type (ivtByte).");
    return false;
  }
  if ((value.byVal & kSceneInfoReservedBit) != 0) {
    AVO_LOG_ERROR("Reserved bit 8 is set for SceneInfo; skipped.");
    return false;
  }
  group.SetAsUnsigned8(value.byVal);
  return true;
}

// The value type is left as the caller set it.
bool KnxConverterSceneInfo::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                         VELVALUE& value) const {
  AVO_LOG_DPT_USED_FROM_KNX(dpt, group);
  if (dpt.mainNumber != 26 || dpt.subNumber != 1) {
    AVO_LOG_ERROR("Wrong DPT for Scene number, only 26.001 is valid.");
    return false;
  }
  const unsigned char info = group.GetAsUnsigned8();
  if ((info & kSceneInfoReservedBit) != 0) {
    AVO_LOG_ERROR("Reserved bit is used for scene number in DPT scene control!");
    return false;
  }
  value.byVal = info;
  return true;
}

// --- 16.x ------------------------------------------------------------------
// The range is the set of allowed character codes. Characters outside it
// become "_": a text is never refused for its characters.

bool KnxConverter14ByteString::ToKnxValue(const KNXDPT& dpt, const VELVALUE& value,
                                          KnxStack::GroupValue& group) const {
  AVO_LOG_DPT_USED_TO_KNX(dpt, value);
  if (dpt.mainNumber != 16 && value.ivt != ivtString) {
    AVO_LOG_ERROR("Wrong DPT main number (16.x) or vel value type (ivtString)!");
    return false;
  }
  const std::string& text = value.strVal;
  std::string characters;
  characters.reserve(text.size());
  for (std::size_t position = 0; position < text.size();) {
    const unsigned char character = detail::TakeOneByteCharacter(text, position);
    characters += IsWithin(character, m_range) ? static_cast<char>(character) : '_';
  }
  group.SetAsString14(characters);
  return true;
}

bool KnxConverter14ByteString::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                            VELVALUE& value) const {
  AVO_LOG_DPT_USED_FROM_KNX(dpt, group);
  if (dpt.mainNumber != 16) {
    AVO_LOG_ERROR("Wrong DPT main number (16.x)!");
    return false;
  }
  const std::string characters = group.GetAsString14();
  std::string text;
  text.reserve(2 * characters.size());
  for (const char character : characters) {
    detail::AppendAsUtf8(text, static_cast<unsigned char>(character));
  }
  // The range applies to the UTF-8 bytes, so a character of two bytes
  // outside the range becomes two "_".
  bool replaced = false;
  for (char& byte : text) {
    if (!IsWithin(static_cast<unsigned char>(byte), m_range)) {
      byte = '_';
      replaced = true;
    }
  }
  if (replaced) {
    AVO_LOG_INFO("Invalid characters for DPT " << dpt.mainNumber << "." << dpt.subNumber
                                               << " has been replaced with _.");
  }
  value.ivt = ivtString;
  value.strVal = std::move(text);
  return true;
}

} // namespace Avo
