#include "AvoObjectModel/KnxKelMapping.h"

#include "Avo/Logging.h"
#include "Avo/VelValueHelper.h"

#include <boost/unordered_map.hpp>

#include <algorithm> // std::sort
#include <array>
#include <functional>

namespace Avo {
namespace {

constexpr ObjModelId kDeviceId = 1000;
constexpr ObjModelId kBlockSize = 100000;
constexpr ObjModelId kAppControlChannelOffset = 20;
constexpr ObjModelId kCoChannelOffset = 98; // channel of CO 0; CO 1 sits at 100
constexpr std::uint32_t kCoCount = 4096;
constexpr ObjModelId kParameterOffset = 60000;
constexpr ObjModelId kParameterTypeSpan = 10000;
constexpr std::uint32_t kMaxTextParameters = 500;

// Maximum parameter number, indexed by the parameter type.
constexpr std::array<std::uint32_t, 3> kMaxParameters = {100, 200, 500};

ObjModelId BlockStart(LogicalDeviceId ld) { return kBlockSize * static_cast<ObjModelId>(ld.Get()); }

ObjModelId TypeIndex(ParameterType type) { return static_cast<ObjModelId>(type); }

// --- Default values, one maker per value type ------------------------------

VELVALUE CreateDefaultValueBool(VelValueType ivt) { return ToVelValue(false, ivt); }
VELVALUE CreateDefaultValueByte(VelValueType ivt) { return ToVelValue(std::uint8_t{0}, ivt); }
VELVALUE CreateDefaultValueWord(VelValueType ivt) { return ToVelValue(std::uint16_t{0}, ivt); }
VELVALUE CreateDefaultValueDWord(VelValueType ivt) { return ToVelValue(std::uint32_t{0}, ivt); }
VELVALUE CreateDefaultValueInteger(VelValueType ivt) { return ToVelValue(std::int32_t{0}, ivt); }
VELVALUE CreateDefaultValueFloat(VelValueType ivt) { return ToVelValue(0.0, ivt); }
VELVALUE CreateDefaultValueString(VelValueType ivt) { return ToVelValue(std::string(), ivt); }

// Main number 234 holds two ASCII characters (a language code): its default
// is "en" rather than two NUL characters, which name no language.
VELVALUE CreateDefaultValueLanguageCode(VelValueType ivt) {
  return ToVelValue(std::uint16_t{0x656E}, ivt);
}

// The date and time types default to a cleared time.
template <VelValueType Type>
VELVALUE CreateDefaultValueTime(VelValueType ivt) {
  VELVALUE result(Type);
  result.tmVal.Clear(true);
  AVO_ASSERT2(result.ivt == ivt);
  return result;
}

// --- The main-type table ----------------------------------------------------

struct DptMainTypeProperties {
  VelValueType valueType;
  VelDP::VelValueSubType valueSubType;
  std::function<VELVALUE(VelValueType)> createDefaultValue;
};

using MainTypeTable = boost::unordered_map<std::uint32_t, DptMainTypeProperties>;

const MainTypeTable& MainTypes() {
  static const MainTypeTable table = {
      {1, {ivtBool, VelDP::vstSwitch, CreateDefaultValueBool}},
      {2, {ivtByte, VelDP::vstNone, CreateDefaultValueByte}},
      {3, {ivtByte, VelDP::vstNone, CreateDefaultValueByte}},
      {4, {ivtEmpty, VelDP::vstNone, KnxKelMapping::CreateDefaultValueEmpty}},
      {5, {ivtByte, VelDP::vstNone, CreateDefaultValueByte}},
      {6, {ivtByte, VelDP::vstSigned8Bit, CreateDefaultValueByte}},
      {7, {ivtWord, VelDP::vstNone, CreateDefaultValueWord}},
      {8, {ivtInteger, VelDP::vstSigned16Bit, CreateDefaultValueInteger}},
      {9, {ivtFloat, VelDP::vstNone, CreateDefaultValueFloat}},
      {10, {ivtDayTime, VelDP::vstNone, CreateDefaultValueTime<ivtDayTime>}},
      {11, {ivtDate, VelDP::vstNone, CreateDefaultValueTime<ivtDate>}},
      {12, {ivtDWord, VelDP::vstNone, CreateDefaultValueDWord}},
      {13, {ivtInteger, VelDP::vstNone, CreateDefaultValueInteger}},
      {14, {ivtFloat, VelDP::vstNone, CreateDefaultValueFloat}},
      {15, {ivtDWord, VelDP::vstNone, CreateDefaultValueDWord}},
      {16, {ivtString, VelDP::vstNone, CreateDefaultValueString}},
      {17, {ivtByte, VelDP::vstNone, CreateDefaultValueByte}},
      {18, {ivtByte, VelDP::vstNone, CreateDefaultValueByte}},
      {19, {ivtDateTime, VelDP::vstNone, CreateDefaultValueTime<ivtDateTime>}},
      {20, {ivtByte, VelDP::vstNone, CreateDefaultValueByte}},
      {21, {ivtByte, VelDP::vstNone, CreateDefaultValueByte}},
      {22, {ivtWord, VelDP::vstNone, CreateDefaultValueWord}},
      {23, {ivtByte, VelDP::vstNone, CreateDefaultValueByte}},
      {24, {ivtString, VelDP::vstNone, CreateDefaultValueString}},
      {25, {ivtByte, VelDP::vstNone, CreateDefaultValueByte}},
      {26, {ivtByte, VelDP::vstNone, CreateDefaultValueByte}},
      {27, {ivtDWord, VelDP::vstNone, CreateDefaultValueDWord}},
      {28, {ivtString, VelDP::vstNone, CreateDefaultValueString}},
      {29, {ivtEmpty, VelDP::vstNone, KnxKelMapping::CreateDefaultValueEmpty}},
      {30, {ivtDWord, VelDP::vstNone, CreateDefaultValueDWord}},
      {31, {ivtByte, VelDP::vstNone, CreateDefaultValueByte}},
      {200, {ivtWord, VelDP::vstNone, CreateDefaultValueWord}},
      {201, {ivtWord, VelDP::vstNone, CreateDefaultValueWord}},
      {202, {ivtWord, VelDP::vstNone, CreateDefaultValueWord}},
      {217, {ivtWord, VelDP::vstNone, CreateDefaultValueWord}},
      {219, {ivtEmpty, VelDP::vstNone, KnxKelMapping::CreateDefaultValueEmpty}},
      {222, {ivtEmpty, VelDP::vstNone, KnxKelMapping::CreateDefaultValueEmpty}},
      {229, {ivtEmpty, VelDP::vstNone, KnxKelMapping::CreateDefaultValueEmpty}},
      {230, {ivtEmpty, VelDP::vstNone, KnxKelMapping::CreateDefaultValueEmpty}},
      {232, {ivtDWord, VelDP::vstNone, CreateDefaultValueDWord}},
      {234, {ivtWord, VelDP::vstNone, CreateDefaultValueLanguageCode}},
      {237, {ivtWord, VelDP::vstNone, CreateDefaultValueWord}},
      {238, {ivtByte, VelDP::vstNone, CreateDefaultValueByte}},
  };
  return table;
}

// Every main number of the table lies below this one.
constexpr std::uint32_t kDirectMainNumbers = 256;
using DirectRows = std::array<const DptMainTypeProperties*, kDirectMainNumbers>;

// The table's rows by main number, null where it has none: every decode
// looks its main number up, and an array index is a fraction of a hash
// lookup. Made from the table, which stays the one source of the rows.
[[gnu::noinline]] DirectRows BuildMainTypesByNumber() {
  DirectRows rows{};
  for (const auto& [mainNumber, properties] : MainTypes()) {
    if (mainNumber < kDirectMainNumbers) {
      rows[mainNumber] = &properties;
    }
  }
  return rows;
}

const DirectRows& MainTypesByNumber() {
  static const DirectRows rows = BuildMainTypesByNumber();
  return rows;
}

// Builds the table while the library loads, so that no caller pays for it;
// MainTypes() stays safe for callers that run during static initialisation.
[[maybe_unused]] const DirectRows& g_mainTypesAtLoad = MainTypesByNumber();

const DptMainTypeProperties* FindMainType(std::uint32_t mainNumber) {
  if (mainNumber < kDirectMainNumbers) {
    return MainTypesByNumber()[mainNumber];
  }
  const MainTypeTable& table = MainTypes();
  const auto row = table.find(mainNumber);
  return row != table.end() ? &row->second : nullptr;
}

// DPT 6.020: status flags plus a mode field that must name exactly one mode.
bool IsStatusWithMode(PackedDpt dpt) { return MainNumberOf(dpt) == 6 && SubNumberOf(dpt) == 20; }

} // namespace

// --- The device and its logical devices ---------------------------------------

ObjModelId KnxKelMapping::GetDeviceObjModelId() { return kDeviceId; }

ObjModelId KnxKelMapping::GetKnxDeviceObjModelId() { return GetDeviceObjModelId(); }

ObjModelId KnxKelMapping::GetLogicalKnxDeviceObjModelId(LogicalDeviceId ld) {
  return BlockStart(ld);
}

ObjModelId KnxKelMapping::GetLastObjModelId(LogicalDeviceId ld) {
  return BlockStart(ld) + kBlockSize - 1;
}

bool KnxKelMapping::IsAnyLogicalKnxDeviceId(ObjModelId id) { return id >= kBlockSize; }

boost::optional<LogicalDeviceId> KnxKelMapping::GetLogicalDeviceIdFromObject(ObjModelId id) {
  if (id < kBlockSize || id >= 3 * kBlockSize) {
    return boost::none;
  }
  return LogicalDeviceId(static_cast<int>(id / kBlockSize));
}

// --- App host app control -----------------------------------------------------

ObjModelId KnxKelMapping::GetAppHostAppControlChannelObjModelId(LogicalDeviceId ld) {
  return BlockStart(ld) + kAppControlChannelOffset;
}

ObjModelId KnxKelMapping::GetAppHostAppControlStateObjModelId(LogicalDeviceId ld) {
  return GetAppHostAppControlChannelObjModelId(ld) + 1;
}

ObjModelId KnxKelMapping::GetAppHostAppControlEventObjModelId(LogicalDeviceId ld) {
  return GetAppHostAppControlChannelObjModelId(ld) + 2;
}

ObjModelId KnxKelMapping::GetAppHostAppControlAliveObjModelId(LogicalDeviceId ld) {
  return GetAppHostAppControlChannelObjModelId(ld) + 3;
}

ObjModelId KnxKelMapping::GetAppHostAppControlAppDebugObjModelId(LogicalDeviceId ld) {
  return GetAppHostAppControlChannelObjModelId(ld) + 4;
}

bool KnxKelMapping::IsAppHostAppControlState(ObjModelId id, LogicalDeviceId ld) {
  return id == GetAppHostAppControlStateObjModelId(ld);
}

bool KnxKelMapping::IsAppHostAppControlEvent(ObjModelId id, LogicalDeviceId ld) {
  return id == GetAppHostAppControlEventObjModelId(ld);
}

bool KnxKelMapping::IsAppHostAppControlAliveHeartbeat(ObjModelId id, LogicalDeviceId ld) {
  return id == GetAppHostAppControlAliveObjModelId(ld);
}

bool KnxKelMapping::IsAppHostAppControlAppDebug(ObjModelId id, LogicalDeviceId ld) {
  return id == GetAppHostAppControlAppDebugObjModelId(ld);
}

// --- Communication objects ------------------------------------------------------

boost::optional<ObjModelId> KnxKelMapping::GetCoChannelObjModelId(std::uint16_t co,
                                                                  LogicalDeviceId ld) {
  if (co >= kCoCount) {
    return boost::none;
  }
  return BlockStart(ld) + kCoChannelOffset + 2 * ObjModelId{co};
}

boost::optional<ObjModelId> KnxKelMapping::GetCoValueObjModelId(ObjModelId channelId) {
  if (!IsCoChannel(channelId)) {
    return boost::none;
  }
  return channelId + 1;
}

boost::optional<ObjModelId> KnxKelMapping::GetCoValueObjModelId(std::uint16_t co,
                                                                LogicalDeviceId ld) {
  const auto channel = GetCoChannelObjModelId(co, ld);
  return channel ? GetCoValueObjModelId(*channel) : boost::none;
}

bool KnxKelMapping::IsCoChannel(ObjModelId id) {
  // The offset test wraps below 100 on purpose: one unsigned comparison
  // covers offsets 100..8289.
  const ObjModelId offsetFromCo1 = id % kBlockSize - (kCoChannelOffset + 2);
  return id >= kBlockSize && offsetFromCo1 <= 8189 && id % 2 == 0;
}

bool KnxKelMapping::IsCoValue(ObjModelId id) { return id != 0 && IsCoChannel(id - 1); }

boost::optional<std::uint16_t> KnxKelMapping::GetCoNumberFromObjModelId(ObjModelId id,
                                                                        LogicalDeviceId ld) {
  if (id % 2 == 0 || !IsCoChannel(id & ~ObjModelId{1})) {
    return boost::none;
  }
  // Modulo the start of ld's block (ld * 100000), not the block size: for
  // ld 2 an ID of the first block gives a number that belongs to no CO. Kept
  // as it is, since callers pass IDs of ld's own block.
  const ObjModelId offset = id % BlockStart(ld);
  return static_cast<std::uint16_t>(((offset - (kCoChannelOffset + 2)) >> 1) + 1);
}

// --- Parameters -----------------------------------------------------------------

std::uint32_t KnxKelMapping::GetMaxParametersOfType(ParameterType type) {
  const ObjModelId index = TypeIndex(type);
  return index < kMaxParameters.size() ? kMaxParameters[index] : 0;
}

boost::optional<ObjModelId> KnxKelMapping::GetParameterChannelObjModelId(std::uint16_t n,
                                                                         LogicalDeviceId ld,
                                                                         ParameterType type) {
  if (n > GetMaxParametersOfType(type)) {
    return boost::none;
  }
  return BlockStart(ld) + kParameterOffset + kParameterTypeSpan * TypeIndex(type) +
         2 * ObjModelId{n};
}

boost::optional<ObjModelId> KnxKelMapping::GetIpParameterValueObjModelId(std::uint16_t n,
                                                                         LogicalDeviceId ld) {
  return GetParameterValueObjModelId(n, ld, ParameterType::Ip);
}

boost::optional<ObjModelId> KnxKelMapping::GetNumberParameterValueObjModelId(std::uint16_t n,
                                                                             LogicalDeviceId ld) {
  return GetParameterValueObjModelId(n, ld, ParameterType::Number);
}

boost::optional<ObjModelId> KnxKelMapping::GetTextParameterValueObjModelId(std::uint16_t n,
                                                                           LogicalDeviceId ld) {
  // A bound of its own rather than the table's, so that text parameters keep
  // their 500 whatever the table says.
  if (n > kMaxTextParameters) {
    return boost::none;
  }
  return GetParameterValueObjModelId(n, ld, ParameterType::Text);
}

boost::optional<ObjModelId> KnxKelMapping::GetParameterValueObjModelId(std::uint16_t n,
                                                                       LogicalDeviceId ld,
                                                                       ParameterType type) {
  const auto channel = GetParameterChannelObjModelId(n, ld, type);
  return channel ? boost::make_optional(*channel + 1) : boost::none;
}

boost::optional<ObjModelId> KnxKelMapping::GetParameterValueObjModelId(ObjModelId channelId) {
  if (!IsParameterChannel(channelId)) {
    return boost::none;
  }
  return channelId + 1;
}

bool KnxKelMapping::IsParameterChannel(ObjModelId id) {
  if (id < kBlockSize + kParameterOffset) {
    return false;
  }
  const ObjModelId x = id % kBlockSize % kParameterOffset;
  if (x < 2 || x - 2 > 3 * kParameterTypeSpan - 1) {
    return false;
  }
  const ObjModelId type = (x - 2) / kParameterTypeSpan;
  const ObjModelId number2 = x - 2 > kParameterTypeSpan - 1 ? x % (type * kParameterTypeSpan) : x;
  return GetMaxParametersOfType(static_cast<ParameterType>(type)) >= number2 >> 1;
}

boost::optional<ParameterType> KnxKelMapping::GetParameterTypeFromObjModelId(ObjModelId id,
                                                                             LogicalDeviceId ld) {
  if (!IsParameterChannel(id)) {
    return boost::none;
  }
  const ObjModelId offset = id % (BlockStart(ld) + kParameterOffset);
  if (offset >= 3 * kParameterTypeSpan) {
    return boost::none;
  }
  return static_cast<ParameterType>(offset / kParameterTypeSpan);
}

boost::optional<std::uint8_t> KnxKelMapping::GetParameterNumberFromObjModelId(ObjModelId id,
                                                                              LogicalDeviceId ld) {
  const auto type = GetParameterTypeFromObjModelId(id, ld);
  if (!type) {
    return boost::none;
  }
  const ObjModelId channelStart =
      kParameterTypeSpan * TypeIndex(*type) + kParameterOffset + BlockStart(ld);
  // An 8-bit answer: callers store parameter numbers in a byte.
  return static_cast<std::uint8_t>((id % channelStart) >> 1);
}

// --- DPT main types ---------------------------------------------------------------

std::vector<KnxKelMapping::DptMainType> KnxKelMapping::GetDptMainTypes() {
  std::vector<DptMainType> rows;
  rows.reserve(MainTypes().size());
  for (const auto& row : MainTypes()) {
    rows.push_back({row.first, row.second.valueType, row.second.valueSubType});
  }
  // The table is a hash map: give the rows in a stable order.
  std::sort(rows.begin(), rows.end(), [](const DptMainType& left, const DptMainType& right) {
    return left.mainNumber < right.mainNumber;
  });
  return rows;
}

VelValueType KnxKelMapping::GetIvtFromDpt(PackedDpt dpt) {
  const DptMainTypeProperties* row = FindMainType(MainNumberOf(dpt));
  return row != nullptr ? row->valueType : ivtEmpty;
}

std::string KnxKelMapping::GetIvtFromMainType(std::uint32_t mainNumber) {
  const DptMainTypeProperties* row = FindMainType(mainNumber);
  return row != nullptr ? VELVALUE::GetNameFromValueType(row->valueType) : "Empty";
}

std::string KnxKelMapping::GetIstFromMainType(std::uint32_t mainNumber) {
  const DptMainTypeProperties* row = FindMainType(mainNumber);
  return row != nullptr ? VelDP::GetNameFromValueSubType(row->valueSubType) : "Generic";
}

std::string KnxKelMapping::GetDefaultValueFromDpt(PackedDpt dpt, bool internalFormat) {
  const DptMainTypeProperties* row = FindMainType(MainNumberOf(dpt));
  if (row == nullptr) {
    return {};
  }
  VELVALUE defaultValue = row->createDefaultValue(row->valueType);
  if (IsStatusWithMode(dpt)) {
    defaultValue.byVal = 1;
  }
  std::string text;
  defaultValue.Serialize(text, internalFormat);
  return text;
}

VELVALUE KnxKelMapping::CreateDefaultValueEmpty(VelValueType ivt) {
  VELVALUE emptyVelValue;
  AVO_ASSERT2(emptyVelValue.ivt == ivt);
  return emptyVelValue;
}

} // namespace Avo
