// Reads arbitrary text with the avo-knx value and DPT syntax. Only the
// tool's UsageError may leave a parser (anything else reaches the user as a
// crash); what reads writes back to a text that reads to the same record or
// DPT, and writing that again gives the same text.
//
// Input: byte 0 picks the parser (DPT, value type, inferred type, or a value
// of the type that byte 0 names); the rest is the text.
#include "Arguments.h" // UsageError
#include "Dpt.h"
#include "ValueSyntax.h"

#include "VelValue.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib> // std::abort
#include <string>

namespace {

void Check(bool condition) {
  if (!condition) {
    std::abort();
  }
}

// Every type tag of a record, and one that no record has.
constexpr std::array<VelValueType, 27> kTypes = {
    ivtNone,      ivtEmpty,    ivtBool,         ivtFloat,     ivtInteger,  ivtShort,
    ivtByte,      ivtWord,     ivtDWord,        ivtData40,    ivtString,   ivtDate,
    ivtTime,      ivtDateTime, ivtTimeLag,      ivtDayTime,   ivtQWord,    ivtTimestamp,
    ivtTimeSpan,  ivtDayDate,  ivtUtcDateTime,  ivtByteArray, ivtEnumByte, ivtPercent,
    ivtStepBytes, ivtAngle,    VelValueType{16}};

void DptRoundTrip(const std::string& text) {
  const AvoKnx::Dpt dpt = AvoKnx::ParseDpt(text);
  Check(dpt.mainNumber != 0);
  const std::string written = AvoKnx::FormatDpt(dpt);
  const AvoKnx::Dpt read = AvoKnx::ParseDpt(written);
  Check(read.Packed() == dpt.Packed());
  Check(AvoKnx::FormatDpt(read) == written);
}

void ValueRoundTrip(const std::string& text, VelValueType type) {
  const VELVALUE value = AvoKnx::ParseValue(text, type);
  Check(value.ivt == type);
  const std::string written = AvoKnx::FormatValue(value);
  const VELVALUE read = AvoKnx::ParseValue(written, type);
  Check(read == value);
  Check(AvoKnx::FormatValue(read) == written);
  (void)AvoKnx::IsJsonLiteral(value, written);
}

bool HasValueSyntax(VelValueType type) {
  try {
    return AvoKnx::ParseValueType(std::to_string(static_cast<int>(type))) == type;
  } catch (const AvoKnx::UsageError&) {
    return false;
  }
}

void TypeNumber(const std::string& text) {
  const VelValueType type = AvoKnx::ParseValueType(text);
  Check(HasValueSyntax(type));
  (void)AvoKnx::DescribeValueType(type);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) {
    return -1;
  }
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::size_t pick = data[0] % (kTypes.size() + 3);
  try {
    if (pick == kTypes.size()) {
      DptRoundTrip(text);
    } else if (pick == kTypes.size() + 1) {
      TypeNumber(text);
    } else if (pick == kTypes.size() + 2) {
      Check(HasValueSyntax(AvoKnx::InferValueType(text)));
    } else {
      ValueRoundTrip(text, kTypes[pick]);
    }
  } catch (const AvoKnx::UsageError&) {}
  return 0;
}
