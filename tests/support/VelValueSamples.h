#pragma once
// Compact builders of value records, and the value types, for tests.

#include "VelValue.h"

#include <cstdint>
#include <string>
#include <utility> // std::move

namespace AvoTest {

inline VELVALUE Dbl(VelValueType t, double v) {
  VELVALUE r(t);
  r.dblVal = v;
  return r;
}
inline VELVALUE Lng(VelValueType t, std::int32_t v) {
  VELVALUE r(t);
  r.lVal = v;
  return r;
}
inline VELVALUE U8(VelValueType t, std::uint8_t v) {
  VELVALUE r(t);
  r.byVal = v;
  return r;
}
inline VELVALUE U16(VelValueType t, std::uint16_t v) {
  VELVALUE r(t);
  r.wVal = v;
  return r;
}
inline VELVALUE U32(VelValueType t, std::uint32_t v) {
  VELVALUE r(t);
  r.dwVal = v;
  return r;
}
inline VELVALUE Str(VelValueType t, std::string v) {
  VELVALUE r(t);
  r.strVal = std::move(v);
  return r;
}
inline VELVALUE Tm(VelValueType t, const VELTIME& v) {
  VELVALUE r(t);
  r.tmVal = v;
  return r;
}
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
