#pragma once
// Compact builders of value records, and the value types, for tests.

#include "VelValue.h"

#include <cstdint>
#include <string>
#include <utility> // std::move

namespace AvoTest {

/// A record of the given type whose member `Member` holds the value.
template <class T, T VELVALUE::*Member>
VELVALUE With(VelValueType type, T value) {
  VELVALUE record(type);
  record.*Member = std::move(value);
  return record;
}
inline constexpr auto Dbl = With<double, &VELVALUE::dblVal>;
inline constexpr auto Lng = With<std::int32_t, &VELVALUE::lVal>;
inline constexpr auto U8 = With<std::uint8_t, &VELVALUE::byVal>;
inline constexpr auto U16 = With<std::uint16_t, &VELVALUE::wVal>;
inline constexpr auto U32 = With<std::uint32_t, &VELVALUE::dwVal>;
inline constexpr auto Str = With<std::string, &VELVALUE::strVal>;
inline constexpr auto Tm = With<VELTIME, &VELVALUE::tmVal>;

inline VELVALUE WithStatus(VELVALUE v, std::uint8_t s) {
  v.status = s;
  return v;
}

/// The value types whose value lives in the time member.
constexpr VelValueType kTimeTypes[] = {ivtDate,      ivtTime,     ivtDateTime, ivtDayTime,
                                       ivtTimestamp, ivtTimeSpan, ivtDayDate,  ivtUtcDateTime};

/// Every value type the platform names.
constexpr VelValueType kAllTypes[] = {
    ivtNone,      ivtEmpty,    ivtBool,    ivtFloat,     ivtInteger,  ivtShort,   ivtByte,
    ivtWord,      ivtDWord,    ivtData40,  ivtString,    ivtDate,     ivtTime,    ivtDateTime,
    ivtTimeLag,   ivtDayTime,  ivtQWord,   ivtTimestamp, ivtTimeSpan, ivtDayDate, ivtUtcDateTime,
    ivtByteArray, ivtEnumByte, ivtPercent, ivtStepBytes, ivtAngle};

} // namespace AvoTest
