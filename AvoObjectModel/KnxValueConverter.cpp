#include "AvoObjectModel/KnxValueConverter.h"

#include "Avo/Logging.h"

#include <algorithm> // std::lower_bound
#include <array>
#include <cstddef>
#include <utility> // std::move, std::swap

namespace Avo {

// DptValueEntry

DptValueEntry::DptValueEntry(const DptValueEntry& other)
    : DptValueEntry(other.m_dpt, other.m_valueType, other.m_valueSubType, other.m_converter.get()) {
}

DptValueEntry& DptValueEntry::operator=(const DptValueEntry& other) {
  DptValueEntry copy(other);
  std::swap(*this, copy);
  return *this;
}

// DptValueMap

bool DptValueMap::Insert(DptValueEntry&& entry) {
  const std::uint32_t key = KeyOf(entry.GetDpt());
  const auto position = std::lower_bound(m_entries.begin(), m_entries.end(), key, RowBelow());
  if (position != m_entries.end() && KeyOf(position->GetDpt()) == key) {
    // Kept: callers rely on the first registration of a DPT winning, and on a
    // repeated registration not being an error.
    return true;
  }
  m_entries.insert(position, std::move(entry));
  return true;
}

const DptValueEntry& DptValueMap::GetEntry(const KNXDPT& dpt, Search /*search*/) const {
  const DptValueEntry* const begin = m_entries.data();
  const DptValueEntry* const end = begin + m_entries.size();
  const std::uint16_t mainNumber = dpt.mainNumber;
  const std::uint32_t key = KeyOf(dpt);
  // The first row of the main number (its main.x row when there is one), or
  // a row of another main number or the end when it has none; and the place
  // of the exact row.
  const DptValueEntry* first = nullptr;
  const DptValueEntry* exact = nullptr;
  if (m_catalogueIndex != nullptr && mainNumber < kIndexedMainNumbers) {
    const std::uint8_t position = (*m_catalogueIndex)[mainNumber];
    first = position != kNoRow ? begin + position : end;
    // A main number's rows sort by sub number; the catalogue has few per
    // main number, and the ones in use come first.
    exact = first;
    while (exact != end && KeyOf(exact->GetDpt()) < key) {
      ++exact;
    }
  } else {
    exact = std::lower_bound(begin, end, key, RowBelow());
    // The main number's rows end before `exact`: its first row is a few
    // rows back, or searched for beyond a few.
    first = exact;
    for (int steps = 0; first != begin && (first - 1)->GetDpt().mainNumber == mainNumber; ++steps) {
      if (steps == 8) {
        // NOLINTNEXTLINE(readability-suspicious-call-argument): `first` is the end here
        first = std::lower_bound(begin, first, KeyOf(KNXDPT(0, mainNumber, 0)), RowBelow());
        break;
      }
      --first;
    }
  }
  if (exact != end && KeyOf(exact->GetDpt()) == key) {
    return *exact;
  }
  if (first == end || first->GetDpt().mainNumber != mainNumber || dpt.subNumber == 0) {
    AVO_LOG_ERROR("No Entry found for DPT = " << mainNumber << '.' << dpt.subNumber);
    return GetEmptyEntry();
  }
  if (first->GetDpt().subNumber == 0) {
    return *first;
  }
  AVO_LOG_ERROR("No Entry found for DPT = " << mainNumber << ".x");
  return GetEmptyEntry();
}

DptValueMap::DptValueMap(DptValueMap&& other) noexcept
    : m_entries(std::move(other.m_entries)), m_catalogueIndex(other.m_catalogueIndex) {
  other.Clear();
}

DptValueMap& DptValueMap::operator=(DptValueMap&& other) noexcept {
  if (this != &other) {
    m_entries = std::move(other.m_entries);
    m_catalogueIndex = other.m_catalogueIndex;
    other.Clear();
  }
  return *this;
}

void DptValueMap::Clear() {
  m_entries.clear();
  m_catalogueIndex = nullptr;
}

DptValueMap::MainNumberIndex DptValueMap::BuildIndex() const {
  MainNumberIndex index;
  index.fill(kNoRow);
  for (std::size_t position = m_entries.size(); position-- > 0;) {
    const std::uint16_t mainNumber = m_entries[position].GetDpt().mainNumber;
    if (mainNumber < kIndexedMainNumbers) {
      index[mainNumber] = static_cast<std::uint8_t>(position);
    }
  }
  return index;
}

std::size_t DptValueMap::GetMainNumberCount() const {
  std::size_t count = 0;
  for (std::size_t i = 0; i < m_entries.size(); ++i) {
    if (i == 0 || m_entries[i - 1].GetDpt().mainNumber != m_entries[i].GetDpt().mainNumber) {
      ++count;
    }
  }
  return count;
}

const DptValueEntry& DptValueMap::GetEmptyEntry() {
  // Never destroyed, so that lookups stay valid while the program's static
  // objects are being destroyed.
  static const DptValueEntry* const empty = [] {
    const KnxConverterDefault converter;
    return new DptValueEntry(KNXDPT(0, 0, 0), ivtEmpty, VelDP::vstNone, &converter);
  }();
  return *empty;
}

// Tables of KnxValueConverter

namespace {

struct SizeDefault {
  unsigned int bitSize;
  std::uint16_t mainNumber;
  std::uint16_t subNumber;
};

constexpr SizeDefault kDefaultDptBySize[] = {
    {1, 1, 1},   {2, 2, 1},    {4, 3, 7},    {8, 5, 0},   {16, 9, 0},   {24, 10, 1},
    {32, 14, 0}, {40, 218, 0}, {48, 219, 1}, {64, 19, 1}, {112, 16, 1},
};

constexpr int kAnySize = -1;

struct ValueTypeDefault {
  VelValueType valueType;
  int requestedBitSize; // kAnySize: whatever size was requested
  std::uint16_t mainNumber;
  std::uint16_t subNumber;
  std::uint8_t bitSize;
};

// The first matching row wins. Two rows look odd and are kept as they stand,
// since callers rely on the DPTs they give: a float requested at 32 bits gets
// 14.000 with bit size 16, and a string requested at 112 bits gets 16.000
// with bit size 8. ivtWord has no default DPT.
constexpr ValueTypeDefault kDefaultDptByValueType[] = {
    {ivtBool, kAnySize, 1, 1, 1},
    {ivtStepBytes, kAnySize, 3, 7, 4},
    {ivtByte, kAnySize, 5, 0, 8},
    {ivtPercent, kAnySize, 5, 1, 8},
    {ivtFloat, 0, 9, 0, 16},
    {ivtFloat, 4, 3, 0, 4},
    {ivtFloat, 8, 5, 1, 8},
    {ivtFloat, 16, 9, 0, 16},
    {ivtFloat, 32, 14, 0, 16},
    {ivtTime, kAnySize, 10, 1, 24},
    {ivtDate, kAnySize, 11, 1, 24},
    {ivtDWord, kAnySize, 12, 1, 32},
    {ivtInteger, 0, 13, 0, 32},
    {ivtInteger, 8, 6, 0, 8},
    {ivtInteger, 16, 8, 0, 16},
    {ivtTimeLag, kAnySize, 13, 100, 32},
    {ivtData40, kAnySize, 218, 0, 40},
    {ivtDateTime, kAnySize, 19, 1, 64},
    {ivtString, 0, 16, 1, 112},
    {ivtString, 8, 4, 1, 8},
    {ivtString, 112, 16, 0, 8},
};

/// A short list of value types.
struct TypeList {
  const VelValueType* types;
  std::size_t count;

