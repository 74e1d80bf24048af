// Sweeps of bad input: whatever comes in, a conversion gives its result and
// its log lines, and never throws.
#include "LogCapture.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <map>

namespace {

using namespace AvoTest;
using Avo::KnxValueConverter;

std::string LastText(const ScopedLogCapture& capture) {
  const std::vector<std::string> texts = capture.Texts();
  return texts.empty() ? std::string() : texts.back();
}

TEST(BadInput, UnknownDptsAreAcceptedUntouched) {
  const KnxStack::GroupValue original = Group({0x12, 0x34}, 16);
  for (unsigned main = 1; main <= 0xFFFF; main += main < 300 ? 1 : 997) {
    KNXDPT dpt(16, static_cast<std::uint16_t>(main), 1);
    ScopedLogCapture capture(log4cplus::INFO_LOG_LEVEL);
    KnxStack::GroupValue gv = original;
    VELVALUE value = Word(7);
    if (Initialised().GetEntry(dpt).GetValueType() == ivtEmpty) {
      EXPECT_TRUE(Initialised().ToKnxValue(dpt, Float(1.0), gv) && Initialised().FromKnxValue(dpt, gv, value));
      EXPECT_TRUE(gv == original && SameValue(value, Word(7)) && capture.Lines().size() == 7U) << dpt;
      EXPECT_EQ(LastText(capture), "Assume validity and accept value!");
    }
  }
}

TEST(BadInput, DptZeroWithEveryBitSizeTakesTheSizeDefaultOrRefuses) {
  const std::map<unsigned, KNXDPT> defaults = {
      {1, {1, 1, 1}},    {2, {2, 2, 1}},    {4, {4, 3, 7}},     {8, {8, 5, 0}},     {16, {16, 9, 0}},  {24, {24, 10, 1}},
      {32, {32, 14, 0}}, {40, {40, 218, 0}}, {48, {48, 219, 1}}, {64, {64, 19, 1}}, {112, {112, 16, 1}}};
  for (unsigned bits = 0; bits < 256; ++bits) {
    const auto hit = defaults.find(bits);
    const KNXDPT requested(static_cast<std::uint8_t>(bits), 0, 0);
    const KNXDPT expected = hit != defaults.end() ? hit->second : requested;
    KNXDPT to = requested, from = requested;
    ScopedLogCapture capture(log4cplus::INFO_LOG_LEVEL);
    KnxStack::GroupValue gv;
    VELVALUE value;
    bool written = true, read = true;
    EXPECT_NO_THROW(written = Initialised().ToKnxValue(to, VELVALUE(), gv)) << bits;
    EXPECT_EQ(to, expected) << bits;
    if (hit == defaults.end()) {
      EXPECT_EQ(LastText(capture), "Could not find DPT for bit size " + std::to_string(bits));
    }
    EXPECT_NO_THROW(read = Initialised().FromKnxValue(from, Group(std::vector<std::uint8_t>((bits + 7) / 8, 0xFF), bits), value));
    EXPECT_EQ(from, expected) << bits;
    EXPECT_TRUE(hit != defaults.end() || !(read || written)) << bits;
  }
}

TEST(BadInput, GroupValuesOfEverySizeForEveryMainNumber) {
  for (const Avo::DptValueEntry& row : Initialised().GetDptValueMap()) {
    const unsigned expected = KnxValueConverter::GetStandardBitSize(row.GetDpt().mainNumber);
    for (unsigned size = 0; size < 256; ++size) {
      for (const std::size_t byteCount : {0U, (size + 7) / 8}) {
        ScopedLogCapture capture(log4cplus::INFO_LOG_LEVEL);
        KNXDPT dpt = row.GetDpt();
        VELVALUE value;
        bool result = true;
        EXPECT_NO_THROW(result = Initialised().FromKnxValue(dpt, Group(std::vector<std::uint8_t>(byteCount, 0xA5), size), value));
        if (expected <= 6 ? size > 6 : size != expected) {
          EXPECT_FALSE(result);
          EXPECT_EQ(LastText(capture), "Failed to convert a GroupValue for DPT " + DptText(dpt) +
                                           " because of unexpected bit size: " + std::to_string(size) +
                                           ", expected: " + std::to_string(expected));
          EXPECT_EQ(value.ivt, row.GetValueType()); // set before the size check
        }
      }
    }
  }
}

TEST(BadInput, RecordsOfEveryValueTypeForEveryRow) {
  for (const Avo::DptValueEntry& row : Initialised().GetDptValueMap()) {
    for (int type : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 20, 102, 104, 105, 201, 1005, 1021, 1036, 1037, 1039, 4711}) {
      ScopedLogCapture capture(log4cplus::INFO_LOG_LEVEL);
      KNXDPT dpt = row.GetDpt();
      VELVALUE value(static_cast<VelValueType>(type));
      value.strVal = "\xFF\xC3";
      KnxStack::GroupValue gv;
      bool result = true;
      EXPECT_NO_THROW(result = Initialised().ToKnxValue(dpt, value, gv)) << dpt << "/" << type;
      if (type != ivtNone && !KnxValueConverter::AreValueTypesCompatible(value.ivt, row.GetValueType())) {
        EXPECT_FALSE(result);
        EXPECT_EQ(LastText(capture), "Invalid value type found for DPT = " + DptText(dpt) + " val.ivt=" + std::to_string(type));
      }
    }
  }
}

} // namespace
