#pragma once
// Compact builders of value records for the platform tests.

#include "VelValue.h"

#include <string>

namespace VelTest {

inline VELVALUE Dbl(VelValueType t, double v) { VELVALUE r(t); r.dblVal = v; return r; }
inline VELVALUE Lng(VelValueType t, std::int32_t v) { VELVALUE r(t); r.lVal = v; return r; }
inline VELVALUE U8(VelValueType t, std::uint8_t v) { VELVALUE r(t); r.byVal = v; return r; }
inline VELVALUE U16(VelValueType t, std::uint16_t v) { VELVALUE r(t); r.wVal = v; return r; }
inline VELVALUE U32(VelValueType t, std::uint32_t v) { VELVALUE r(t); r.dwVal = v; return r; }
inline VELVALUE Str(VelValueType t, std::string v) { VELVALUE r(t); r.strVal = std::move(v); return r; }
inline VELVALUE Tm(VelValueType t, const VELTIME& v) { VELVALUE r(t); r.tmVal = v; return r; }
inline VELVALUE WithStatus(VELVALUE v, std::uint8_t s) { v.status = s; return v; }

inline VELTIME DateTime(unsigned short y, unsigned char mo, unsigned char d, unsigned char h,
                        unsigned char mi, unsigned char s, bool local = true) {
  VELTIME t{};
  t.SetDateTime(y, mo, d, h, mi, s, local);
  return t;
}

constexpr VelValueType kTimeTypes[] = {ivtDate,      ivtTime,     ivtDateTime, ivtDayTime,
                                       ivtTimestamp, ivtTimeSpan, ivtDayDate,  ivtUtcDateTime};

} // namespace VelTest