  constexpr bool Contains(VelValueType type) const {
    for (std::size_t i = 0; i < count; ++i) {
      if (types[i] == type) {
        return true;
      }
    }
    return false;
  }
};

template <std::size_t N>
constexpr TypeList List(const VelValueType (&types)[N]) {
  return TypeList{types, N};
}

struct Compatibility {
  TypeList given;
  TypeList expected;
};

constexpr VelValueType kFloatLike[] = {ivtFloat, ivtByteArray, ivtPercent, ivtStepBytes, ivtAngle};
constexpr VelValueType kSigned[] = {ivtInteger, ivtTimeLag};
constexpr VelValueType kByteLike[] = {ivtByte, ivtEnumByte};
constexpr VelValueType kUnsignedLike[] = {ivtWord, ivtDWord, ivtQWord};
constexpr VelValueType kDateLike[] = {ivtDate, ivtDayDate};
constexpr VelValueType kTimeLike[] = {ivtTime, ivtTimeSpan};
constexpr VelValueType kDateTimeLike[] = {ivtDateTime, ivtTimestamp, ivtUtcDateTime};
constexpr VelValueType kAnyDateOrTime[] = {ivtDate,     ivtTime,    ivtDateTime,   ivtTimestamp,
                                           ivtTimeSpan, ivtDayDate, ivtUtcDateTime};

// Which expected types a given type fits besides its own. Deliberately
// one-way: a date-and-time value carries a date and a time and fits date and
// time rows, but a date or a time alone does not fill a date-and-time row,
// and a date does not fit a time row.
constexpr Compatibility kCompatibleTypes[] = {
    {List(kFloatLike), List(kFloatLike)},        {List(kSigned), List(kSigned)},
    {List(kByteLike), List(kByteLike)},          {List(kUnsignedLike), List(kUnsignedLike)},
    {List(kDateLike), List(kDateLike)},          {List(kTimeLike), List(kTimeLike)},
    {List(kDateTimeLike), List(kAnyDateOrTime)},
};

constexpr unsigned int kVariable = KnxValueConverter::kVariableBitSize;

struct MainNumberSize {
  std::uint16_t mainNumber;
  unsigned int bitSize;
};

constexpr MainNumberSize kStandardBitSizes[] = {
    {1, 1},    {2, 2},    {3, 4},          {4, 8},    {5, 8},    {6, 8},    {7, 16},
    {8, 16},   {9, 16},   {10, 24},        {11, 24},  {12, 32},  {13, 32},  {14, 32},
    {15, 32},  {16, 112}, {17, 8},         {18, 8},   {19, 64},  {20, 8},   {21, 8},
    {22, 16},  {23, 8},   {24, kVariable}, {25, 8},   {26, 8},   {27, 32},  {28, kVariable},
    {29, 64},  {30, 24},  {31, 3},         {200, 9},  {201, 16}, {202, 16}, {203, 24},
    {204, 16}, {205, 24}, {206, 24},       {207, 16}, {209, 24}, {210, 32}, {211, 16},
    {212, 48}, {213, 64}, {214, 32},       {215, 40}, {216, 40}, {217, 16}, {218, 40},
    {219, 48}, {220, 32}, {221, 48},       {222, 48}, {223, 24}, {224, 48}, {225, 24},
    {229, 48}, {230, 64}, {231, 32},       {232, 24}, {234, 16}, {235, 48}, {236, 8},
    {237, 16}, {238, 8},  {239, 16},       {240, 24}, {241, 32},
};

constexpr std::size_t kHighestStandardMainNumber = 241;

/// The standard sizes indexed by main number − 1; 0 where none is defined.
constexpr std::array<unsigned int, kHighestStandardMainNumber> BuildStandardBitSizeIndex() {
  std::array<unsigned int, kHighestStandardMainNumber> index{};
  for (const MainNumberSize& row : kStandardBitSizes) {
    index[row.mainNumber - 1U] = row.bitSize;
  }
  return index;
}

constexpr std::array<unsigned int, kHighestStandardMainNumber> kStandardBitSizeIndex =
    BuildStandardBitSizeIndex();

/// Streams "<main>.<sub>".
struct DptText {
  const KNXDPT& dpt;
};

std::ostream& operator<<(std::ostream& os, const DptText& text) {
  return os << text.dpt.mainNumber << '.' << text.dpt.subNumber;
}

} // namespace

// KnxValueConverter

bool KnxValueConverter::Init() { return FillDptValueMap(); }

bool KnxValueConverter::GetDefaultMappingDptForSize(KNXDPT& dpt) {
  for (const SizeDefault& row : kDefaultDptBySize) {
    if (row.bitSize == dpt.bitSize) {
      dpt.mainNumber = row.mainNumber;
      dpt.subNumber = row.subNumber;
      return true;
    }
  }
  return false;
}

bool KnxValueConverter::GetDefaultMappingDptForValueType(KNXDPT& dpt, const VELVALUE& val) {
  for (const ValueTypeDefault& row : kDefaultDptByValueType) {
    if (row.valueType == val.ivt &&
        (row.requestedBitSize == kAnySize || row.requestedBitSize == dpt.bitSize)) {
      dpt = KNXDPT(row.bitSize, row.mainNumber, row.subNumber);
      return true;
    }
  }
  return false;
}

bool KnxValueConverter::AreValueTypesCompatible(VelValueType given, VelValueType expected) {
  if (given == expected) {
    return true;
  }
  for (const Compatibility& row : kCompatibleTypes) {
    if (row.given.Contains(given)) {
      return row.expected.Contains(expected);
    }
  }
  return false;
}

unsigned int KnxValueConverter::GetStandardBitSize(std::uint16_t mainNumber) {
  if (mainNumber == 0 || mainNumber > kHighestStandardMainNumber) {
    return 0;
  }
  return kStandardBitSizeIndex[mainNumber - 1U];
}

bool KnxValueConverter::ToKnxValue(KNXDPT& dpt, const VELVALUE& val,
                                   KnxStack::GroupValue& gv) const {
  try {
    if (dpt.mainNumber == 0) {
      if (!GetDefaultMappingDptForValueType(dpt, val) && !GetDefaultMappingDptForSize(dpt)) {
        AVO_LOG_INFO("Could not find DPT for bit size " << static_cast<unsigned int>(dpt.bitSize));
        return false;
      }
      if (dpt.mainNumber == 0) {
        AVO_LOG_ERROR("Convert to KNX value failed. Missing DPT. val = " << val.ToString());
        return false;
      }
    }
    const DptValueEntry& entry = GetEntry(dpt);
    if (entry.GetValueType() == ivtEmpty) {
      // Kept: a value for a DPT without a row is accepted unconverted, so that
      // values of DPTs this library does not know still pass.
      AVO_LOG_ERROR("No Entry found for DPT = " << DptText{dpt});
      AVO_LOG_ERROR("Assume validity and accept value!");
      return true;
    }
    // A value without a type (ivtNone) is handed to the converter unchecked.
    if (val.ivt != ivtNone && !AreValueTypesCompatible(val.ivt, entry.GetValueType())) {
      AVO_LOG_ERROR("Invalid value type found for DPT = " << DptText{dpt} << " val.ivt="
                                                          << static_cast<int>(val.ivt));
      return false;
    }
    const KnxConverter* converter = entry.GetConverter();
    if (converter == nullptr) {
      AVO_LOG_ERROR("NULL pointer as KnxConverter for DPT = " << DptText{dpt});
      return false;
    }
    if (!converter->ToKnxValue(dpt, val, gv)) {
      AVO_LOG_ERROR("Convert to KNX value failed for DPT = " << DptText{dpt}
                                                             << " val = " << val.ToString());
      return false;
    }
    return true;
  } catch (const KnxStack::GroupValueException& e) {
    AVO_LOG_ERROR("Exception caught during conversion of VELVALUE to GroupValue: " << e.what());
    return false;
  }
}

bool KnxValueConverter::FromKnxValue(KNXDPT& dpt, const KnxStack::GroupValue& gv,
                                     VELVALUE& val) const {
  try {
    if (dpt.mainNumber == 0) {
      if (dpt.bitSize != 0) {
        if (!GetDefaultMappingDptForSize(dpt)) {
          AVO_LOG_INFO("Could not find DPT for bit size "
                       << static_cast<unsigned int>(dpt.bitSize));
          return false;
        }
      } else {
        // The DPT learns the group value's size only when a default is found.
        KNXDPT sized = dpt;
        sized.bitSize = static_cast<std::uint8_t>(gv.GetDefinedSize());
        if (GetDefaultMappingDptForSize(sized)) {
          dpt = sized;
        }
      }
      if (dpt.mainNumber == 0) {
        AVO_LOG_ERROR("Convert from KNX value failed. Missing DPT. GroupValue = "
                      << gv.GetRawData().ToString());
        return false;
      }
    }
    const DptValueEntry& entry = GetEntry(dpt);
    if (entry.GetValueType() == ivtEmpty) {
      // Kept: a group value of a DPT without a row is accepted as valid.
      AVO_LOG_ERROR("No Entry found for DPT = " << DptText{dpt});
      AVO_LOG_ERROR("Assume validity and accept value!");
      return true;
    }
    // Set before converting, so that even a refused value carries the row's type.
    val.ivt = entry.GetValueType();

    // Values of up to 6 bits travel in the short form, which reports a
    // defined size of 6: the converter gets such a value rebuilt with its true
    // size. A short-form value on a main number of more than 6 bits is handed
    // on empty; only the variable-size main numbers get that far.
    const unsigned int expected = GetStandardBitSize(dpt.mainNumber);
    const unsigned int actual = gv.GetDefinedSize();
    const bool mismatch = expected <= 6 ? actual > 6 : actual != expected;
    KnxStack::GroupValue rebuilt;
    if (actual == 6 && expected <= 6) {
      rebuilt = KnxStack::GroupValue(gv.GetRawData(), expected);
    }
    const KnxStack::GroupValue& chosen = actual == 6 ? rebuilt : gv;
    if (mismatch && expected != kVariableBitSize) {
      AVO_LOG_ERROR("Failed to convert a GroupValue for DPT "
                    << DptText{dpt} << " because of unexpected bit size: " << actual
                    << ", expected: " << expected);
      return false;
    }

    const KnxConverter* converter = entry.GetConverter();
    if (converter == nullptr) {
      AVO_LOG_ERROR("NULL pointer as KnxConverter for DPT = " << DptText{dpt});
      return false;
    }
    if (!converter->FromKnxValue(dpt, chosen, val)) {
      AVO_LOG_ERROR("Convert from KNX value failed for DPT = " << DptText{dpt} << " GroupValue = "
                                                               << gv.GetRawData().ToString());
      return false;
    }
    return true;
  } catch (const KnxStack::GroupValueException& e) {
    AVO_LOG_ERROR("Exception caught during conversion of GroupValue: "
                  << e.what() << "(DPT: " << DptText{dpt} << ", Value: " << val.ToString() << ")");
    return false;
  }
}

// AvoKnxValueConverter

bool AvoKnxValueConverter::ToKnxValue(KNXDPT& dpt, const std::string& text,
                                      KnxStack::GroupValue& gv) const {
  VELVALUE value;
  // Not checked: a text that does not parse goes on as what Deserialize left
  // (the empty value), which the conversion then refuses or accepts.
  static_cast<void>(value.Deserialize(text));
  return KnxValueConverter::ToKnxValue(dpt, value, gv);
}

bool AvoKnxValueConverter::ToKnxValue(const std::string& text, unsigned long bitSize,
                                      KnxStack::GroupValue& gv) const {
  KNXDPT dpt(static_cast<std::uint8_t>(bitSize & 0xFFU), 0, 0);
  return ToKnxValue(dpt, text, gv);
}

bool AvoKnxValueConverter::FromKnxValue(const KnxStack::GroupValue& gv, std::string& text,
                                        bool flag) const {
  KNXDPT dpt(static_cast<std::uint8_t>(gv.GetDefinedSize()), 0, 0);
  VELVALUE value;
  const bool converted = KnxValueConverter::FromKnxValue(dpt, gv, value);
  if (converted) {
    value.Serialize(text, flag);
  }
  return converted;
}

} // namespace Avo
