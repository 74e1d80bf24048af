#pragma once
// Shared by the converter tests: table rows that run a conversion and compare
// its result, its log lines and its output. What every converter class shares
// is checked on every row: the "DPT is used." line that begins a conversion,
// Clone, and how a reader meets a group value too short for its encoding.

#include "LogCapture.h"
#include "VelValueSamples.h"

#include "AvoObjectModel/KnxConverter.h"
#include "KnxStack/GroupValue.h"
#include "VelValue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

namespace ConverterTest {

using namespace Avo;
using namespace AvoTest;
using Bytes = std::vector<std::uint8_t>;

inline KNXDPT Dpt(std::uint16_t main, std::uint16_t sub, std::uint8_t bits = 0) {
  return KNXDPT(bits, main, sub);
}
inline KnxStack::GroupValue Raw(const Bytes& bytes) {
  return {KnxStack::BinaryData(bytes), 8 * unsigned(bytes.size())};
}

/// The type of the record that FromKnxValue is handed: no converter writes it,
/// and records of a type unknown to the platform compare in every byte.
constexpr auto kUntyped = static_cast<VelValueType>(4711);
/// The group value that ToKnxValue is handed; a refusal leaves it as it is.
inline const Bytes kUntouched{0x55};
/// The error of a row whose conversion is refused without a line.
inline const std::string kSilently = "refused without a line";

enum Way { To = 1, From = 2, Both = To | From };

/// One conversion, or one each way. To: `value` goes out and the group value
/// holds `bytes` afterwards (none: kUntouched). From: `bytes` come in and the
/// record, which starts as a zeroed one of type kUntyped, equals `value`
/// afterwards (ivtEmpty: not compared). An empty `error` expects success, any
/// other the refusal with that ERROR line; refused both ways, the group value
/// stays kUntouched and the record is not compared.
struct Row {
  Way way;
  const KnxConverter& converter;
  KNXDPT dpt;
  VELVALUE value;
  Bytes bytes;
  std::string error;
};

template <class... Classes>
bool IsA(const KnxConverter& converter) {
  return ((typeid(converter) == typeid(Classes)) || ...);
}

/// Runs `convert` and compares its result and its lines: the DEBUG line that
/// begins it where the converter writes one (kept: not the default and
/// date-and-time converters, nor the 1-bit and 2-bit readers), then the ERROR
/// line of a refusal.
template <class Conversion>
void Expect(const KnxConverter& c, Way way, const std::string& trace, const std::string& error,
            Conversion convert) {
  const char* function = way == To ? "ToKnxValue" : "FromKnxValue";
  const bool traced = !IsA<KnxConverterDefault, KnxConverterDateTime>(c) &&
                      (way == To || !IsA<KnxConverter1Bit, KnxConverter2Bit>(c));
  std::vector<LogLine> lines(
      traced ? 1 : 0, Line(log4cplus::DEBUG_LOG_LEVEL, "DPT is used. DPT = " + trace, function));
  if (!error.empty() && error != kSilently) {
    lines.push_back(Line(log4cplus::ERROR_LOG_LEVEL, error, function));
  }
  ScopedLogCapture capture(log4cplus::DEBUG_LOG_LEVEL);
  EXPECT_EQ(convert(), error.empty());
  EXPECT_EQ(capture.Lines(), lines);
}

/// Runs each row on a clone of a clone of its converter, whose first clone is
/// gone by then: a clone is an independent object of the same class and range.
/// A row read successfully is read again from an empty value and from one a
/// byte short: the getter raises, except where the converter reads the bytes
/// itself and refuses.
inline void Check(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    const std::unique_ptr<const KnxConverter> clone(
        std::unique_ptr<KnxConverter>(row.converter.Clone())->Clone());
    const KnxConverter& c = *clone;
    ASSERT_TRUE(typeid(c) == typeid(row.converter));
    SCOPED_TRACE(row.dpt.ToString() + " " + row.value.ToString() + " " +
                 Raw(row.bytes).GetRawData().ToString());
    if ((row.way & To) != 0) {
      KnxStack::GroupValue group = Raw(kUntouched);
      const std::string trace = " ivt=" + std::to_string(row.value.ivt) + " val=";
      Expect(c, To, row.dpt.ToString() + trace + row.value.ToString(), row.error,
             [&] { return c.ToKnxValue(row.dpt, row.value, group); });
      const bool untouched = row.bytes.empty() || (row.way == Both && !row.error.empty());
      EXPECT_EQ(group.GetRawData().GetBytes(), untouched ? kUntouched : row.bytes);
    }
    if ((row.way & From) == 0) {
      continue;
    }
    const auto read = [&](const Bytes& bytes, const std::string& error) {
      const KnxStack::GroupValue group = Raw(bytes);
      VELVALUE value(kUntyped);
      Expect(c, From,
             row.dpt.ToString() + " grp.size=" + std::to_string(group.GetDefinedSize()) +
                 " grp.val=" + group.GetRawData().ToString(),
             error, [&] { return c.FromKnxValue(row.dpt, group, value); });
      return value;
    };
    const VELVALUE value = read(row.bytes, row.error);
    const bool compared = row.value.ivt != ivtEmpty && (row.error.empty() || row.way == From);
    EXPECT_TRUE(!compared || value == row.value) << value.ToString();
    for (std::size_t size = 0; row.error.empty() && size < row.bytes.size();
         size += std::max<std::size_t>(1, row.bytes.size() - 1)) {
      const Bytes cut(row.bytes.begin(), row.bytes.begin() + static_cast<std::ptrdiff_t>(size));
      VELVALUE ignored;
      if (IsA<KnxConverterInteger24BitUnsigned, KnxConverterDate, KnxConverterTimeOfDay,
              KnxConverterDateTime>(c)) {
        read(cut, "The group value of DPT=" + row.dpt.ToString() +
                      " is too short: " + std::to_string(size) + " bytes, expected " +
                      std::to_string(row.bytes.size()) + ".");
      } else {
        EXPECT_THROW(c.FromKnxValue(row.dpt, Raw(cut), ignored), KnxStack::GroupValueException);
      }
    }
  }
}

} // namespace ConverterTest
