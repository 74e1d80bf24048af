// The DPT catalogue: which datapoint types the value converter converts, with
// the bit size, value type, subtype, converter and range of each.
#include "AvoObjectModel/KnxValueConverter.h"

#include "Avo/Logging.h"
#include "Avo/Unreachable.h"

#include <array>
#include <cstddef> // std::size_t
#include <cstdint>
#include <iomanip> // std::setw, std::setfill
#include <memory>
#include <ostream>

namespace Avo {
namespace {

/// The converter class of a catalogue row.
enum class ConverterKind : std::uint8_t {
  Bit1,
  Bit2,
  Step4Bit,
  Char8Bit,
  Unsigned8Bit,
  Signed8Bit,
  Status8Bit,
  Unsigned16Bit,
  Signed16Bit,
  Float16Bit,
  TimeOfDay,
  Date,
  Unsigned32Bit,
  Signed32Bit,
  Float32Bit,
  String14Byte,
  SceneNumber,
  SceneControl,
  DateTime,
  SceneInfo,
  Unsigned24Bit
};

/// The four bounds of a row's range in the range constructor's order
/// (internal pair, then external pair). Every bound of the catalogue is exact
/// in a double; the integer range classes take them back by conversion.
struct Bounds {
  double internalMinimum;
  double internalMaximum;
  double externalMinimum;
  double externalMaximum;
};

struct CatalogueRow {
  std::uint16_t mainNumber;
  std::uint16_t subNumber; // 0: the main.x row
  std::uint8_t bitSize;
  VelValueType valueType;
  VelDP::VelValueSubType valueSubType;
  ConverterKind converter;
  Bounds range; // unused by the converters without a range
};

constexpr Bounds kNoRange{0.0, 0.0, 0.0, 0.0};
constexpr Bounds kAscii{0, 127, 0, 127};
constexpr Bounds kOctet{0, 255, 0, 255};
// The exact ends of the KNX 2-byte float.
constexpr Bounds kFloat16Full{-671088.64, 670760.96, -671088.64, 670760.96};
constexpr Bounds kFloat16Signed{-670760.0, 670760.0, -670760.0, 670760.0};
constexpr Bounds kFloat16Positive{0.0, 670760.0, 0.0, 670760.0};
constexpr Bounds kUnsigned32{0, 4294967295.0, 0, 4294967295.0};
// The largest finite single-precision value.
constexpr double kFloat32Max = 3.4028234663852886e+38;

using K = ConverterKind;

// Registration order matters only where two rows share a (main, sub) pair
// (the first wins); it is kept as it always was, 236 before 232 included.
// The uneven 9.x ends (whole numbers for 9.001 to 9.025, the fractional
// float ends for 9.x and 9.026, 0.0 .. 670760.96 for 9.028) and the pairing
// of 16.x with 0..127 and 16.001 with 0..255 are kept: callers rely on the
// values each row lets through.
constexpr CatalogueRow kCatalogue[] = {
    {1, 0, 1, ivtBool, VelDP::vstNone, K::Bit1, kNoRange},
    {2, 0, 2, ivtBool, VelDP::vstNone, K::Bit2, kNoRange},
    {3, 0, 4, ivtFloat, VelDP::vstStepControl, K::Step4Bit, {-100.0, 100.0, 0, 15}},
    {4, 0, 8, ivtString, VelDP::vstAsciiString, K::Char8Bit, kAscii},
    {4, 1, 8, ivtString, VelDP::vstAsciiString, K::Char8Bit, kAscii},
    {4, 2, 8, ivtString, VelDP::vstLatin1String, K::Char8Bit, kOctet},
    {5, 0, 8, ivtByte, VelDP::vstNone, K::Unsigned8Bit, kOctet},
    {5, 6, 8, ivtByte, VelDP::vstNone, K::Unsigned8Bit, {0, 254, 0, 254}},
    {6, 0, 8, ivtInteger, VelDP::vstNone, K::Signed8Bit, {-128, 127, -128, 127}},
    {6, 20, 8, ivtByte, VelDP::vstStatusWithMode, K::Status8Bit, kOctet},
    {7, 0, 16, ivtWord, VelDP::vstNone, K::Unsigned16Bit, {0, 65535, 0, 65535}},
    {8, 0, 16, ivtInteger, VelDP::vstNone, K::Signed16Bit, {-32768, 32767, -32768, 32767}},
    {9, 0, 16, ivtFloat, VelDP::vstNone, K::Float16Bit, kFloat16Full},
    {9, 1, 16, ivtFloat, VelDP::vstFloat16, K::Float16Bit, {-273.0, 670760.0, -273.0, 670760.0}},
    {9, 2, 16, ivtFloat, VelDP::vstFloat16, K::Float16Bit, kFloat16Signed},
    {9, 3, 16, ivtFloat, VelDP::vstFloat16, K::Float16Bit, kFloat16Signed},
    {9, 4, 16, ivtFloat, VelDP::vstFloat16, K::Float16Bit, kFloat16Positive},
    {9, 5, 16, ivtFloat, VelDP::vstFloat16, K::Float16Bit, kFloat16Positive},
    {9, 6, 16, ivtFloat, VelDP::vstFloat16, K::Float16Bit, kFloat16Positive},
    {9, 7, 16, ivtFloat, VelDP::vstFloat16, K::Float16Bit, kFloat16Positive},
    {9, 8, 16, ivtFloat, VelDP::vstFloat16, K::Float16Bit, kFloat16Positive},
    {9, 10, 16, ivtFloat, VelDP::vstFloat16, K::Float16Bit, kFloat16Signed},
    {9, 11, 16, ivtFloat, VelDP::vstFloat16, K::Float16Bit, kFloat16Signed},
    {9, 20, 16, ivtFloat, VelDP::vstFloat16, K::Float16Bit, kFloat16Signed},
    {9, 21, 16, ivtFloat, VelDP::vstFloat16, K::Float16Bit, kFloat16Signed},
    {9, 22, 16, ivtFloat, VelDP::vstFloat16, K::Float16Bit, kFloat16Signed},
    {9, 23, 16, ivtFloat, VelDP::vstFloat16, K::Float16Bit, kFloat16Signed},
    {9, 24, 16, ivtFloat, VelDP::vstFloat16, K::Float16Bit, kFloat16Signed},
    {9, 25, 16, ivtFloat, VelDP::vstFloat16, K::Float16Bit, kFloat16Signed},
    {9, 26, 16, ivtFloat, VelDP::vstFloat16, K::Float16Bit, kFloat16Full},
    {9, 27, 16, ivtFloat, VelDP::vstFloat16, K::Float16Bit, {-459.6, 670760.96, -459.6, 670760.96}},
    {9, 28, 16, ivtFloat, VelDP::vstFloat16, K::Float16Bit, {0.0, 670760.96, 0.0, 670760.96}},
    // 10.x registers the plain time-of-day type (12); the converter itself
    // writes and accepts the type with weekday (15). Both are relied upon.
    {10, 0, 24, ivtTime, VelDP::vstNone, K::TimeOfDay, kNoRange},
    {11, 0, 24, ivtDate, VelDP::vstNone, K::Date, kNoRange},
    {12, 0, 32, ivtDWord, VelDP::vstNone, K::Unsigned32Bit, kUnsigned32},
    {13,
     0,
     32,
     ivtInteger,
     VelDP::vstNone,
     K::Signed32Bit,
     {-2147483648.0, 2147483647.0, -2147483648.0, 2147483647.0}},
    {14,
     0,
     32,
     ivtFloat,
     VelDP::vstNone,
     K::Float32Bit,
     {-kFloat32Max, kFloat32Max, -kFloat32Max, kFloat32Max}},
    {15, 0, 32, ivtDWord, VelDP::vstNone, K::Unsigned32Bit, kUnsigned32},
    {16, 0, 112, ivtString, VelDP::vstAsciiString, K::String14Byte, kAscii},
    {16, 1, 112, ivtString, VelDP::vstLatin1String, K::String14Byte, kOctet},
    {17, 0, 8, ivtInteger, VelDP::vstSceneNumber, K::SceneNumber, {0, 63, 0, 63}},
    {18, 0, 8, ivtInteger, VelDP::vstSceneNumber, K::SceneControl, {0, 63, 0, 63}},
    {19, 0, 64, ivtDateTime, VelDP::vstNone, K::DateTime, kNoRange},
    {20, 0, 8, ivtByte, VelDP::vstNone, K::Unsigned8Bit, kOctet},
    {20, 102, 8, ivtByte, VelDP::vstNone, K::Unsigned8Bit, {0, 4, 0, 4}},
    {20, 103, 8, ivtByte, VelDP::vstNone, K::Unsigned8Bit, {0, 4, 0, 4}},
    {21, 0, 8, ivtByte, VelDP::vstNone, K::Unsigned8Bit, kOctet},
    {23, 0, 8, ivtByte, VelDP::vstNone, K::Unsigned8Bit, kOctet},
    {26, 0, 8, ivtByte, VelDP::vstNone, K::SceneInfo, {-64, 64, 0, 255}},
    {27, 0, 32, ivtDWord, VelDP::vstNone, K::Unsigned32Bit, kUnsigned32},
    {236, 0, 8, ivtByte, VelDP::vstNone, K::Unsigned8Bit, kOctet},
    {232, 0, 24, ivtDWord, VelDP::vstNone, K::Unsigned24Bit, {0, 16777215, 0, 16777215}},
    {238, 0, 8, ivtByte, VelDP::vstNone, K::Unsigned8Bit, kOctet},
};

constexpr std::size_t kCatalogueSize = sizeof(kCatalogue) / sizeof(kCatalogue[0]);
static_assert(kCatalogueSize == 53, "the catalogue has 53 rows");
static_assert(kCatalogueSize <= DptValueMap::kInlineRows, "a map holds the catalogue inline");

IntegerRange MakeIntegerRange(const Bounds& b) {
  return IntegerRange(
      static_cast<std::int32_t>(b.internalMinimum), static_cast<std::int32_t>(b.internalMaximum),
      static_cast<std::int32_t>(b.externalMinimum), static_cast<std::int32_t>(b.externalMaximum));
}

LongIntegerRange MakeLongIntegerRange(const Bounds& b) {
  return LongIntegerRange(
      static_cast<std::int64_t>(b.internalMinimum), static_cast<std::int64_t>(b.internalMaximum),
      static_cast<std::int64_t>(b.externalMinimum), static_cast<std::int64_t>(b.externalMaximum));
}

FloatIntegerRange MakeFloatIntegerRange(const Bounds& b) {
  return FloatIntegerRange(b.internalMinimum, b.internalMaximum,
                           static_cast<std::int32_t>(b.externalMinimum),
                           static_cast<std::int32_t>(b.externalMaximum));
}

FloatRange MakeFloatRange(const Bounds& b) {
  return FloatRange(b.internalMinimum, b.internalMaximum, b.externalMinimum, b.externalMaximum);
}

std::unique_ptr<KnxConverter> MakeConverter(const CatalogueRow& row) {
  const Bounds& b = row.range;
  switch (row.converter) {
  case K::Bit1:
    return std::make_unique<KnxConverter1Bit>();
  case K::Bit2:
    return std::make_unique<KnxConverter2Bit>();
  case K::Step4Bit:
    return std::make_unique<KnxConverter4Bit>(MakeFloatIntegerRange(b));
  case K::Char8Bit:
    return std::make_unique<KnxConverter8BitString>(MakeIntegerRange(b));
  case K::Unsigned8Bit:
    return std::make_unique<KnxConverterByte8BitUnsigned>(MakeIntegerRange(b));
  case K::Signed8Bit:
    return std::make_unique<KnxConverterInteger8BitSigned>(MakeIntegerRange(b));
  case K::Status8Bit:
    return std::make_unique<KnxConverterStatus8Bit>(MakeIntegerRange(b));
  case K::Unsigned16Bit:
    return std::make_unique<KnxConverterInteger16BitUnsigned>(MakeIntegerRange(b));
  case K::Signed16Bit:
    return std::make_unique<KnxConverterInteger16BitSigned>(MakeIntegerRange(b));
  case K::Float16Bit:
    return std::make_unique<KnxConverterFloat16BitFloat>(MakeFloatRange(b));
  case K::TimeOfDay:
    return std::make_unique<KnxConverterTimeOfDay>();
  case K::Date:
    return std::make_unique<KnxConverterDate>();
  case K::Unsigned32Bit:
    return std::make_unique<KnxConverterInteger32BitUnsigned>(MakeLongIntegerRange(b));
  case K::Signed32Bit:
    return std::make_unique<KnxConverterInteger32BitSigned>(MakeIntegerRange(b));
  case K::Float32Bit:
    return std::make_unique<KnxConverterFloat32BitFloat>(MakeFloatRange(b));
  case K::String14Byte:
    return std::make_unique<KnxConverter14ByteString>(MakeIntegerRange(b));
  case K::SceneNumber:
    return std::make_unique<KnxConverterSceneNumber>(MakeIntegerRange(b));
  case K::SceneControl:
    return std::make_unique<KnxConverterSceneControl>(MakeIntegerRange(b));
  case K::DateTime:
    return std::make_unique<KnxConverterDateTime>();
  case K::SceneInfo:
    return std::make_unique<KnxConverterSceneInfo>(MakeIntegerRange(b));
  case K::Unsigned24Bit:
    return std::make_unique<KnxConverterInteger24BitUnsigned>(MakeLongIntegerRange(b));
  }
  AVO_UNREACHABLE();
}

using Prototypes = std::array<std::unique_ptr<KnxConverter>, kCatalogueSize>;

// One configured converter per row, built (and its range's scale factor
// computed) once per process; every Init clones these into its rows. They
// are never destroyed, so that Init stays usable while static objects of
// the program are being destroyed.
const Prototypes& GetPrototypes() {
  static const Prototypes* const prototypes = [] {
    auto* built = new Prototypes();
    for (std::size_t i = 0; i < kCatalogueSize; ++i) {
      (*built)[i] = MakeConverter(kCatalogue[i]);
    }
    return built;
  }();
  return *prototypes;
}

/// A row's DPT as the failure line names it: "9.001", or "9.x" for sub 0.
struct RowName {
  const CatalogueRow& row;
};

std::ostream& operator<<(std::ostream& os, const RowName& name) {
  os << name.row.mainNumber << '.';
  if (name.row.subNumber == 0) {
    return os << 'x';
  }
  return os << std::setw(3) << std::setfill('0') << name.row.subNumber;
}

} // namespace

bool KnxValueConverter::FillDptValueMap() {
  m_dptValueMap.Clear();
  const Prototypes& prototypes = GetPrototypes();
  bool complete = true;
  for (std::size_t i = 0; i < kCatalogueSize; ++i) {
    const CatalogueRow& row = kCatalogue[i];
    if (!AddDptValueMapEntry(row.mainNumber, row.subNumber, row.bitSize, row.valueType,
                             row.valueSubType, *prototypes[i])) {
      AVO_LOG_ERROR("Add DPT value map entry failed. DPT=" << RowName{row});
      complete = false;
    }
  }
  if (complete) {
    // Every complete filling lays the rows out alike, so one index, built
    // from the first, serves every map filled from the catalogue.
    static const DptValueMap::MainNumberIndex index = m_dptValueMap.BuildIndex();
    m_dptValueMap.m_catalogueIndex = &index;
  }
  return true;
}

} // namespace Avo
