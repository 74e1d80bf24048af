// Sweeps of bad input: whatever comes in, a conversion gives its result and
// its lines, and never throws.
#include "LogCapture.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <map>

namespace {

using namespace AvoTest;
using Outcome = std::pair<bool, std::vector<LogLine>>; // the result and the lines, INFO and up
constexpr auto kError = log4cplus::ERROR_LOG_LEVEL;

template <class Conversion>
Outcome Converted(Conversion convert) {
  ScopedLogCapture capture(log4cplus::INFO_LOG_LEVEL);
  bool result = false;
  EXPECT_NO_THROW(result = convert());
  return {result, capture.Lines()};
}
Outcome Refused(const std::string& text, const char* function, log4cplus::LogLevel level = kError) {
  return {false, {Line(level, text, function)}};
}

// After the lookup's own line, the conversion logs the DPT once more.
TEST(BadInput, UnknownDptsAreAcceptedUntouched) {
  const KnxStack::GroupValue original = Group({0x12, 0x34}, 16);
  for (unsigned main = 1; main <= 0xFFFF; main += main < 300 ? 1 : 997) {
    KNXDPT dpt(16, static_cast<std::uint16_t>(main), 1);
    KnxStack::GroupValue gv = original;
    VELVALUE value = U16(ivtWord, 7);
    if (Converted([&] { return Initialised().GetEntry(dpt).GetValueType() == ivtEmpty; }).first) {
      const std::string noEntry = "No Entry found for DPT = " + dpt.ToString();
      const auto accepted = [&](const char* function) {
        return Outcome(true, {Line(kError, noEntry, "GetEntry"), Line(kError, noEntry, function),
                              Line(kError, "Assume validity and accept value!", function)});
      };
      EXPECT_EQ(Converted([&] { return Initialised().ToKnxValue(dpt, Dbl(ivtFloat, 1.0), gv); }),
                accepted("ToKnxValue"));
      EXPECT_EQ(Converted([&] { return Initialised().FromKnxValue(dpt, gv, value); }),
                accepted("FromKnxValue"));
      EXPECT_TRUE(gv == original && value == U16(ivtWord, 7)) << dpt;
    }
  }
}

// Reading with bit size 0 takes the group value's own size.
TEST(BadInput, DptZeroWithEveryBitSizeTakesTheSizeDefaultOrRefuses) {
  const std::map<unsigned, KNXDPT> defaults = {
      {1, {1, 1, 1}},     {2, {2, 2, 1}},    {4, {4, 3, 7}},     {8, {8, 5, 0}},
      {16, {16, 9, 0}},   {24, {24, 10, 1}}, {32, {32, 14, 0}},  {40, {40, 218, 0}},
      {48, {48, 219, 1}}, {64, {64, 19, 1}}, {112, {112, 16, 1}}};
  for (unsigned bits = 0; bits < 256; ++bits) {
    const auto hit = defaults.find(bits);
    KNXDPT to(static_cast<std::uint8_t>(bits), 0, 0), from = to;
    const KNXDPT expected = hit != defaults.end() ? hit->second : to;
    VELVALUE value;
    KnxStack::GroupValue gv = Group(std::vector<std::uint8_t>((bits + 7) / 8, 0xFF), bits);
    const Outcome in = Converted([&] { return Initialised().FromKnxValue(from, gv, value); });
    const Outcome out = Converted([&] { return Initialised().ToKnxValue(to, VELVALUE(), gv); });
    EXPECT_TRUE(to == expected && from == expected) << bits;
    const std::string noDpt = "Could not find DPT for bit size " + std::to_string(bits);
    if (hit == defaults.end()) {
      EXPECT_EQ(out, Refused(noDpt, "ToKnxValue", log4cplus::INFO_LOG_LEVEL));
      EXPECT_EQ(in, bits != 0 ? Refused(noDpt, "FromKnxValue", log4cplus::INFO_LOG_LEVEL)
                              : Refused("Convert from KNX value failed. Missing DPT. GroupValue = ",
                                        "FromKnxValue"));
    }
  }
}

// Every row meets group values of every defined size (with their bytes, and
// with none) and records of every value type. The value's type is set before
// the size check.
TEST(BadInput, EveryRowMeetsGroupValuesOfEverySizeAndRecordsOfEveryType) {
  for (const Avo::DptValueEntry& row : Initialised().GetDptValueMap()) {
    const unsigned expected = Avo::KnxValueConverter::GetStandardBitSize(row.GetDpt().mainNumber);
    KNXDPT dpt = row.GetDpt();
    for (unsigned size = 0; size < 256; ++size) {
      for (const std::size_t byteCount : {0U, (size + 7) / 8}) {
        VELVALUE value;
        const KnxStack::GroupValue gv = Group(std::vector<std::uint8_t>(byteCount, 0xA5), size);
        const Outcome in = Converted([&] { return Initialised().FromKnxValue(dpt, gv, value); });
        if (expected <= 6 ? size > 6 : size != expected) {
          EXPECT_EQ(in,
                    Refused("Failed to convert a GroupValue for DPT " + dpt.ToString() +
                                " because of unexpected bit " + "size: " + std::to_string(size) +
                                ", expected: " + std::to_string(expected),
                            "FromKnxValue"));
          EXPECT_EQ(value.ivt, row.GetValueType());
        }
      }
    }
    for (int type : {0,  1,  2,  3,   4,   5,   6,   7,    8,    9,    10,   11,   12,  13,
                     14, 15, 20, 102, 104, 105, 201, 1005, 1021, 1036, 1037, 1039, 4711}) {
      const VELVALUE value = Str(static_cast<VelValueType>(type), "\xFF\xC3");
      KnxStack::GroupValue gv;
      const Outcome out = Converted([&] { return Initialised().ToKnxValue(dpt, value, gv); });
      if (type != ivtNone &&
          !Avo::KnxValueConverter::AreValueTypesCompatible(value.ivt, row.GetValueType())) {
        const std::string invalid = "Invalid value type found for DPT = " + dpt.ToString() +
                                    " val.ivt=" + std::to_string(type);
        EXPECT_EQ(out, Refused(invalid, "ToKnxValue"));
      }
    }
  }
}

} // namespace
