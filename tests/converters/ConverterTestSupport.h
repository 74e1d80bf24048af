#pragma once
// Shared by the converter tests: values, group values, and table rows that
// run one conversion and compare its result, its ERROR lines and its output.

#include "LogCapture.h"

#include "AvoObjectModel/KnxConverter.h"
#include "KnxStack/GroupValue.h"
#include "VelValue.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace ConverterTest {

using Bytes = std::vector<std::uint8_t>;
using Avo::KnxConverter;

inline KNXDPT Dpt(std::uint16_t main, std::uint16_t sub, std::uint8_t bits = 0) {
  return KNXDPT(bits, main, sub);
}
inline KnxStack::GroupValue Raw(Bytes bytes, unsigned int bits = 0) {
  const auto size = static_cast<unsigned int>(bytes.size());
  return KnxStack::GroupValue(KnxStack::BinaryData(std::move(bytes)), bits ? bits : 8 * size);
}
inline Bytes BytesOf(const KnxStack::GroupValue& group) { return group.GetRawData().GetBytes(); }

template <class Field, class Number>
VELVALUE Make(VelValueType type, Field VELVALUE::*field, Number number) {
  VELVALUE value(type);
  value.*field = static_cast<Field>(number);
  return value;
}
inline VELVALUE Bool(bool on) { return Make(ivtBool, &VELVALUE::byVal, on ? 1 : 0); }
inline VELVALUE Byte(unsigned number) { return Make(ivtByte, &VELVALUE::byVal, number); }
inline VELVALUE Integer(std::int32_t number) { return Make(ivtInteger, &VELVALUE::lVal, number); }
inline VELVALUE Word(unsigned number) { return Make(ivtWord, &VELVALUE::wVal, number); }
inline VELVALUE DWord(std::uint32_t number) { return Make(ivtDWord, &VELVALUE::dwVal, number); }
inline VELVALUE Float(double number, VelValueType type = ivtFloat) {
  return Make(type, &VELVALUE::dblVal, number);
}
inline VELVALUE Text(std::string text) { return Make(ivtString, &VELVALUE::strVal, text); }

inline std::vector<AvoTest::LogLine> Errors(const std::string& text, const char* function) {
  if (text.empty()) {
    return {};
  }
  return {AvoTest::Line(log4cplus::ERROR_LOG_LEVEL, text, function)};
}

/// The bytes that a refusal leaves in a group value it did not touch.
inline const Bytes kUntouched{0x55};

/// value -> group value, which starts as kUntouched. An empty `error`
/// expects a conversion, any other the refusal with that ERROR line.
struct ToRow {
  const KnxConverter& converter;
  KNXDPT dpt;
  VELVALUE value;
  std::string error;
  Bytes bytes = kUntouched; // afterwards
};
inline void Check(const std::vector<ToRow>& rows) {
  for (const ToRow& row : rows) {
    SCOPED_TRACE(row.dpt.ToString() + " " + row.value.ToString());
    KnxStack::GroupValue group = Raw(kUntouched);
    AvoTest::ScopedLogCapture capture(log4cplus::ERROR_LOG_LEVEL);
    EXPECT_EQ(row.converter.ToKnxValue(row.dpt, row.value, group), row.error.empty());
    EXPECT_EQ(capture.Lines(), Errors(row.error, "ToKnxValue"));
    EXPECT_EQ(BytesOf(group), row.bytes);
  }
}

/// group value -> value, as ToRow. The record starts as a zeroed one of a
/// type that no converter writes or, for converters that keep the caller's
/// type, of the expected value's type. An ivtEmpty value is not compared.
struct FromRow {
  const KnxConverter& converter;
  KNXDPT dpt;
  Bytes bytes;
  std::string error;
  VELVALUE value = VELVALUE();
  bool keepsType = false;
};
inline void Check(const std::vector<FromRow>& rows) {
  for (const FromRow& row : rows) {
    SCOPED_TRACE(row.dpt.ToString() + " " + Raw(row.bytes).GetRawData().ToString());
    VELVALUE value(row.keepsType ? row.value.ivt : ivtQWord);
    AvoTest::ScopedLogCapture capture(log4cplus::ERROR_LOG_LEVEL);
    EXPECT_EQ(row.converter.FromKnxValue(row.dpt, Raw(row.bytes), value), row.error.empty());
    EXPECT_EQ(capture.Lines(), Errors(row.error, "FromKnxValue"));
    if (row.value.ivt != ivtEmpty) {
      EXPECT_EQ(value, row.value);
    }
  }
}

} // namespace ConverterTest
