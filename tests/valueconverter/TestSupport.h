#pragma once
// Helpers of the value converter tests: value records by type, group values,
// and one initialised converter shared by the tests that only read it.
#include "AvoObjectModel/KnxValueConverter.h"

#include <cstdint>
#include <string>
#include <vector>

namespace AvoTest {

template <class Field, class T>
VELVALUE Make(VelValueType type, Field VELVALUE::*field, T v) { VELVALUE r(type); r.*field = static_cast<Field>(v); return r; }
inline VELVALUE Byte(std::uint8_t v) { return Make(ivtByte, &VELVALUE::byVal, v); }
inline VELVALUE Word(std::uint16_t v) { return Make(ivtWord, &VELVALUE::wVal, v); }
inline VELVALUE DWord(std::uint32_t v) { return Make(ivtDWord, &VELVALUE::dwVal, v); }
inline VELVALUE Int(std::int32_t v) { return Make(ivtInteger, &VELVALUE::lVal, v); }
inline VELVALUE Float(double v) { return Make(ivtFloat, &VELVALUE::dblVal, v); }
inline VELVALUE Text(const std::string& v) { return Make(ivtString, &VELVALUE::strVal, v); }
/// A record as FromKnxValue leaves it: default-constructed, then given a type.
inline VELVALUE Typed(VelValueType type) { VELVALUE value; value.ivt = type; return value; }
inline KnxStack::GroupValue Group(std::vector<std::uint8_t> b, unsigned bits) { return {KnxStack::BinaryData(b), bits}; }

/// Initialised twice: Init clears the map first and rebuilds the same rows.
inline const Avo::KnxValueConverter& Initialised() {
  static const Avo::KnxValueConverter converter = [] { Avo::KnxValueConverter c; c.Init(); c.Init(); return c; }();
  return converter;
}

} // namespace AvoTest
