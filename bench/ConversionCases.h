#pragma once
// The DPTs that the conversion benchmarks measure, each with a typical value
// and the floor of its conversion: the bare group value setter and getter
// for the same value.

#include "KnxStack/GroupValue.h"
#include "VelValue.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

namespace AvoBench {

struct ConversionCase {
  const char* name; ///< "9.001"
  KNXDPT dpt;
  /// The value as the table-driven converter takes it.
  VELVALUE converterValue;
  /// The value as the group value bridge takes it (the main number's type).
  VELVALUE bridgeValue;
  /// The floor of encoding: the bare setter for the record's value.
  void (*set)(const VELVALUE&, KnxStack::GroupValue&);
  /// The floor of decoding: the bare getter, its result stored in the
  /// record (with the record's own setter for dates and times).
  void (*get)(const KnxStack::GroupValue&, VELVALUE&);

  /// Main number in the upper 16 bits, sub number in the lower ones.
  std::uint32_t PackedDpt() const {
    return static_cast<std::uint32_t>(dpt.mainNumber) << 16 | dpt.subNumber;
  }
};

namespace detail {

inline VELVALUE Time(VelValueType type, unsigned short year, unsigned char month, unsigned char day,
                     unsigned char hour, unsigned char minute, unsigned char second) {
  VELVALUE value(type);
  value.tmVal.SetDateTime(year, month, day, hour, minute, second, true);
  return value;
}

inline VELVALUE TimeOfDayValue(VelValueType type) {
  VELVALUE value = Time(type, 2000, 1, 1, 10, 20, 30);
  value.tmVal.weekday = VelWeekDays::MONDAY;
  value.tmVal.timeOfDayOnly = 1;
  return value;
}

template <class Fill>
VELVALUE With(VelValueType type, Fill fill) {
  VELVALUE value(type);
  fill(value);
  return value;
}

} // namespace detail

/// 1.001, 5.001, 7.001, 9.001, 13.001, 14.000, 16.001, 10.001, 11.001,
/// 19.001 and 99.001, a DPT that no catalogue knows.
inline const std::vector<ConversionCase>& ConversionCases() {
  using detail::With;
  using KnxStack::GroupValue;
  static const std::vector<ConversionCase> cases = [] {
    const VELVALUE boolean = With(ivtBool, [](VELVALUE& v) { v.byVal = 1; });
    const VELVALUE byte = With(ivtByte, [](VELVALUE& v) { v.byVal = 200; });
    // wVal and dwVal share their low bytes: the converter reads the one, the
    // bridge the other.
    const VELVALUE word = With(ivtWord, [](VELVALUE& v) { v.dwVal = 1234; });
    const VELVALUE temperature = With(ivtFloat, [](VELVALUE& v) { v.dblVal = 21.5; });
    const VELVALUE integer = With(ivtInteger, [](VELVALUE& v) { v.lVal = -123456; });
    const VELVALUE single = With(ivtFloat, [](VELVALUE& v) { v.dblVal = 1.5; });
    const VELVALUE text = With(ivtString, [](VELVALUE& v) { v.strVal = "Hello"; });
    const VELVALUE date = detail::Time(ivtDate, 2024, 5, 6, 0, 0, 0);
    const VELVALUE dateTime = detail::Time(ivtDateTime, 2024, 5, 6, 10, 20, 30);
    const VELVALUE unknown = With(ivtFloat, [](VELVALUE& v) { v.dblVal = 1.0; });
    return std::vector<ConversionCase>{
        {"1.001",
         {1, 1, 1},
         boolean,
         boolean,
         [](const VELVALUE& v, GroupValue& g) { g.SetAsBoolean(v.byVal != 0); },
         [](const GroupValue& g, VELVALUE& v) { v.byVal = g.GetAsBoolean() ? 1 : 0; }},
        {"5.001",
         {8, 5, 1},
         byte,
         byte,
         [](const VELVALUE& v, GroupValue& g) { g.SetAsUnsigned8(v.byVal); },
         [](const GroupValue& g, VELVALUE& v) { v.byVal = g.GetAsUnsigned8(); }},
        {"7.001",
         {16, 7, 1},
         word,
         word,
         [](const VELVALUE& v, GroupValue& g) { g.SetAsUnsigned16(v.wVal); },
         [](const GroupValue& g, VELVALUE& v) { v.wVal = g.GetAsUnsigned16(); }},
        {"9.001",
         {16, 9, 1},
         temperature,
         temperature,
         [](const VELVALUE& v, GroupValue& g) { g.SetAsFloat16(v.dblVal); },
         [](const GroupValue& g, VELVALUE& v) { v.dblVal = g.GetAsFloat16(); }},
        {"13.001",
         {32, 13, 1},
         integer,
         integer,
         [](const VELVALUE& v, GroupValue& g) { g.SetAsSigned32(v.lVal); },
         [](const GroupValue& g, VELVALUE& v) { v.lVal = g.GetAsSigned32(); }},
        {"14.000",
         {32, 14, 0},
         single,
         single,
         [](const VELVALUE& v, GroupValue& g) { g.SetAsFloat32(static_cast<float>(v.dblVal)); },
         [](const GroupValue& g, VELVALUE& v) { v.dblVal = g.GetAsFloat32(); }},
        {"16.001",
         {112, 16, 1},
         text,
         text,
         [](const VELVALUE& v, GroupValue& g) { g.SetAsString14(v.strVal); },
         [](const GroupValue& g, VELVALUE& v) { v.strVal = g.GetAsString14(); }},
        // The catalogue's row for 10.x takes the plain time-of-day type; the
        // bridge takes the type with weekday.
        {"10.001",
         {24, 10, 1},
         detail::TimeOfDayValue(ivtTime),
         detail::TimeOfDayValue(ivtDayTime),
         [](const VELVALUE& v, GroupValue& g) {
           g.SetAsTimeOfDay(v.tmVal.hour, v.tmVal.minute, v.tmVal.second, GroupValue::Monday);
         },
         [](const GroupValue& g, VELVALUE& v) {
           int hour = 0;
           int minute = 0;
           int second = 0;
           GroupValue::DayOfWeek day = GroupValue::NoDay;
           g.GetAsTimeOfDay(&hour, &minute, &second, &day);
           v.tmVal.SetDateTime(2000, 1, 1, static_cast<unsigned char>(hour),
                               static_cast<unsigned char>(minute),
                               static_cast<unsigned char>(second), true);
           v.tmVal.weekday = static_cast<std::uint16_t>(1U << (day - 1U));
         }},
        {"11.001",
         {24, 11, 1},
         date,
         date,
         [](const VELVALUE& v, GroupValue& g) {
           g.SetAsDate(v.tmVal.day, v.tmVal.month, v.tmVal.year);
         },
         [](const GroupValue& g, VELVALUE& v) {
           int day = 0;
           int month = 0;
           int year = 0;
           g.GetAsDate(&day, &month, &year);
           v.tmVal.SetDate(static_cast<unsigned short>(year), static_cast<unsigned char>(month),
                           static_cast<unsigned char>(day), true);
         }},
        // No typed accessor: the floor lays out and reads the 8 raw bytes.
        {"19.001",
         {64, 19, 1},
         dateTime,
         dateTime,
         [](const VELVALUE& v, GroupValue& g) {
           const VELTIME& t = v.tmVal;
           const std::uint8_t bytes[] = {static_cast<std::uint8_t>(t.year - 1900),
                                         t.month,
                                         t.day,
                                         t.hour,
                                         t.minute,
                                         t.second,
                                         0x20,
                                         0};
           g = GroupValue(KnxStack::BinaryData(bytes, sizeof bytes), 64);
         },
         [](const GroupValue& g, VELVALUE& v) {
           const std::uint8_t* bytes = g.GetRawData().GetData();
           v.tmVal.SetDateTime(static_cast<unsigned short>(bytes[0] + 1900), bytes[1] & 0x0F,
                               bytes[2] & 0x1F, bytes[3] & 0x1F, bytes[4] & 0x3F, bytes[5] & 0x3F,
                               true);
         }},
        {"99.001",
         {16, 99, 1},
         unknown,
         unknown,
         [](const VELVALUE& v, GroupValue& g) { g.SetAsFloat16(v.dblVal); },
         [](const GroupValue& g, VELVALUE& v) { v.dblVal = g.GetAsFloat16(); }},
    };
  }();
  return cases;
}

/// A group value as the bus delivers it for the case: its bare setter's work.
inline KnxStack::GroupValue EncodedGroupValue(const ConversionCase& conversion) {
  KnxStack::GroupValue value;
  conversion.set(conversion.bridgeValue, value);
  return value;
}

} // namespace AvoBench
