// The value record itself: construction, comparison, names and the
// human-readable line.

#include "VelValue.h"

#include "VelValueKinds.h"

#include <cmath> // std::isnan
#include <ostream>

namespace VelValueInternal {
namespace {

constexpr ValueTypeInfo kValueTypes[] = {
    {ivtNone, "None", ValueKind::NoValue},
    {ivtEmpty, "Empty", ValueKind::NoValue},
    {ivtBool, "Bool", ValueKind::Bool},
    {ivtFloat, "Float", ValueKind::Double},
    {ivtInteger, "Integer", ValueKind::Long},
    {ivtShort, "Short", ValueKind::Short},
    {ivtByte, "Byte", ValueKind::Byte},
    {ivtWord, "Word", ValueKind::Word},
    {ivtDWord, "DWord", ValueKind::DWord},
    {ivtData40, "Data40", ValueKind::Block40},
    {ivtString, "String", ValueKind::Text},
    {ivtDate, "Date", ValueKind::Time},
    {ivtTime, "Time", ValueKind::Time},
    {ivtDateTime, "DateTime", ValueKind::Time},
    {ivtTimeLag, "TimeLag", ValueKind::Long},
    {ivtDayTime, "DayTime", ValueKind::Time},
    {ivtQWord, "QWord", ValueKind::DWord},
    {ivtTimestamp, "Timestamp", ValueKind::Time},
    {ivtTimeSpan, "TimeSpan", ValueKind::Time},
    {ivtDayDate, "DayDate", ValueKind::Time},
    {ivtUtcDateTime, "UtcDateTime", ValueKind::Time},
    {ivtByteArray, "ByteArray", ValueKind::Bytes},
    {ivtEnumByte, "EnumByte", ValueKind::Byte},
    {ivtPercent, "Percent", ValueKind::Double},
    {ivtStepBytes, "StepBytes", ValueKind::Bytes},
    {ivtAngle, "Angle", ValueKind::Double},
};

// Tags 0 to 15 are the first sixteen rows, in order, so that the common
// tags are found by index on every comparison and codec call.
constexpr std::int32_t kDirectTags = 16;

constexpr bool DirectTagsInOrder() {
  for (std::int32_t tag = 0; tag < kDirectTags; ++tag) {
    if (kValueTypes[tag].type != tag) {
      return false;
    }
  }
  return true;
}
static_assert(DirectTagsInOrder(), "tags 0..15 must be the first rows of kValueTypes");

struct SubTypeName {
  VelDP::VelValueSubType subType;
  const char* name;
};

constexpr SubTypeName kSubTypeNames[] = {
    {VelDP::vstNone, "None"},
    {VelDP::vstSigned8Bit, "Signed8Bit"},
    {VelDP::vstSigned16Bit, "Signed16Bit"},
    {VelDP::vstSwitch, "Switch"},
    {VelDP::vstStatusWithMode, "StatusWithMode"},
    {VelDP::vstStepControl, "StepControl"},
    {VelDP::vstFloat16, "Float16"},
    {VelDP::vstSceneNumber, "SceneNumber"},
    {VelDP::vstAsciiString, "AsciiString"},
    {VelDP::vstLatin1String, "Latin1String"},
};

// NaN equals NaN so that a record holding one still equals its own copy.
bool SameDouble(double left, double right) {
  return left == right || (std::isnan(left) && std::isnan(right));
}

} // namespace

const ValueTypeInfo* FindValueType(VelValueType type) noexcept {
  if (type >= 0 && type < kDirectTags) {
    return &kValueTypes[type];
  }
  for (const ValueTypeInfo& info : kValueTypes) {
    if (info.type == type) {
      return &info;
    }
  }
  return nullptr;
}

} // namespace VelValueInternal

using VelValueInternal::FindValueType;
using VelValueInternal::InitialStatus;
using VelValueInternal::ValueKind;
using VelValueInternal::ValueTypeInfo;

std::string VelDP::GetNameFromValueSubType(VelValueSubType subType) {
  for (const auto& entry : VelValueInternal::kSubTypeNames) {
    if (entry.subType == subType) {
      return entry.name;
    }
  }
  return "Subtype" + std::to_string(static_cast<std::int32_t>(subType));
}

// Both constructors spell out what Clear(true) does (tmVal() zeroes every
// field) rather than call through the library's symbol table: records are
// built on every conversion.
// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): tmVal(), the widest, zeroes the union
VELVALUE::VELVALUE() : ivt(ivtEmpty), tmVal(), status(InitialStatus(ivtEmpty)) {
  tmVal.isLocalTime = true;
}

// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): tmVal(), the widest, zeroes the union
VELVALUE::VELVALUE(VelValueType type) : ivt(type), tmVal(), status(InitialStatus(type)) {
  tmVal.isLocalTime = true;
}

bool VELVALUE::operator==(const VELVALUE& other) const {
  if (ivt != other.ivt || status != other.status) {
    return false;
  }
  const ValueTypeInfo* info = FindValueType(ivt);
  if (info == nullptr) {
    // The time record spans every byte that any member of the area uses.
    return tmVal == other.tmVal && strVal == other.strVal;
  }
  switch (info->kind) {
  case ValueKind::NoValue:
    return true;
  case ValueKind::Bool:
  case ValueKind::Byte:
    return byVal == other.byVal;
  case ValueKind::Word:
    return wVal == other.wVal;
  case ValueKind::DWord:
    return dwVal == other.dwVal;
  case ValueKind::Long:
  case ValueKind::Short:
    return lVal == other.lVal;
  case ValueKind::Double:
    return VelValueInternal::SameDouble(dblVal, other.dblVal);
  case ValueKind::Time:
    return tmVal == other.tmVal;
  case ValueKind::Text:
  case ValueKind::Bytes:
  case ValueKind::Block40:
    return strVal == other.strVal;
  }
  return false;
}

std::string VELVALUE::GetNameFromValueType(VelValueType type) {
  const ValueTypeInfo* info = FindValueType(type);
  if (info == nullptr) {
    return "Type" + std::to_string(static_cast<std::int32_t>(type));
  }
  return info->name;
}

std::string VELVALUE::ToString() const {
  std::string line = GetNameFromValueType(ivt);
  const ValueTypeInfo* info = FindValueType(ivt);
  if (info != nullptr && info->kind == ValueKind::Bool && byVal <= 1) {
    line += byVal != 0 ? " true" : " false";
  } else if (info != nullptr && info->kind != ValueKind::NoValue) {
    const std::size_t nameEnd = line.size();
    line += ' ';
    VelValueInternal::AppendValueBody(line, *this, info->kind);
    if (line.size() == nameEnd + 1) {
      line.pop_back(); // an empty byte array: the name alone says it
    }
  }
  if (status != InitialStatus(ivt)) {
    line += " (status ";
    VelValueInternal::AppendDecimal(line, status);
    line += ')';
  }
  return line;
}

std::ostream& operator<<(std::ostream& os, const VELVALUE& value) { return os << value.ToString(); }
